#include "transfers/VORKSecurityFileHash.h"

#include <openssl/evp.h>

#include <memory>
#include <new>

#include "base/Format.h"
#include "platform/FileAttributes.h"
#include "platform/FileReading.h"

namespace vork {

namespace {

const EVP_MD *digestFor(DigestType type, int length) {
    if (type == DigestType::MD5) return (length == 0 || length == 128) ? EVP_md5() : nullptr;
    switch (length) {
        case 0:
        case 512: return EVP_sha512();
        case 384: return EVP_sha384();
        case 256: return EVP_sha256();
        case 224: return EVP_sha224();
        default: return nullptr;
    }
}

struct DigestContextDeleter {
    void operator()(EVP_MD_CTX *context) const { EVP_MD_CTX_free(context); }
};

std::optional<std::string> fail(DomainError *error, DomainError made) {
    if (error) *error = std::move(made);
    return std::nullopt;
}

}  // namespace

std::optional<std::string> VORKSecurityFileHash::md5HashOfFileAtPath(const std::optional<std::string> &path,
                                                                     DomainError *error) {
    return hashOfFileAtPath(path, DigestType::MD5, 0, error);
}

std::optional<std::string> VORKSecurityFileHash::sha512HashOfFileAtPath(const std::optional<std::string> &path,
                                                                        DomainError *error) {
    return hashOfFileAtPath(path, DigestType::SHA2, 512, error);
}

std::optional<std::string> VORKSecurityFileHash::hashOfFileAtPath(const std::optional<std::string> &path,
                                                                  DigestType type, int digestLength,
                                                                  DomainError *error, const std::atomic<bool> *stop) {
    if (!path || !platform::fileAttributes().get()->attributesOfItem(*path, true))
        return fail(error, createErrorWithText("File doesn't exist"));

    const EVP_MD *md = digestFor(type, digestLength);
    std::unique_ptr<EVP_MD_CTX, DigestContextDeleter> context(EVP_MD_CTX_new());
    if (!md || !context || EVP_DigestInit_ex(context.get(), md, nullptr) != 1) {
        return fail(error,
                    createErrorWithText("Failed to create a digest computation object for the type and length of digest."));
    }

    std::unique_ptr<unsigned char[]> buffer(new (std::nothrow) unsigned char[kChunkSize]);
    if (!buffer) return fail(error, createErrorWithText("Failed to create SecTransform for input stream"));

    int failure = 0;
    std::unique_ptr<platform::SequentialFile> file = platform::fileReading().get()->openForReading(*path, failure);
    if (!file) return fail(error, VORKSecurityError::errorFromErrno(failure));

    for (;;) {
        if (stop && stop->load(std::memory_order_relaxed)) return std::nullopt;
        long got = file->read(buffer.get(), kChunkSize, failure);
        if (got < 0) return fail(error, VORKSecurityError::errorFromErrno(failure));
        if (got == 0) break;
        if (EVP_DigestUpdate(context.get(), buffer.get(), static_cast<size_t>(got)) != 1) {
            return fail(error, createErrorWithText("Failed to compute the digest."));
        }
    }

    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (EVP_DigestFinal_ex(context.get(), digest, &length) != 1) {
        return fail(error, createErrorWithText("Failed to compute the digest."));
    }
    auto hex = stringWithHexFromData(std::string_view(reinterpret_cast<const char *>(digest), length));
    if (!hex || hex->empty()) {
        // The wording of this reason is the one callers have always seen.
        if (error) *error = createErrorWithText("Failed get string with hex from data error.");
    }
    return hex;
}

std::optional<std::string> VORKSecurityFileHash::stringWithHexFromData(std::string_view bytes) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string out(bytes.size() * 2, '\0');
    for (size_t i = 0; i < bytes.size(); ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        out[2 * i] = kDigits[byte >> 4];
        out[2 * i + 1] = kDigits[byte & 0x0f];
    }
    return out;
}

DomainError VORKSecurityFileHash::createErrorWithText(const std::string &text) {
    return VORKSecurityError::errorWithCode(kHashErrorCode, stringf("Error hashing file. %s", text.c_str()));
}

}  // namespace vork
