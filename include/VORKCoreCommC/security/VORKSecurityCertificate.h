#pragma once
#include <optional>
#include <string>
#include <vector>

#include "VORKCoreCommC/security/SecurityTypes.h"

namespace vork {

/// The text in the subject of a device certificate.
inline constexpr const char *kVORKDeviceCertificateMarker = "VORK Device Certificate";

/**
 * An X.509 certificate (DER), its common name and subject, and the test that
 * marks the device certificate. Copies share the same certificate. Errors are
 * of VORKSecurityErrorDomain.
 */
class VORK_EXPORT VORKSecurityCertificate {
public:
    /** A certificate from DER bytes; none with code 1 when they are not one. */
    static std::optional<VORKSecurityCertificate> certificateFromData(const Bytes &der, DomainError *error);

    /** Wraps a certificate of the store; the wrapper shares ownership of it. */
    explicit VORKSecurityCertificate(SecCertificateRef reference);
    /** The wrapped certificate. */
    const SecCertificateRef &reference() const { return reference_; }

    /** The DER bytes; empty for an empty reference. */
    Bytes data() const;
    /** The subject's common name; none with the status (errSecItemNotFound) as error. */
    std::optional<std::string> commonName(DomainError *error) const;
    /**
     * The values of the subject's entries, concatenated without separator;
     * none with code 2 when the subject cannot be read or is empty.
     */
    std::optional<std::string> getCertificateSubject(DomainError *error) const;
    /** The concatenation of the entries' values, in order. */
    static std::string getSubjectTextFromArray(const std::vector<std::string> &entries);
    /** Whether the subject text contains kVORKDeviceCertificateMarker. */
    bool isDeviceCertificate() const;
    /** The common name, or a fixed text that says there is none. */
    std::string description() const;
    /** Same DER bytes, byte for byte. */
    bool isEqual(const VORKSecurityCertificate &other) const;
    /** The same as isEqual. */
    bool operator==(const VORKSecurityCertificate &other) const { return isEqual(other); }

private:
    SecCertificateRef reference_;
};

}  // namespace vork
