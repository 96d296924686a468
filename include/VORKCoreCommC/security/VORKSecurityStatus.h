#pragma once
// The status codes of the credential store, with the platform's numeric
// values, and their messages.
#include <string>

#include "VORKCoreCommC/security/SecurityTypes.h"

namespace vork {

inline constexpr OSStatus errSecSuccess = 0;
inline constexpr OSStatus errSecUnimplemented = -4;
inline constexpr OSStatus errSecDiskFull = -34;
inline constexpr OSStatus errSecIO = -36;
inline constexpr OSStatus errSecParam = -50;
inline constexpr OSStatus errSecWrPerm = -61;
inline constexpr OSStatus errSecAllocate = -108;
inline constexpr OSStatus errSecUnsupportedFormat = -25256;
inline constexpr OSStatus errSecPassphraseRequired = -25260;
inline constexpr OSStatus errSecNoTrustSettings = -25263;
inline constexpr OSStatus errSecReadOnly = -25292;
inline constexpr OSStatus errSecAuthFailed = -25293;
inline constexpr OSStatus errSecNoSuchKeychain = -25294;
inline constexpr OSStatus errSecInvalidKeychain = -25295;
inline constexpr OSStatus errSecDuplicateKeychain = -25296;
inline constexpr OSStatus errSecDuplicateItem = -25299;
inline constexpr OSStatus errSecItemNotFound = -25300;
inline constexpr OSStatus errSecInteractionNotAllowed = -25308;
inline constexpr OSStatus errSecDecode = -26275;
inline constexpr OSStatus errSecInternalComponent = -2070;
inline constexpr OSStatus errAuthorizationDenied = -60005;

// The message for a status (SecCopyErrorMessageString); an unknown status
// gets a text that names its number.
VORK_EXPORT std::string secCopyErrorMessageString(OSStatus status);

}  // namespace vork
