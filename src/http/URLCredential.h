#pragma once
#include "VORKCoreCommC/http/URLCredential.h"
