#include "fp/RFpNode.h"

int RFpNode::GetReserved(int) const { return 0; }
void RFpNode::Prepare(RFpContext*, int, int, int, int) {}
void RFpNode::Finish(RFpContext*, int, int, int, int) {}
RFpNode::~RFpNode() = default;
