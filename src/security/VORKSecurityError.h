#pragma once
#include "VORKCoreCommC/security/VORKSecurityError.h"
