#pragma once
#include "VORKCoreCommC/message/VCCStatus.h"
