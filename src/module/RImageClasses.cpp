// The class definitions of the module, in tree order: a parent's definition is built before its children's.
#include "dds/RImageDDS.h"
#include "dds/RImageStreamDDS.h"
#include "image/RImage.h"
#include "operators/RImOpBlend.h"
#include "operators/RImOpCC.h"
#include "operators/RImOpKeyer.h"
#include "operators/RImageOperator.h"
#include "streams/RImageStream.h"
#include "streams/RImageStreamQT.h"
#include "streams/RImageStreamiff.h"
#include "streams/RImageStreampict.h"
#include "streams/RImageStreamsgi.h"
#include "streams/RImageStreamyuv.h"

R_DEFINE_CLASS(RImage, RObject)
R_DEFINE_CLASS(RImageDDS, RImage)
R_DEFINE_CLASS(RImageOperator, RObject)
R_DEFINE_CLASS(RImOpBlend, RImageOperator)
R_DEFINE_CLASS(RImOpCC, RImageOperator)
R_DEFINE_CLASS(RImOpKeyer, RImageOperator)
R_DEFINE_CLASS(RImageStream, RStream)
R_DEFINE_CLASS(RImageStreamQT, RImageStream)
R_DEFINE_CLASS(RImageStreampict, RImageStream)
R_DEFINE_CLASS(RImageStreamsgi, RImageStream)
R_DEFINE_CLASS(RImageStreamiff, RImageStream)
R_DEFINE_CLASS(RImageStreamyuv, RImageStream)
R_DEFINE_CLASS(RImageStreamDDS, RImageStream)
