// Security: keychains of the credential store and certificates, through the
// public security classes. Passwords come from standard input (its first
// line) or, on a terminal, from a prompt with echo off; never from the
// command line, and they are wiped after use.
#include <VORKCoreCommC/security/VORKSecurityCertificate.h>
#include <VORKCoreCommC/security/VORKSecurityIdentity.h>
#include <VORKCoreCommC/security/VORKSecurityKeychain.h>
#include <VORKCoreCommC/security/VORKSecurityStatus.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <string>

#include "Command.h"
#include "Output.h"
#include "Session.h"

namespace vorkcomm {
namespace {

std::optional<std::string> readSecret(const std::string &prompt) {
    if (::isatty(0)) return promptPassword(prompt);
    std::string line;
    if (!std::getline(std::cin, line)) return std::nullopt;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
}

void wipe(std::optional<std::string> &secret) {
    if (secret) std::fill(secret->begin(), secret->end(), '\0');
}

int failed(const Options &o, const std::string &what, const vork::DomainError &error, std::vector<Field> fields) {
    std::fprintf(stderr, "vorkcomm: %s: %s (%s %ld)\n", what.c_str(), error.description.c_str(), error.domain.c_str(),
                 error.code);
    fields.push_back({"error", error.description});
    fields.push_back({"code", static_cast<long long>(error.code)});
    return emit(o, "", std::move(fields), kExitFailure);
}

// The DER bytes of a certificate file, DER or PEM ("-----BEGIN CERTIFICATE-----").
std::optional<std::string> certificateFile(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return std::nullopt;
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    const std::string begin = "-----BEGIN CERTIFICATE-----";
    const size_t start = bytes.find(begin), end = bytes.find("-----END", start == std::string::npos ? 0 : start);
    if (start == std::string::npos || end == std::string::npos) return bytes;
    static const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string der;
    unsigned buffer = 0;
    int bits = 0;
    for (size_t i = start + begin.size(); i < end; ++i) {
        const size_t value = alphabet.find(bytes[i]);
        if (value == std::string::npos) continue;  // line breaks and padding
        buffer = (buffer << 6) | static_cast<unsigned>(value);
        if ((bits += 6) >= 8) der.push_back(static_cast<char>((buffer >> (bits -= 8)) & 0xff));
    }
    return der;
}

std::optional<vork::VORKSecurityCertificate> loadCertificate(const std::string &path, vork::DomainError &error) {
    auto der = certificateFile(path);
    if (!der) {
        error = {"file", 2, "cannot read " + path};
        return std::nullopt;
    }
    return vork::VORKSecurityCertificate::certificateFromData(*der, &error);
}

std::vector<Field> describe(const vork::VORKSecurityCertificate &certificate, std::string &human) {
    vork::DomainError ignored;
    const auto subject = certificate.getCertificateSubject(&ignored);
    human += "  " + certificate.description() + (certificate.isDeviceCertificate() ? "  (device certificate)" : "") + "\n";
    return {{"commonName", certificate.description()},
            {"subject", subject ? JsonValue(*subject) : nullptr},
            {"deviceCertificate", certificate.isDeviceCertificate()}};
}

int keychainCreate(const Options &o) {
    if (o.positional.size() != 1) return usageError("keychain-create PATH  (password on standard input or asked for)");
    const std::string &path = o.positional[0];
    auto password = readSecret("New password for " + path + ": ");
    if (!password || password->empty()) {
        std::fprintf(stderr, "vorkcomm: no password given\n");
        return kExitUsage;
    }
    vork::DomainError error;
    const auto keychain = vork::VORKSecurityKeychain::createKeychainAtPath(path, *password, nullptr, &error);
    wipe(password);
    if (!keychain) return failed(o, "cannot create " + path, error, {{"keychain", path}});
    return emit(o, "created " + path, {{"keychain", path}, {"created", true}}, kExitOk);
}

int keychainUnlock(const Options &o) {
    if (o.positional.size() != 1) return usageError("keychain-unlock PATH  (password on standard input or asked for)");
    const std::string &path = o.positional[0];
    vork::DomainError error;
    auto keychain = vork::VORKSecurityKeychain::loadKeychainAtPath(path, &error);
    if (!keychain) return failed(o, "cannot open " + path, error, {{"keychain", path}});
    auto password = readSecret("Password for " + path + ": ");
    const bool ok = keychain->unlockWithPassword(password, &error);
    wipe(password);
    if (!ok) return failed(o, "cannot unlock " + path, error, {{"keychain", path}, {"unlocked", false}});
    return emit(o, "the password unlocks " + path, {{"keychain", path}, {"unlocked", true}}, kExitOk);
}

int keychainList(const Options &o) {
    if (o.positional.size() != 1) return usageError("keychain-list PATH");
    const std::string &path = o.positional[0];
    vork::DomainError error;
    const auto keychain = vork::VORKSecurityKeychain::loadKeychainAtPath(path, &error);
    if (!keychain) return failed(o, "cannot open " + path, error, {{"keychain", path}});
    // A search that finds nothing answers errSecItemNotFound: an empty list here.
    auto read = [&](auto items) -> decltype(items) {
        if (!items && error.code == vork::errSecItemNotFound) return decltype(items)(std::in_place);
        return items;
    };
    const auto certificates = read(keychain->allCertificates(&error));
    const auto identities = certificates ? read(keychain->allIdentities(&error)) : std::nullopt;
    if (!identities) return failed(o, "cannot read " + path, error, {{"keychain", path}});
    std::string human = "certificates (" + std::to_string(certificates->size()) + "):\n";
    std::vector<std::vector<Field>> certificateFields, identityFields;
    for (const auto &certificate : *certificates) certificateFields.push_back(describe(certificate, human));
    human += "identities (" + std::to_string(identities->size()) + "):\n";
    for (const auto &identity : *identities)
        if (auto certificate = identity.certificate(&error)) identityFields.push_back(describe(*certificate, human));
    return emit(o, human,
                {{"keychain", path}, {"certificates", jsonArray(certificateFields)},
                 {"identities", jsonArray(identityFields)}},
                kExitOk);
}

int certImport(const Options &o) {
    if (o.positional.size() != 2)
        return usageError("cert-import KEYCHAIN CERTIFICATE  (password on standard input or asked for)");
    const std::string &path = o.positional[0], &file = o.positional[1];
    vork::DomainError error;
    const auto certificate = loadCertificate(file, error);
    if (!certificate) return failed(o, "no certificate in " + file, error, {{"certificate", file}});
    auto keychain = vork::VORKSecurityKeychain::loadKeychainAtPath(path, &error);
    if (!keychain) return failed(o, "cannot open " + path, error, {{"keychain", path}});
    auto password = readSecret("Password for " + path + ": ");
    const bool unlocked = keychain->unlockWithPassword(password, &error);
    wipe(password);
    if (!unlocked) return failed(o, "cannot unlock " + path, error, {{"keychain", path}});
    if (!keychain->addCertificate(*certificate, &error))
        return failed(o, "cannot add the certificate", error, {{"keychain", path}});
    keychain->lock(nullptr);
    return emit(o, "imported " + certificate->description() + " into " + path,
                {{"keychain", path}, {"commonName", certificate->description()}, {"imported", true}}, kExitOk);
}

int certShow(const Options &o) {
    if (o.positional.size() != 1) return usageError("cert-show CERTIFICATE");
    vork::DomainError error;
    const auto certificate = loadCertificate(o.positional[0], error);
    if (!certificate) return failed(o, "no certificate in " + o.positional[0], error, {{"certificate", o.positional[0]}});
    std::string human;
    auto fields = describe(*certificate, human);
    fields.insert(fields.begin(), Field{"certificate", o.positional[0]});
    return emit(o, human.substr(2), fields, kExitOk);
}

CommandRegistrar r1({"keychain-create", "PATH", "create a keychain; the password is read from standard input or asked for",
                     keychainCreate});
CommandRegistrar r2({"keychain-unlock", "PATH", "check that a password (standard input or asked for) unlocks a keychain",
                     keychainUnlock});
CommandRegistrar r3({"keychain-list", "PATH", "certificates and identities of a keychain", keychainList});
CommandRegistrar r4({"cert-import", "KEYCHAIN CERTIFICATE",
                     "add a certificate file (DER or PEM) to a keychain; its password from standard input or asked for",
                     certImport});
CommandRegistrar r5({"cert-show", "CERTIFICATE", "common name and subject of a certificate file (DER or PEM)", certShow});

}  // namespace
}  // namespace vorkcomm
