#pragma once
#include "VORKCoreCommC/zel/ZelContents.h"
#include "message/MappedClass.h"
