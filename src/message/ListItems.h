#pragma once
#include "VORKCoreCommC/message/ListItems.h"
#include "message/MappedClass.h"
