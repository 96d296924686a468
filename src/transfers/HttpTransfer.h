#pragma once
// HttpTransfer: one download or upload for the agent on top of one
// VORKHTTPRequest, either asynchronous (progress, a status line, cancel and
// automatic retries of file uploads with growing delays) or synchronous.
// Everything runs on the thread that drives it, while that thread pumps its
// run loop.
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "base/Export.h"
#include "http/VORKHTTPRequest.h"
#include "security/VORKSecurity.h"

namespace vork {

class RunLoop;

// The keychain the transfer takes its client identity from.
inline constexpr const char *kHttpTransferKeychainPath = "/Library/Application Support/VORK/VORK.keychain";
// Every attempt's request gets this idle time-out, whatever `timeout` holds.
inline constexpr double kHttpTransferRequestTimeout = 240.0;
// Retry delays: the defaults, and the bounds every wait is kept within so
// that no setting can make the retries hammer a server.
inline constexpr double kHttpTransferRetryDelayMin = 5.0;
inline constexpr double kHttpTransferRetryDelayMax = 120.0;
inline constexpr double kHttpTransferShortestRetryDelay = 0.05;
inline constexpr double kHttpTransferLongestRetryDelay = 86400.0;

class VORK_EXPORT HttpTransfer : public VORKHTTPRequestDelegate {
public:
    HttpTransfer();
    ~HttpTransfer() override;
    HttpTransfer(const HttpTransfer &) = delete;
    HttpTransfer &operator=(const HttpTransfer &) = delete;

    // Starts the transfer: retry count and cancel flag cleared, then restart.
    void start();
    // One attempt: progress and status cleared, the request prepared and
    // submitted asynchronously. A failure to submit is logged and swallowed.
    void restart();
    // Schedules restart on the calling thread's run loop.
    void restartAfterDelay(double seconds);
    // One synchronous attempt, no retries; exceptions pass through.
    std::shared_ptr<VORKHTTPResponse> submitSynchronousRequest();
    // Marks the transfer cancelled; the connection is not stopped.
    void cancel();
    // Whether the transfer has finished (no attempt running or waiting).
    bool isCompleted();
    int responseCode();
    std::shared_ptr<const std::string> responseData();
    const std::optional<URLError> &error() const;

    // Whether a response code is worth another attempt (0: no response).
    static bool shouldRetry(long responseCode);
    // Seconds to wait before retry number i + 1 (i counted from 0), kept
    // within [kHttpTransferShortestRetryDelay, kHttpTransferLongestRetryDelay].
    double delayTimeForIteration(int iteration) const;
    // A delay setting as used: fallback when not finite or negative, at
    // most kHttpTransferLongestRetryDelay.
    static double acceptableRetryDelay(double seconds, double fallback);

    // Request delegate.
    std::optional<URLCredential> credentialNeededForServerRequest(VORKHTTPRequest &request,
                                                                  const std::string &server) override;
    void notifyProgress(VORKHTTPRequest &request, double percent) override;
    void notifyCompleted(VORKHTTPRequest &request) override;

    // --- Fields ---
    const std::optional<std::string> &url() const { return url_; }
    void setUrl(std::optional<std::string> v) { url_ = std::move(v); }
    bool allowInvalidCert() const { return allowInvalidCert_; }
    void setAllowInvalidCert(bool v) { allowInvalidCert_ = v; }
    const std::optional<std::string> &username() const { return username_; }
    void setUsername(std::optional<std::string> v) { username_ = std::move(v); }
    const std::optional<std::string> &password() const { return password_; }
    void setPassword(std::optional<std::string> v) { password_ = std::move(v); }
    const std::optional<std::string> &postData() const { return postData_; }
    void setPostData(std::optional<std::string> v) { postData_ = std::move(v); }
    const std::optional<std::string> &postFilePath() const { return postFilePath_; }
    void setPostFilePath(std::optional<std::string> v) { postFilePath_ = std::move(v); }
    const std::optional<std::string> &downloadFilePath() const { return downloadFilePath_; }
    void setDownloadFilePath(std::optional<std::string> v) { downloadFilePath_ = std::move(v); }
    const std::map<std::string, std::string> &headerValues() const { return headerValues_; }
    void setHeaderValue(const std::string &value, const std::string &name) { headerValues_[name] = value; }
    double timeout() const { return timeout_; }
    void setTimeout(double v) { timeout_ = v; }
    int32_t maxRetries() const { return maxRetries_; }
    void setMaxRetries(int32_t v) { maxRetries_ = v; }
    double retryDelayMinSeconds() const { return retryDelayMinSeconds_; }
    void setRetryDelayMinSeconds(double v) { retryDelayMinSeconds_ = v; }
    double retryDelayMaxSeconds() const { return retryDelayMaxSeconds_; }
    void setRetryDelayMaxSeconds(double v) { retryDelayMaxSeconds_ = v; }
    double percentCompleted() const { return percentCompleted_; }
    void setPercentCompleted(double v) { percentCompleted_ = v; }
    // "" while running, "Retry #n..." while waiting to retry, "Canceled"
    // after a cancel; none before the first start.
    const std::optional<std::string> &statusMessage() const { return statusMessage_; }
    void setStatusMessage(std::optional<std::string> v) { statusMessage_ = std::move(v); }

    VORKHTTPRequest &httpRequest() { return *httpRequest_; }
    VORKSecurity &securityAPI() { return securityAPI_; }
    int32_t retryCount() const { return retryCount_; }
    bool inProgress() const { return inProgress_; }
    bool isCanceled() const { return isCanceled_; }

private:
    void initializeHttpRequest();

    std::optional<std::string> url_;
    bool allowInvalidCert_ = false;
    std::optional<std::string> username_;
    std::optional<std::string> password_;
    std::optional<std::string> postData_;
    std::optional<std::string> postFilePath_;
    std::optional<std::string> downloadFilePath_;
    std::map<std::string, std::string> headerValues_;
    double timeout_ = 0;
    int32_t maxRetries_ = 0;
    double retryDelayMinSeconds_ = 5.0;
    double retryDelayMaxSeconds_ = 120.0;
    double percentCompleted_ = 0;
    std::optional<std::string> statusMessage_;
    VORKSecurity securityAPI_;
    std::unique_ptr<VORKHTTPRequest> httpRequest_;
    int32_t retryCount_ = 0;
    bool inProgress_ = false;
    bool isCanceled_ = false;

    // Attempts started, and the last one whose end was decided.
    uint64_t attempt_ = 0;
    uint64_t decidedAttempt_ = 0;
    // The scheduled restart, while one waits.
    std::shared_ptr<RunLoop> restartLoop_;
    uint64_t restartTimer_ = 0;
};

}  // namespace vork
