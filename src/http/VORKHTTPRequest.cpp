#include "http/VORKHTTPRequest.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "base/CommCLog.h"
#include "base/Exception.h"
#include "base/Format.h"
#include "http/VORKNetworkingException.h"
#include "platform/FileAccess.h"
#include "runloop/RunLoop.h"
#include "util/Base64.h"

namespace vork {

namespace {

constexpr double kSynchronousSlice = 0.03;

bool sameHeaderName(const std::string &a, const std::string &b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
           });
}

bool nonEmpty(const std::optional<std::string> &text) { return text && !text->empty(); }

}  // namespace

VORKHTTPRequest::VORKHTTPRequest() = default;

VORKHTTPRequest::VORKHTTPRequest(const std::optional<std::string> &url) { setUrl(url); }

VORKHTTPRequest::VORKHTTPRequest(const std::optional<std::string> &url, std::string body) : VORKHTTPRequest(url) {
    setPostBody(std::move(body));
}

VORKHTTPRequest::~VORKHTTPRequest() {
    if (connection_) connection_->cancel();
}

std::shared_ptr<VORKHTTPRequest> VORKHTTPRequest::requestWithUrl(const std::optional<std::string> &url) {
    return std::make_shared<VORKHTTPRequest>(url);
}

std::shared_ptr<VORKHTTPRequest> VORKHTTPRequest::xmlPostRequestWithUrl(const std::optional<std::string> &url,
                                                                        std::string body) {
    return std::make_shared<VORKHTTPRequest>(url, std::move(body));
}

void VORKHTTPRequest::reset() {
    URLRequestData fresh;
    fresh.url = urlRequest_.url;
    urlRequest_ = std::move(fresh);
}

void VORKHTTPRequest::setPostBody(std::string body) {
    urlRequest_.method = "POST";
    urlRequest_.bodyStreamPath.reset();
    urlRequest_.body = std::make_shared<const std::string>(std::move(body));
    addHeaderValue("application/xml; charset=utf-8", "Content-Type");
}

void VORKHTTPRequest::setPostFilePath(const std::string &path) {
    const uint64_t size = platform::fileAccess().get()->sizeOf(path).value_or(0);
    urlRequest_.bodyStreamPath = path;
    expectedContentLength_ = size;
    urlRequest_.method = "POST";
    urlRequest_.body.reset();
    // The raw file bytes under a multipart type, without any multipart
    // framing: the receiving server expects exactly this.
    addHeaderValue("multipart/form-data; charset=utf-8", "Content-Type");
    addHeaderValue(stringf("%llu", static_cast<unsigned long long>(size)), "Content-Length");
}

bool VORKHTTPRequest::isAcceptableHeader(std::string_view name, std::string_view value) {
    return !name.empty() && name.find_first_of(":\r\n \t") == std::string_view::npos &&
           value.find_first_of("\r\n") == std::string_view::npos;
}

bool VORKHTTPRequest::addHeaderValue(const std::string &value, const std::string &name) {
    if (!isAcceptableHeader(name, value)) {
        logDebugf("VORKHTTPRequest addHeaderValue refused a header with a line break or a bad name");
        return false;
    }
    for (auto &header : urlRequest_.headers) {
        if (sameHeaderName(header.first, name)) {
            header.second = value;
            return true;
        }
    }
    urlRequest_.headers.emplace_back(name, value);
    return true;
}

std::map<std::string, std::string> VORKHTTPRequest::headerValues() const {
    return {urlRequest_.headers.begin(), urlRequest_.headers.end()};
}

// --- Submission ---

void VORKHTTPRequest::prepareForRequest() {
    if (nonEmpty(username_) && password_) {
        const std::string pair = stringf("%s:%s", username_->c_str(), password_->c_str());
        addHeaderValue(stringf("Basic %s", util::base64EncodedString(pair).c_str()), "Authorization");
    }
    if (resumeFromLocation_ != 0)
        addHeaderValue(stringf("bytes=%lld-", static_cast<long long>(resumeFromLocation_)), "Range");
    if (timeout_ > 0) urlRequest_.timeoutInterval = timeout_;
    URLRequestTrust::setAllowInvalidCert(allowInvalidCert_);

    error_.reset();
    errored_ = false;
    isCompleted_ = false;
    httpResponse_ = std::make_shared<VORKHTTPResponse>();

    if (nonEmpty(downloadFilePath_)) {
        initializeOutputFile();
        if (responseData_) responseData_ = std::make_shared<std::string>();
    } else {
        // A fresh buffer, so a response handed out earlier keeps its body.
        responseData_ = std::make_shared<std::string>();
    }
    initializeConnection();
    currentUploadBytes_ = 0;
    lastUploadBytes_ = 0;
    uploadWrapQty_ = 0;
}

void VORKHTTPRequest::initializeConnection() {
    if (connection_) {
        connection_->cancel();
        connection_.reset();
    }
    http::ConnectionRequest request;
    request.url = urlRequest_.url.value_or("");
    request.method = urlRequest_.method;
    request.headers = urlRequest_.headers;
    request.body = urlRequest_.body;
    request.bodyFilePath = urlRequest_.bodyStreamPath;
    request.timeout = urlRequest_.timeoutInterval;
    // Server trust: any certificate passes while the process-wide switch is
    // on, or when this request allows it.
    request.allowInvalidCert = URLRequestTrust::allowInvalidCert() || allowInvalidCert_;
    if (canAuthenticateAgainstProtectionSpace(AuthenticationMethod::HTTPDigest)) {
        request.username = username_;
        request.password = password_;
    }
    http::TlsCredentials tls = tlsCredentials_;
    if (canAuthenticateAgainstProtectionSpace(AuthenticationMethod::ClientCertificate)) {
        // libcurl needs the identity before the handshake, so it is asked for
        // up front instead of when the server asks.
        if (auto credential = credentialForCertFile(); credential && credential->identity)
            tls.clientIdentity = credential->identity;
    }
    request.tls = http::tlsCredentialsFor(std::move(tls));
    request.outputFile = fileHandle_;
    request.resumeOffset = resumeFromLocation_;
    connection_ = http::transport().get()->start(
        std::move(request), *this, synchronous_ ? http::Submission::Synchronous : http::Submission::Asynchronous);
}

void VORKHTTPRequest::initializeOutputFile() {
    namespace fs = std::filesystem;
    const std::string path = downloadFilePath_.value_or("");
    std::error_code ec;
    if (resumeFromLocation_ == 0) fs::remove(path, ec);
    if (!fs::exists(path, ec)) {
        const fs::path parent = fs::path(path).parent_path();
        if (!parent.empty() && !fs::exists(parent, ec)) fs::create_directories(parent, ec);
    }
    int openError = 0;
    auto file = path.empty() ? nullptr : platform::fileAccess().get()->openForAppending(path, openError);
    if (!file) throw Exception("URL Download Error", stringf("Unable to initialize output file %s", path.c_str()));
    fileHandle_ = std::make_shared<http::OutputFile>(path, std::move(file));
}

void VORKHTTPRequest::writeToOutputFile(std::string_view bytes) {
    if (fileHandle_ && !fileHandle_->append(bytes.data(), bytes.size()))
        logDebugf("VORKHTTPRequest writeToOutputFile failed: %s", fileHandle_->path().c_str());
}

void VORKHTTPRequest::waitUntilCompleted() {
    std::shared_ptr<RunLoop> loop = RunLoop::current();
    while (!isCompleted_) loop->runOnce(RunLoop::Seconds(kSynchronousSlice));
}

std::shared_ptr<VORKHTTPResponse> VORKHTTPRequest::submitRequestWithout416Check() {
    // The caller waits here until the end, so the bytes move on this thread.
    synchronous_ = true;
    try {
        prepareForRequest();
    } catch (...) {
        synchronous_ = false;
        throw;
    }
    synchronous_ = false;
    waitUntilCompleted();
    if (error_) {
        const std::string reason = error_->localizedDescription();
        if (error_->code() == 416) throw VORKNetworkingExceptionRangeNotSatisfiable(reason);
        throw VORKNetworkingException(reason);
    }
    return httpResponse_;
}

std::shared_ptr<VORKHTTPResponse> VORKHTTPRequest::submitRequest() {
    try {
        return submitRequestWithout416Check();
    } catch (const VORKNetworkingExceptionRangeNotSatisfiable &) {
        if (!nonEmpty(downloadFilePath_)) throw;
        resumeFromLocation_ = 0;
        std::error_code ec;
        std::filesystem::remove(*downloadFilePath_, ec);
        reset();
    }
    return submitRequestWithout416Check();
}

void VORKHTTPRequest::asyncSubmitRequest() { prepareForRequest(); }

// --- Authentication ---

bool VORKHTTPRequest::canAuthenticateAgainstProtectionSpace(AuthenticationMethod method) const {
    if (method == AuthenticationMethod::ServerTrust) return true;
    const bool haveCredentials = nonEmpty(username_) && password_.has_value();
    if (method == AuthenticationMethod::HTTPBasic && haveCredentials) return true;
    if (method == AuthenticationMethod::HTTPDigest && haveCredentials) return true;
    if (!nonEmpty(zelAddressForCredential_)) return false;
    return method == AuthenticationMethod::ClientCertificate;
}

std::optional<URLCredential> VORKHTTPRequest::credentialForCertFile() {
    if (!nonEmpty(zelAddressForCredential_) || !notifyObject_) return std::nullopt;
    return notifyObject_->credentialNeededForServerRequest(*this, *zelAddressForCredential_);
}

void VORKHTTPRequest::connectionDidReceiveAuthenticationChallenge(const AuthenticationChallenge &challenge,
                                                                   ChallengeSender &sender) {
    // Cancelled, and then answered again below: the double answer is kept.
    if (challenge.previousFailureCount > 0 && challenge.proposedCredential) sender.cancel();
    const URLCredential trust = URLCredential::forTrust();
    switch (challenge.method) {
    case AuthenticationMethod::ServerTrust:
        if (allowInvalidCert_ || challenge.trustEvaluation == 4 || challenge.trustEvaluation == 1)
            sender.useCredential(trust);
        else
            sender.continueWithoutCredential();
        break;
    case AuthenticationMethod::ClientCertificate:
        sender.useCredential(credentialForCertFile().value_or(trust));
        break;
    case AuthenticationMethod::Default:
    case AuthenticationMethod::HTTPBasic:
    case AuthenticationMethod::HTTPDigest:
        sender.useCredential(URLCredential::withUser(username_, password_));
        break;
    case AuthenticationMethod::Other:
        sender.continueWithoutCredential();
        break;
    }
}

// --- Connection reports ---

void VORKHTTPRequest::connectionDidReceiveResponse(int statusCode, int64_t expectedContentLength) {
    httpResponse_->setResponseCode(statusCode);
    if (statusCode != 200 && statusCode != 206) {
        connectionDidFailWithError(URLError("", statusCode));
        return;
    }
    if (statusCode == 200 && resumeFromLocation_ >= 1) {
        // The server ignored the range: the body starts again at byte 0.
        resumeFromLocation_ = 0;
        if (nonEmpty(downloadFilePath_)) {
            try {
                initializeOutputFile();
            } catch (const Exception &e) {
                logDebugf("VORKHTTPRequest %s", e.reason().c_str());
            }
        } else if (responseData_) {
            responseData_->clear();
        }
    }
    expectedContentLength_ = static_cast<uint64_t>(expectedContentLength + resumeFromLocation_);
    currentDownloadedBytes_ = static_cast<uint64_t>(resumeFromLocation_);
}

void VORKHTTPRequest::connectionDidReceiveData(std::string_view bytes, uint64_t length) {
    if (fileHandle_) {
        if (!bytes.empty()) writeToOutputFile(bytes);
    } else {
        if (!responseData_) responseData_ = std::make_shared<std::string>();
        responseData_->append(bytes);
    }
    currentDownloadedBytes_ += length;
    if (notifyObject_ && notifyProgress_ && expectedContentLength_ != 0) {
        notifyObject_->notifyProgress(
            *this, static_cast<double>(currentDownloadedBytes_) / static_cast<double>(expectedContentLength_) * 100.0);
    }
}

void VORKHTTPRequest::connectionDidSendBodyData(int32_t, int32_t totalBytesWritten, int32_t totalBytesExpectedToWrite) {
    // The platform's running total is a 32-bit figure that wraps on large
    // files; each wrap is counted and weighted with 4294967295.
    const auto total = static_cast<uint32_t>(totalBytesWritten);
    if (lastUploadBytes_ > total) ++uploadWrapQty_;
    lastUploadBytes_ = total;
    currentUploadBytes_ = static_cast<uint64_t>(uploadWrapQty_) * 4294967295ULL + total;
    const uint64_t denominator =
        std::max<uint64_t>(expectedContentLength_, static_cast<uint32_t>(totalBytesExpectedToWrite));
    if (notifyObject_ && notifyProgress_ && denominator != 0) {
        notifyObject_->notifyProgress(
            *this, static_cast<double>(currentUploadBytes_) / static_cast<double>(denominator) * 100.0);
    }
}

void VORKHTTPRequest::recordResult() {
    httpResponse_->setBytesDownloaded(currentDownloadedBytes_);
    httpResponse_->setBytesUploaded(urlRequest_.body ? urlRequest_.body->size() : 0);
    httpResponse_->setResponseData(responseData_);
}

void VORKHTTPRequest::connectionDidFailWithError(const URLError &error) {
    if (nonEmpty(downloadFilePath_)) {
        // A failed download leaves no empty file behind.
        if (platform::fileAccess().get()->sizeOf(*downloadFilePath_) == uint64_t{0}) {
            std::error_code ec;
            std::filesystem::remove(*downloadFilePath_, ec);
        }
    }
    recordResult();
    auto info = error.userInfo();
    info[kLocalizedDescriptionKey] = stringf("Connection failure: \"%s\"", error.localizedDescription().c_str());
    error_ = URLError(error.domain(), error.code(), std::move(info));
    errored_ = true;
    if (error.code() == kURLErrorServerCertificateUntrusted) httpResponse_->setResponseCode(403);
    completed();
}

void VORKHTTPRequest::connectionDidFinishLoading() {
    recordResult();
    completed();
}

void VORKHTTPRequest::completed() {
    isCompleted_ = true;
    if (notifyObject_ && notifyCompleted_) notifyObject_->notifyCompleted(*this);
}

}  // namespace vork
