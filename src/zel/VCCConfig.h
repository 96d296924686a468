#pragma once
#include "VORKCoreCommC/zel/VCCConfig.h"
