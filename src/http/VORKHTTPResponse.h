#pragma once
// The result record of one HTTP exchange, and the process-wide switch that
// lets every HTTPS connection accept any server certificate.
#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "base/Export.h"

namespace vork {

class VORK_EXPORT VORKHTTPResponse {
public:
    VORKHTTPResponse() = default;
    VORKHTTPResponse(const VORKHTTPResponse &) = delete;
    VORKHTTPResponse &operator=(const VORKHTTPResponse &) = delete;

    // Body bytes received, counting a resume offset.
    uint64_t bytesDownloaded() const { return bytesDownloaded_.load(); }
    void setBytesDownloaded(uint64_t value) { bytesDownloaded_.store(value); }
    // Length of the in-memory request body (0 for a body streamed from a file).
    uint64_t bytesUploaded() const { return bytesUploaded_.load(); }
    void setBytesUploaded(uint64_t value) { bytesUploaded_.store(value); }
    uint64_t totalBytes() const { return bytesUploaded() + bytesDownloaded(); }

    // HTTP status; 403 also stands for a server certificate that was not
    // trusted. 0 while no answer has arrived.
    int32_t responseCode() const { return responseCode_; }
    void setResponseCode(int32_t code) { responseCode_ = code; }

    // The in-memory body, shared with the request that received it; none
    // when nothing was kept in memory (for example a download to a file).
    std::shared_ptr<const std::string> responseData() const { return responseData_; }
    void setResponseData(std::shared_ptr<const std::string> data) { responseData_ = std::move(data); }
    // The body as text ("" when there is none).
    std::string responseText() const { return responseData_ ? *responseData_ : std::string(); }

private:
    std::atomic<uint64_t> bytesDownloaded_{0};
    std::atomic<uint64_t> bytesUploaded_{0};
    int32_t responseCode_ = 0;
    std::shared_ptr<const std::string> responseData_;
};

// The process-wide allow-invalid-certificate switch. Every request sets it
// from its own setting when it is prepared, so the last request prepared
// decides for every connection that starts afterwards.
class VORK_EXPORT URLRequestTrust {
public:
    static bool allowInvalidCert();
    static void setAllowInvalidCert(bool allow);
    // Whether any certificate is accepted for the host: the switch itself,
    // whatever the host.
    static bool allowsAnyHTTPSCertificateForHost(const std::string &host);
};

}  // namespace vork
