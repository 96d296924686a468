#include "security/TrustSettings.h"

#include <openssl/pem.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <optional>
#include <sstream>

#include "VORKCoreCommC/security/VORKSecurityStatus.h"
#include "base/SystemRoot.h"
#include "platform/EffectiveUser.h"
#include "platform/RunningProgram.h"
#include "security/store/Crypto.h"
#include "util/FileManager.h"

namespace vork::sec {

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char *kTrustFolder = "/Library/Security/Trust Settings";

std::string domainPath(TrustDomain domain) {
    const std::string folder = systemPath(kTrustFolder);
    switch (domain) {
    case TrustDomain::System: return folder + "/System.pem";
    case TrustDomain::Admin: return folder + "/Admin.pem";
    case TrustDomain::User:
        return folder + "/Users/" + std::to_string(platform::effectiveUser().get()->effectiveUserId()) + ".pem";
    }
    return {};
}

bool mayWrite(TrustDomain domain) {
    const uid_t user = platform::effectiveUser().get()->effectiveUserId();
    switch (domain) {
    case TrustDomain::System: return user == 0;
    case TrustDomain::Admin: return user == 0 || platform::runningProgram().get()->isMemberOfGroup(util::adminGroupId());
    case TrustDomain::User: return true;
    }
    return false;
}

std::vector<std::string> readDomain(const std::string &path) {
    std::vector<std::string> out;
    // Most domains have no file: a stream is not built for nothing (this
    // runs before every request).
    std::error_code ec;
    if (!std::filesystem::exists(path, ec)) return out;
    std::ifstream in(path, std::ios::binary);
    if (!in) return out;
    std::stringstream text;
    text << in.rdbuf();
    const std::string pem = text.str();
    BIO *bio = BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size()));
    while (X509 *certificate = PEM_read_bio_X509(bio, nullptr, nullptr, nullptr)) {
        out.push_back(crypto::certificateDer(certificate));
        X509_free(certificate);
    }
    BIO_free(bio);
    return out;
}

// The list is read before every exchange (a redirect may lead to HTTPS),
// and three files (most of them missing) cost more than a kept
// connection's whole exchange. A reading is kept for a second, for the same
// three files; a change made by this process drops it at once, one made by
// another process shows within the second.
class TrustCache {
public:
    using Paths = std::array<std::string, 3>;

    // The kept list for these files, or none (and the state a reading
    // starting now will be kept for).
    std::optional<std::vector<std::string>> lookUp(const Paths &paths, uint64_t &generation) {
        std::lock_guard<std::mutex> lock(mutex_);
        generation = generation_;
        if (!valid_ || paths != paths_ || Clock::now() - readAt_ >= kLifetime) return std::nullopt;
        return certificates_;
    }
    // Kept unless a change came in while it was read.
    void keep(const Paths &paths, Clock::time_point readAt, uint64_t generation,
              const std::vector<std::string> &certificates) {
        std::lock_guard<std::mutex> lock(mutex_);
        if (generation != generation_) return;
        paths_ = paths;
        readAt_ = readAt;
        certificates_ = certificates;
        valid_ = true;
    }
    void drop() {
        std::lock_guard<std::mutex> lock(mutex_);
        ++generation_;
        valid_ = false;
    }

private:
    static constexpr std::chrono::seconds kLifetime{1};
    std::mutex mutex_;
    uint64_t generation_ = 0;
    bool valid_ = false;
    Paths paths_;
    Clock::time_point readAt_;
    std::vector<std::string> certificates_;
};

TrustCache &trustCache() {
    static TrustCache cache;
    return cache;
}

OSStatus writeDomain(const std::string &path, const std::vector<std::string> &certificates) {
    namespace fs = std::filesystem;
    std::error_code ec;
    fs::create_directories(fs::path(path).parent_path(), ec);
    const std::string temporary = path + ".new";
    {
        std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
        for (const std::string &der : certificates) {
            auto x509 = crypto::parseCertificate(der);
            if (x509) out << crypto::certificatePem(x509.get());
        }
        out.flush();
        if (!out) {
            const int err = errno;
            fs::remove(temporary, ec);
            return err == EACCES || err == EPERM ? errSecWrPerm : errSecIO;
        }
    }
    util::applyPermissions(temporary, util::permissionsWithMode(0644));
    fs::rename(temporary, path, ec);
    trustCache().drop();
    if (ec) {
        fs::remove(temporary, ec);
        return errSecIO;
    }
    return errSecSuccess;
}

}  // namespace

OSStatus setTrust(const std::string &der, TrustDomain domain) {
    if (!mayWrite(domain)) return errAuthorizationDenied;
    const std::string path = domainPath(domain);
    auto certificates = readDomain(path);
    if (std::find(certificates.begin(), certificates.end(), der) != certificates.end()) return errSecSuccess;
    certificates.push_back(der);
    return writeDomain(path, certificates);
}

OSStatus removeTrust(const std::string &der) {
    OSStatus status = errSecItemNotFound;
    for (TrustDomain domain : {TrustDomain::System, TrustDomain::Admin, TrustDomain::User}) {
        const std::string path = domainPath(domain);
        auto certificates = readDomain(path);
        auto end = std::remove(certificates.begin(), certificates.end(), der);
        if (end == certificates.end()) continue;
        if (!mayWrite(domain)) {
            status = errAuthorizationDenied;
            continue;
        }
        certificates.erase(end, certificates.end());
        const OSStatus written = writeDomain(path, certificates);
        if (status == errSecItemNotFound || written != errSecSuccess) status = written;
    }
    return status;
}

std::vector<std::string> trustedCertificates() {
    const TrustCache::Paths paths{domainPath(TrustDomain::System), domainPath(TrustDomain::Admin),
                                  domainPath(TrustDomain::User)};
    uint64_t generation = 0;
    if (auto kept = trustCache().lookUp(paths, generation)) return std::move(*kept);
    const auto readAt = Clock::now();
    std::vector<std::string> all;
    for (const std::string &path : paths)
        for (std::string &der : readDomain(path))
            if (std::find(all.begin(), all.end(), der) == all.end()) all.push_back(std::move(der));
    trustCache().keep(paths, readAt, generation, all);
    return all;
}

}  // namespace vork::sec
