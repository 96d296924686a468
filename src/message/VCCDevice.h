#pragma once
#include "VORKCoreCommC/message/VCCDevice.h"
