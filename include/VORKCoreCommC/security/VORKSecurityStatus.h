#pragma once
// The status codes of the credential store, with the platform's numeric
// values, and their messages.
#include <string>

#include "VORKCoreCommC/security/SecurityTypes.h"

namespace vork {

/// Success.
inline constexpr OSStatus errSecSuccess = 0;
/// The operation is not implemented.
inline constexpr OSStatus errSecUnimplemented = -4;
/// The disk is full.
inline constexpr OSStatus errSecDiskFull = -34;
/// An input or output error.
inline constexpr OSStatus errSecIO = -36;
/// A parameter is not valid (for example an empty reference).
inline constexpr OSStatus errSecParam = -50;
/// No permission to write.
inline constexpr OSStatus errSecWrPerm = -61;
/// Memory could not be allocated.
inline constexpr OSStatus errSecAllocate = -108;
/// The data is in a format that is not supported.
inline constexpr OSStatus errSecUnsupportedFormat = -25256;
/// The export needs a password.
inline constexpr OSStatus errSecPassphraseRequired = -25260;
/// The certificate has no trust settings.
inline constexpr OSStatus errSecNoTrustSettings = -25263;
/// The keychain is read-only.
inline constexpr OSStatus errSecReadOnly = -25292;
/// The password is wrong.
inline constexpr OSStatus errSecAuthFailed = -25293;
/// The keychain file does not exist.
inline constexpr OSStatus errSecNoSuchKeychain = -25294;
/// The file is not a valid keychain.
inline constexpr OSStatus errSecInvalidKeychain = -25295;
/// A keychain file already exists at the path.
inline constexpr OSStatus errSecDuplicateKeychain = -25296;
/// The item is already in the keychain.
inline constexpr OSStatus errSecDuplicateItem = -25299;
/// The item (or any item of the class) is not in the keychain.
inline constexpr OSStatus errSecItemNotFound = -25300;
/// The keychain is locked, or the program is not on the item's access list; the user cannot be asked.
inline constexpr OSStatus errSecInteractionNotAllowed = -25308;
/// The data cannot be decoded.
inline constexpr OSStatus errSecDecode = -26275;
/// An internal component failed (for example a cryptographic operation).
inline constexpr OSStatus errSecInternalComponent = -2070;
/// The caller lacks the privilege (for example to change a trust-settings domain).
inline constexpr OSStatus errAuthorizationDenied = -60005;

/// The message for a status (SecCopyErrorMessageString); an unknown status
/// gets a text that names its number. The caller owns the returned text.
VORK_EXPORT std::string secCopyErrorMessageString(OSStatus status);

}  // namespace vork
