#pragma once
#include "VORKCoreCommC/zel/ZelCalls.h"
#include "message/MappedClass.h"
