#include "rbaselib/RPlug.h"

RPlug::~RPlug() = default;
