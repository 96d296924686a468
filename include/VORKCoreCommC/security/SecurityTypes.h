#pragma once
// Types shared by the public security classes: the status code of the
// credential store, the error object the classes fill, and the opaque
// references ("platform objects") the wrappers hold. A reference is a
// shared pointer: copying it retains the object, dropping it releases it.
#include <cstdint>
#include <memory>
#include <string>
#include <variant>

#include "VORKCoreCommC/export.h"

namespace vork {

// A status of the credential store: 0 for success, otherwise one of the
// codes of VORKSecurityStatus.h.
using OSStatus = int32_t;

// An error object: domain, code and the description a caller shows.
struct VORK_EXPORT DomainError {
    std::string domain;
    long code = 0;
    std::string description;

    bool operator==(const DomainError &) const = default;
};

// Byte data (DER, signatures, exported keys) travels as std::string.
using Bytes = std::string;

namespace sec {
class Keychain;
class Certificate;
class Identity;
class Key;
class Access;
}  // namespace sec

using SecKeychainRef = std::shared_ptr<sec::Keychain>;
using SecCertificateRef = std::shared_ptr<sec::Certificate>;
using SecIdentityRef = std::shared_ptr<sec::Identity>;
using SecKeyRef = std::shared_ptr<sec::Key>;
using SecAccessRef = std::shared_ptr<sec::Access>;

// One item found by a keychain search.
using SecItemRef = std::variant<SecCertificateRef, SecIdentityRef>;

// The attributes of a generic add, delete or search: the item class, the
// item itself (its value reference) for add and delete, and whether a
// search answers every match or only the first.
struct SecItemAttributes {
    enum class ItemClass { Certificate, Identity };
    ItemClass itemClass = ItemClass::Certificate;
    SecItemRef value;
    bool matchAll = true;
};

}  // namespace vork
