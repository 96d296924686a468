#pragma once
// Digests of files as lower-case hexadecimal text, computed with OpenSSL's
// EVP interface over the file read in 1 MiB chunks, so memory stays flat
// whatever the file's size.
//
// Failures answer none and, when the caller passes an error out, fill it:
// the library's own checks make errors of the security domain with code 4
// and the description "Error hashing file. <reason>"; a failed open or read
// is handed on as the system's error (POSIX domain, errno code).
#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/Export.h"
#include "security/VORKSecurityError.h"

namespace vork {

enum class DigestType { MD5, SHA2 };

class VORK_EXPORT VORKSecurityFileHash {
public:
    static std::optional<std::string> md5HashOfFileAtPath(const std::optional<std::string> &path,
                                                          DomainError *error = nullptr);
    static std::optional<std::string> sha512HashOfFileAtPath(const std::optional<std::string> &path,
                                                             DomainError *error = nullptr);

    // MD5 takes the length 0 (its only length) or 128; SHA2 takes 224, 256,
    // 384 or 512 bits, 0 meaning 512. Other combinations fail. A set `stop`
    // flag ends the reading early with none and no error.
    static std::optional<std::string> hashOfFileAtPath(const std::optional<std::string> &path, DigestType type,
                                                       int digestLength, DomainError *error = nullptr,
                                                       const std::atomic<bool> *stop = nullptr);

    // Two lower-case hexadecimal digits per byte, no separators.
    static std::optional<std::string> stringWithHexFromData(std::string_view bytes);

    // The security-domain error with code 4 made from a reason.
    static DomainError createErrorWithText(const std::string &text);

    static constexpr long kHashErrorCode = 4;
    static constexpr size_t kChunkSize = 1u << 20;
};

}  // namespace vork
