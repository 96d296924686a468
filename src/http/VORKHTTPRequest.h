#pragma once
// VORKHTTPRequest: the library's one HTTP(S) client object. It wraps one
// request to one URL and runs it synchronously (the calling thread's run
// loop is pumped until the exchange ends) or asynchronously (the caller
// pumps its own run loop and learns of progress and the end through its
// notify object). It sends an in-memory XML body or streams a file as the
// body, receives into memory or into a file, resumes a download with an
// open-ended "Range", and authenticates with HTTP Basic/Digest or a client
// identity.
//
// Everything the request reports happens on the thread that submitted it,
// and only while that thread pumps its run loop.
//
// A subclass (a server-session request, for example) derives from
// VORKHTTPRequest and, when it wants the reports, also from
// VORKHTTPRequestDelegate, then sets itself as the notify object:
//
//     class SessionRequest : public VORKHTTPRequest, public VORKHTTPRequestDelegate {
//         SessionRequest(url, xml) : VORKHTTPRequest(url, xml) { setNotifyObject(this); }
//         std::optional<URLCredential> credentialNeededForServerRequest(...) override;
//     };
//     auto response = request.submitRequest();        // throws VORKNetworkingException
//     std::string body = response->responseText();
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/Export.h"
#include "http/TlsCredentials.h"
#include "http/Transport.h"
#include "http/URLCredential.h"
#include "http/URLError.h"
#include "http/VORKHTTPResponse.h"

namespace vork {

class VORKHTTPRequest;

// The notify object of a request (the credential delegate with the two
// report callbacks). The request calls notifyProgress and notifyCompleted
// only when they are switched on (setNotifyProgress, setNotifyCompleted).
class VORK_EXPORT VORKHTTPRequestDelegate {
public:
    virtual ~VORKHTTPRequestDelegate() = default;
    // A client identity for the server, asked when the request has a
    // zelAddressForCredential; none for no client certificate.
    virtual std::optional<URLCredential> credentialNeededForServerRequest(VORKHTTPRequest &request,
                                                                          const std::string &server) {
        return std::nullopt;
    }
    // Percent done (0-100) of the download, or of the upload.
    virtual void notifyProgress(VORKHTTPRequest &request, double percent) {}
    // The request ended (see isCompleted, errored, error, httpResponse).
    virtual void notifyCompleted(VORKHTTPRequest &request) {}
};

// The platform request the connection is made from.
struct URLRequestData {
    std::optional<std::string> url;
    std::string method = "GET";
    std::vector<std::pair<std::string, std::string>> headers;  // names unique, case-insensitively
    std::shared_ptr<const std::string> body;
    std::optional<std::string> bodyStreamPath;
    double timeoutInterval = 60.0;
};

using http::AuthenticationChallenge;
using http::AuthenticationMethod;
using http::ChallengeSender;

class VORK_EXPORT VORKHTTPRequest : public http::ConnectionDelegate {
public:
    VORKHTTPRequest();
    explicit VORKHTTPRequest(const std::optional<std::string> &url);
    // An XML POST: the body goes out with "application/xml; charset=utf-8".
    VORKHTTPRequest(const std::optional<std::string> &url, std::string body);
    ~VORKHTTPRequest() override;
    VORKHTTPRequest(const VORKHTTPRequest &) = delete;
    VORKHTTPRequest &operator=(const VORKHTTPRequest &) = delete;

    static std::shared_ptr<VORKHTTPRequest> requestWithUrl(const std::optional<std::string> &url);
    static std::shared_ptr<VORKHTTPRequest> xmlPostRequestWithUrl(const std::optional<std::string> &url,
                                                                  std::string body);

    // --- Request building ---
    std::optional<std::string> url() const { return urlRequest_.url; }
    void setUrl(const std::optional<std::string> &url) { urlRequest_.url = url; }
    // A fresh platform request carrying only the URL: method, headers, body
    // and body stream are dropped.
    void reset();
    // POST with this body and "Content-Type: application/xml; charset=utf-8".
    void setPostBody(std::string body);
    // The in-memory body, none when there is none.
    std::shared_ptr<const std::string> postBody() const { return urlRequest_.body; }
    // POST streaming the file's raw bytes, with "Content-Type:
    // multipart/form-data; charset=utf-8" (no multipart framing) and
    // "Content-Length" of the file's size (0 when it cannot be read).
    void setPostFilePath(const std::string &path);
    // Sets the header, replacing an earlier value of the same name. A name
    // or value that could split the header block (CR or LF anywhere, a name
    // that is empty or holds ':', a space or a tab) is refused: nothing is
    // set and the answer is false.
    bool addHeaderValue(const std::string &value, const std::string &name);
    static bool isAcceptableHeader(std::string_view name, std::string_view value);
    std::map<std::string, std::string> headerValues() const;
    const std::string &method() const { return urlRequest_.method; }
    double timeoutInterval() const { return urlRequest_.timeoutInterval; }

    // --- Submission ---
    // Synchronous; a refused range (416) with a download path restarts once
    // from byte 0. Throws VORKNetworkingException (or the 416 kind) for
    // every failure, also for any status other than 200 and 206.
    std::shared_ptr<VORKHTTPResponse> submitRequest();
    std::shared_ptr<VORKHTTPResponse> submitRequestWithout416Check();
    // Starts and returns; the caller pumps its run loop.
    void asyncSubmitRequest();

    // --- Settings ---
    const std::optional<std::string> &username() const { return username_; }
    void setUsername(std::optional<std::string> v) { username_ = std::move(v); }
    const std::optional<std::string> &password() const { return password_; }
    void setPassword(std::optional<std::string> v) { password_ = std::move(v); }
    const std::optional<std::string> &zelAddressForCredential() const { return zelAddressForCredential_; }
    void setZelAddressForCredential(std::optional<std::string> v) { zelAddressForCredential_ = std::move(v); }
    bool zelAllowInvalidCert() const { return zelAllowInvalidCert_; }
    void setZelAllowInvalidCert(bool v) { zelAllowInvalidCert_ = v; }
    const std::optional<std::string> &p12FilePath() const { return p12FilePath_; }
    void setP12FilePath(std::optional<std::string> v) { p12FilePath_ = std::move(v); }
    const std::optional<std::string> &p12Password() const { return p12Password_; }
    void setP12Password(std::optional<std::string> v) { p12Password_ = std::move(v); }
    const std::optional<std::string> &applicationLocation() const { return applicationLocation_; }
    void setApplicationLocation(std::optional<std::string> v) { applicationLocation_ = std::move(v); }
    bool allowInvalidCert() const { return allowInvalidCert_; }
    void setAllowInvalidCert(bool v) { allowInvalidCert_ = v; }
    // A client identity and extra authorities for this request's TLS; the
    // identity from the notify object and the trusted authorities of the
    // trust settings are added when the request is submitted.
    const http::TlsCredentials &tlsCredentials() const { return tlsCredentials_; }
    void setTlsCredentials(http::TlsCredentials v) { tlsCredentials_ = std::move(v); }
    const std::optional<std::string> &uploadFilePath() const { return uploadFilePath_; }
    void setUploadFilePath(std::optional<std::string> v) { uploadFilePath_ = std::move(v); }
    const std::optional<std::string> &downloadFilePath() const { return downloadFilePath_; }
    void setDownloadFilePath(std::optional<std::string> v) { downloadFilePath_ = std::move(v); }
    int64_t resumeFromLocation() const { return resumeFromLocation_; }
    void setResumeFromLocation(int64_t v) { resumeFromLocation_ = v; }
    // Idle time-out in seconds (no bytes for that long), applied when > 0.
    double timeout() const { return timeout_; }
    void setTimeout(double v) { timeout_ = v; }

    // The notify object is not owned; it must outlive the request's work.
    VORKHTTPRequestDelegate *notifyObject() const { return notifyObject_; }
    void setNotifyObject(VORKHTTPRequestDelegate *object) { notifyObject_ = object; }
    bool notifiesProgress() const { return notifyProgress_; }
    void setNotifyProgress(bool on) { notifyProgress_ = on; }
    bool notifiesCompleted() const { return notifyCompleted_; }
    void setNotifyCompleted(bool on) { notifyCompleted_ = on; }

    // --- State ---
    bool isCompleted() const { return isCompleted_; }
    void setIsCompleted(bool v) { isCompleted_ = v; }
    bool errored() const { return errored_; }
    void setErrored(bool v) { errored_ = v; }
    const std::optional<URLError> &error() const { return error_; }
    void setError(std::optional<URLError> e) { error_ = std::move(e); }
    std::shared_ptr<VORKHTTPResponse> httpResponse() const { return httpResponse_; }
    void setHttpResponse(std::shared_ptr<VORKHTTPResponse> r) { httpResponse_ = std::move(r); }
    uint64_t currentDownloadedBytes() const { return currentDownloadedBytes_; }
    void setCurrentDownloadedBytes(uint64_t v) { currentDownloadedBytes_ = v; }
    uint64_t expectedContentLength() const { return expectedContentLength_; }
    void setExpectedContentLength(uint64_t v) { expectedContentLength_ = v; }
    uint64_t currentUploadBytes() const { return currentUploadBytes_; }
    void setCurrentUploadBytes(uint64_t v) { currentUploadBytes_ = v; }
    // The file the body stream reads, none when the body is not streamed.
    const std::optional<std::string> &fileStream() const { return urlRequest_.bodyStreamPath; }

    // --- Authentication rules ---
    bool canAuthenticateAgainstProtectionSpace(AuthenticationMethod method) const;
    // The client identity from the notify object; none without a
    // zelAddressForCredential.
    virtual std::optional<URLCredential> credentialForCertFile();
    // Answers a challenge the transport hands over (only for methods
    // canAuthenticateAgainstProtectionSpace accepts): a challenge that
    // failed before with a proposed credential is cancelled, and then
    // answered once more by the rules below, as the platform's client did.
    virtual void connectionDidReceiveAuthenticationChallenge(const AuthenticationChallenge &challenge,
                                                             ChallengeSender &sender) override;
    bool connectionCanAuthenticateAgainstProtectionSpace(AuthenticationMethod method) override {
        return canAuthenticateAgainstProtectionSpace(method);
    }

    // --- Connection reports (called on the submitting thread) ---
    void connectionDidReceiveResponse(int statusCode, int64_t expectedContentLength) override;
    void connectionDidReceiveData(std::string_view bytes, uint64_t length) override;
    void connectionDidSendBodyData(int32_t bytesWritten, int32_t totalBytesWritten,
                                   int32_t totalBytesExpectedToWrite) override;
    void connectionDidFailWithError(const URLError &error) override;
    void connectionDidFinishLoading() override;
    std::shared_ptr<http::OutputFile> connectionOutputFile() override { return fileHandle_; }

protected:
    // The steps of a submission, in order: prepareForRequest (credentials,
    // range, time-out, certificate switch, fresh state, output, then
    // initializeConnection).
    virtual void prepareForRequest();
    virtual void initializeConnection();
    virtual void initializeOutputFile();
    virtual void writeToOutputFile(std::string_view bytes);
    virtual void completed();

private:
    // Runs the calling thread's loop until the request has completed.
    void waitUntilCompleted();
    void recordResult();

    std::optional<std::string> username_;
    std::optional<std::string> password_;
    std::optional<std::string> zelAddressForCredential_;
    bool zelAllowInvalidCert_ = false;
    std::optional<std::string> p12FilePath_;
    std::optional<std::string> p12Password_;
    std::optional<std::string> applicationLocation_;
    bool allowInvalidCert_ = false;
    http::TlsCredentials tlsCredentials_;
    std::optional<std::string> uploadFilePath_;
    std::optional<std::string> downloadFilePath_;
    int64_t resumeFromLocation_ = 0;
    double timeout_ = 60.0;
    VORKHTTPRequestDelegate *notifyObject_ = nullptr;
    bool notifyCompleted_ = false;
    bool notifyProgress_ = false;
    bool isCompleted_ = false;
    bool errored_ = false;
    std::optional<URLError> error_;
    std::shared_ptr<VORKHTTPResponse> httpResponse_;
    uint64_t currentDownloadedBytes_ = 0;
    uint64_t expectedContentLength_ = 0;
    uint64_t currentUploadBytes_ = 0;
    URLRequestData urlRequest_;
    std::shared_ptr<std::string> responseData_;
    std::shared_ptr<http::Connection> connection_;
    std::shared_ptr<http::OutputFile> fileHandle_;
    uint32_t lastUploadBytes_ = 0;
    int32_t uploadWrapQty_ = 0;
    bool synchronous_ = false;  // the submission being prepared waits for its end
};

}  // namespace vork
