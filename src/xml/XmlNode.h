#pragma once
#include "VORKCoreCommC/xml/XmlNode.h"
