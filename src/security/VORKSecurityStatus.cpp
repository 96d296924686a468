#include "VORKCoreCommC/security/VORKSecurityStatus.h"

#include <iterator>

namespace vork {

namespace {

struct StatusText {
    OSStatus status;
    const char *message;
};

// One table: every status the credential store answers, and its message.
constexpr StatusText kStatusTexts[] = {
    {errSecSuccess, "No error."},
    {errSecUnimplemented, "Function or operation not implemented."},
    {errSecDiskFull, "The disk is full: the keychain could not be written."},
    {errSecIO, "An input/output error occurred while reading or writing the keychain."},
    {errSecParam, "One or more parameters passed to a function were not valid."},
    {errSecWrPerm, "Write permissions error: the keychain or trust settings file cannot be written."},
    {errSecAllocate, "Failed to allocate memory."},
    {errSecUnsupportedFormat, "The item you are trying to import or export has an unsupported format."},
    {errSecPassphraseRequired, "A passphrase is required for import or export of a private key."},
    {errSecNoTrustSettings, "No trust settings were found."},
    {errSecReadOnly, "This keychain cannot be modified."},
    {errSecAuthFailed, "The user name or passphrase you entered is not correct."},
    {errSecNoSuchKeychain, "The specified keychain could not be found."},
    {errSecInvalidKeychain, "The specified keychain is not a valid keychain file."},
    {errSecDuplicateKeychain, "A keychain with the same name already exists."},
    {errSecDuplicateItem, "The specified item already exists in the keychain."},
    {errSecItemNotFound, "The specified item could not be found in the keychain."},
    {errSecInteractionNotAllowed,
     "User interaction is not allowed: the keychain is locked or this program may not use the item."},
    {errSecDecode, "Unable to decode the provided data."},
    {errSecInternalComponent, "An internal component failed."},
    {errAuthorizationDenied, "The authorization was denied: this process lacks the privilege for the domain."},
};

}  // namespace

std::string secCopyErrorMessageString(OSStatus status) {
    for (const StatusText &entry : kStatusTexts)
        if (entry.status == status) return entry.message;
    return "Unknown security status " + std::to_string(status) + ".";
}

}  // namespace vork
