#pragma once
#include "VORKCoreCommC/message/VCCMessageContent.h"
#include "message/MappedClass.h"
