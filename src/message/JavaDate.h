#pragma once
#include "VORKCoreCommC/message/JavaDate.h"
