#pragma once
#include "VORKCoreCommC/message/VCCNode.h"
