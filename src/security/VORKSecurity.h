#pragma once
#include "VORKCoreCommC/security/VORKSecurity.h"
