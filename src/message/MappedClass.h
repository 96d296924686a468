#pragma once
#include "VORKCoreCommC/message/MappedClass.h"

namespace vork {

// The library's message code and its tests call data fields Bytes; the
// public header names the type ByteVector, since the security headers give
// vork::Bytes another meaning.
using Bytes = ByteVector;

}  // namespace vork
