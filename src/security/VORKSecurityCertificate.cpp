#include "VORKCoreCommC/security/VORKSecurityCertificate.h"

#include "VORKCoreCommC/security/VORKSecurityError.h"
#include "security/store/Objects.h"

namespace vork {

namespace {
constexpr long kCertificateUnreadable = 1;
constexpr long kSubjectUnreadable = 2;
}  // namespace

VORKSecurityCertificate::VORKSecurityCertificate(SecCertificateRef reference) : reference_(std::move(reference)) {}

std::optional<VORKSecurityCertificate> VORKSecurityCertificate::certificateFromData(const Bytes &der,
                                                                                    DomainError *error) {
    auto certificate = sec::Certificate::fromDer(der);
    if (!certificate) {
        if (error) *error = VORKSecurityError::errorWithCode(kCertificateUnreadable, "");
        return std::nullopt;
    }
    return VORKSecurityCertificate(std::move(certificate));
}

Bytes VORKSecurityCertificate::data() const { return reference_ ? reference_->der() : Bytes(); }

std::optional<std::string> VORKSecurityCertificate::commonName(DomainError *error) const {
    auto name = reference_ ? sec::crypto::commonName(reference_->x509()) : std::nullopt;
    if (!name) VORKSecurityError::assignErrorFromStatus(errSecItemNotFound, error);
    return name;
}

std::optional<std::string> VORKSecurityCertificate::getCertificateSubject(DomainError *error) const {
    const auto entries = reference_ ? sec::crypto::subjectValues(reference_->x509()) : std::vector<std::string>();
    if (entries.empty()) {
        if (error)
            *error = VORKSecurityError::errorWithCode(kSubjectUnreadable, "Unable to get common name from subject name");
        return std::nullopt;
    }
    return getSubjectTextFromArray(entries);
}

std::string VORKSecurityCertificate::getSubjectTextFromArray(const std::vector<std::string> &entries) {
    std::string text;
    for (const std::string &entry : entries) text += entry;
    return text;
}

bool VORKSecurityCertificate::isDeviceCertificate() const {
    auto subject = getCertificateSubject(nullptr);
    return subject && subject->find(kVORKDeviceCertificateMarker) != std::string::npos;
}

std::string VORKSecurityCertificate::description() const {
    if (auto name = commonName(nullptr)) return *name;
    return "<VORKSecurityCertificate: no common name>";
}

bool VORKSecurityCertificate::isEqual(const VORKSecurityCertificate &other) const {
    return this == &other || reference_ == other.reference_ || data() == other.data();
}

}  // namespace vork
