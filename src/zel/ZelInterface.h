#pragma once
#include "VORKCoreCommC/zel/ZelInterface.h"
#include "zel/VCCZelRequest.h"
#include "message/MappedClass.h"
