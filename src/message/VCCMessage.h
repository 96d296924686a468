#pragma once
#include "VORKCoreCommC/message/VCCMessage.h"
#include "message/MappedClass.h"
