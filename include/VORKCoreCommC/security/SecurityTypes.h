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

/// A status of the credential store: 0 for success, otherwise one of the
/// codes of VORKSecurityStatus.h.
using OSStatus = int32_t;

/**
 * An error object: domain, code and the description a caller shows. The
 * security classes fill one through an optional `DomainError *` slot (null
 * when the caller does not want the error); the object owns its texts.
 */
struct VORK_EXPORT DomainError {
    std::string domain;       ///< The error domain, for example VORKSecurityErrorDomain or kPosixErrorDomain.
    long code = 0;            ///< The code within the domain (a status, an errno value or a class's own code).
    std::string description;  ///< The text a caller shows; may be "".

    /** Equal when domain, code and description are all equal. */
    bool operator==(const DomainError &) const = default;
};

/// Byte data (DER, signatures, exported keys) travels as std::string.
using Bytes = std::string;

namespace sec {
class Keychain;
class Certificate;
class Identity;
class Key;
class Access;
}  // namespace sec

/// A shared reference to an open keychain file of the credential store.
using SecKeychainRef = std::shared_ptr<sec::Keychain>;
/// A shared reference to a certificate of the credential store.
using SecCertificateRef = std::shared_ptr<sec::Certificate>;
/// A shared reference to an identity (a certificate with its private key).
using SecIdentityRef = std::shared_ptr<sec::Identity>;
/// A shared reference to one key of a keychain.
using SecKeyRef = std::shared_ptr<sec::Key>;
/// A shared reference to an access list (who may use an item without being asked).
using SecAccessRef = std::shared_ptr<sec::Access>;

/// One item found by a keychain search.
using SecItemRef = std::variant<SecCertificateRef, SecIdentityRef>;

/// The attributes of a generic add, delete or search: the item class, the
/// item itself (its value reference) for add and delete, and whether a
/// search answers every match or only the first.
struct SecItemAttributes {
    /** The kind of item an operation concerns. */
    enum class ItemClass {
        Certificate,  ///< Certificates (with or without a private key).
        Identity      ///< Identities: certificates whose private key is in the keychain.
    };
    ItemClass itemClass = ItemClass::Certificate;  ///< The class a search lists.
    SecItemRef value;     ///< The item to add or delete; ignored by a search.
    bool matchAll = true;  ///< For a search: every match (true) or only the first (false).
};

}  // namespace vork
