#include "transfers/HttpTransfer.h"

#include <algorithm>
#include <cmath>

#include "base/CommCLog.h"
#include "base/Exception.h"
#include "base/Format.h"
#include "base/SystemRoot.h"
#include "runloop/RunLoop.h"

namespace vork {

namespace {
const char *orNull(const std::optional<std::string> &text) { return text ? text->c_str() : "(null)"; }
bool nonEmpty(const std::optional<std::string> &text) { return text && !text->empty(); }
}  // namespace

HttpTransfer::HttpTransfer()
    : securityAPI_(systemPath(kHttpTransferKeychainPath)), httpRequest_(std::make_unique<VORKHTTPRequest>()) {}

HttpTransfer::~HttpTransfer() {
    if (restartLoop_ && restartTimer_) restartLoop_->cancelTimer(restartTimer_);
    httpRequest_.reset();
}

void HttpTransfer::start() {
    logDebugf("HttpTransfer start");
    httpRequest_->setNotifyObject(this);
    httpRequest_->setNotifyProgress(true);
    httpRequest_->setNotifyCompleted(true);
    retryCount_ = 0;
    isCanceled_ = false;
    restart();
}

void HttpTransfer::restart() {
    logDebugf("HttpTransfer restart");
    restartTimer_ = 0;
    ++attempt_;
    percentCompleted_ = 0;
    statusMessage_ = "";
    initializeHttpRequest();
    try {
        httpRequest_->asyncSubmitRequest();
    } catch (...) {
        logDebugf("HttpTransfer - asyncSubmitRequest exception: %s",
                  describeException(std::current_exception()).c_str());
    }
}

void HttpTransfer::restartAfterDelay(double seconds) {
    logDebugf("HttpTransfer restartAfterDelay: %lf", seconds);
    httpRequest_->setIsCompleted(false);
    restartLoop_ = RunLoop::current();
    restartTimer_ = restartLoop_->addTimer(RunLoop::Seconds(seconds), [this] {
        restartTimer_ = 0;
        restart();
    });
}

std::shared_ptr<VORKHTTPResponse> HttpTransfer::submitSynchronousRequest() {
    logDebugf("HttpTransfer submitSynchronousRequest");
    initializeHttpRequest();
    return httpRequest_->submitRequest();
}

void HttpTransfer::cancel() {
    logDebugf("HttpTransfer cancel");
    isCanceled_ = true;
}

bool HttpTransfer::isCompleted() {
    logDebugf("HttpTransfer _inProgress=%s, isCompleted: %s", yesNo(inProgress_), yesNo(httpRequest_->isCompleted()));
    return !inProgress_;
}

int HttpTransfer::responseCode() {
    if (!httpRequest_) {
        logDebugf("HttpTransfer responseCode: -1 (length): %lu", 0UL);
        return -1;
    }
    auto response = httpRequest_->httpResponse();
    const int code = response ? response->responseCode() : 0;
    logDebugf("HttpTransfer responseCode: %d", code);
    return code;
}

std::shared_ptr<const std::string> HttpTransfer::responseData() {
    auto response = httpRequest_->httpResponse();
    auto data = response ? response->responseData() : nullptr;
    logDebugf("HttpTransfer responseData (length): %lu", static_cast<unsigned long>(data ? data->size() : 0));
    return data;
}

const std::optional<URLError> &HttpTransfer::error() const { return httpRequest_->error(); }

std::optional<URLCredential> HttpTransfer::credentialNeededForServerRequest(VORKHTTPRequest &request,
                                                                            const std::string &) {
    DomainError error;
    auto credential = securityAPI_.identityAsNSURLCredential(&error);
    if (!credential) {
        logDebugf("HttpTransfer - error producing credential for server request %s: {Error Domain=%s Code=%ld \"%s\"}",
                  orNull(request.url()), error.domain.c_str(), error.code,
                  error.description.empty() ? "(null)" : error.description.c_str());
    }
    return credential;
}

void HttpTransfer::initializeHttpRequest() {
    logDebugf("HttpTransfer initializeHttpRequest: url=%s, allowInvalidCert=%s, username=%s, password=********, "
              "postData.length=%lu, postFilePath=%s, downloadFilePath=%s",
              orNull(url_), yesNo(allowInvalidCert_), orNull(username_),
              static_cast<unsigned long>(postData_ ? postData_->size() : 0), orNull(postFilePath_),
              orNull(downloadFilePath_));
    inProgress_ = true;
    VORKHTTPRequest &request = *httpRequest_;
    request.reset();
    request.setUrl(url_);
    request.setAllowInvalidCert(allowInvalidCert_);
    if (nonEmpty(username_)) request.setUsername(username_);
    if (nonEmpty(password_)) request.setPassword(password_);
    if (nonEmpty(postData_)) request.setPostBody(*postData_);
    if (nonEmpty(postFilePath_)) request.setPostFilePath(*postFilePath_);
    if (nonEmpty(downloadFilePath_)) request.setDownloadFilePath(downloadFilePath_);
    request.setTimeout(kHttpTransferRequestTimeout);
    for (const auto &[name, value] : headerValues_) {
        logDebugf("HttpTransfer initializeHttpRequest: header value=%s, key=%s", value.c_str(), name.c_str());
        request.addHeaderValue(value, name);
    }
}

void HttpTransfer::notifyProgress(VORKHTTPRequest &request, double percent) {
    percentCompleted_ = std::round(percent * 10.0) / 10.0;
    if (isCanceled_) {
        logDebugf("HttpTransfer canceled during notifyProgress");
        request.setIsCompleted(true);
    }
}

void HttpTransfer::notifyCompleted(VORKHTTPRequest &request) {
    // A request can report the end of one attempt twice (a failure status,
    // then the end of its body); each attempt is decided once.
    if (decidedAttempt_ == attempt_) return;
    decidedAttempt_ = attempt_;
    auto response = request.httpResponse();
    const long code = response ? response->responseCode() : 0;
    const bool retry = !isCanceled_ && request.fileStream().has_value() && retryCount_ < maxRetries_ &&
                       shouldRetry(code);
    if (retry) {
        ++retryCount_;
        logDebugf("HttpTransfer notifyCompleted retry #%d responseCode:%ld", retryCount_, code);
        statusMessage_ = stringf("Retry #%d...", retryCount_);
        restartAfterDelay(delayTimeForIteration(retryCount_ - 1));
        return;
    }
    logDebugf("HttpTransfer notifyCompleted");
    statusMessage_ = "";
    if (isCanceled_) {
        logDebugf("HttpTransfer canceled before retry #%d responseCode:%ld", retryCount_ + 1, code);
        statusMessage_ = "Canceled";
    }
    retryCount_ = 0;
    inProgress_ = false;
}

bool HttpTransfer::shouldRetry(long code) {
    if (code == 0) return true;
    if (code < 400) return false;
    switch (code) {
    case 403:
    case 404:
    case 415:
    case 418:
    case 500:
    case 501:
        return false;
    default:
        return true;
    }
}

double HttpTransfer::acceptableRetryDelay(double seconds, double fallback) {
    if (!std::isfinite(seconds) || seconds < 0) return fallback;
    return std::min(seconds, kHttpTransferLongestRetryDelay);
}

double HttpTransfer::delayTimeForIteration(int iteration) const {
    // The settings are exported variables an agent may write directly, so
    // they are checked here, where they are used.
    const double min = acceptableRetryDelay(retryDelayMinSeconds_, kHttpTransferRetryDelayMin);
    const double max = acceptableRetryDelay(retryDelayMaxSeconds_, kHttpTransferRetryDelayMax);
    const double ratio = std::pow(max - min + 1.0, 1.0 / static_cast<double>(maxRetries_ - 1));
    const double delay = min - 1.0 + std::pow(ratio, static_cast<double>(iteration));
    if (std::isnan(delay)) return std::max(min, kHttpTransferShortestRetryDelay);
    return std::clamp(delay, kHttpTransferShortestRetryDelay, kHttpTransferLongestRetryDelay);
}

}  // namespace vork
