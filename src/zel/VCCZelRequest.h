#pragma once
// One message exchange with the management server: the request message is
// serialised into the body of an XML POST when the request is made, and the
// response body is parsed into a new message. Synchronous (submit) or
// asynchronous (submitAsync, the end reported to the notify object that was
// set before submission).
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "base/Export.h"
#include "http/VORKHTTPRequest.h"
#include "message/MappedClass.h"
#include "message/VCCMessage.h"

namespace vork {

class VORK_EXPORT VCCZelRequest : public VORKHTTPRequest, public VORKHTTPRequestDelegate {
public:
    // The body is the message's XML as it is now; later changes to the
    // message do not reach the wire.
    VCCZelRequest(std::shared_ptr<VCCMessage> message, const std::optional<std::string> &url);
    ~VCCZelRequest() override;
    static std::shared_ptr<VCCZelRequest> requestWithMessage(std::shared_ptr<VCCMessage> message,
                                                             const std::optional<std::string> &url);

    // Sends, waits, and answers the parsed response (read into
    // resultMessageClass when one is set). Throws what the HTTP layer throws.
    std::shared_ptr<VCCMessage> submit();
    // Starts the exchange; the caller pumps its run loop. The notify object
    // set before this call learns of the end through notifyCompleted, with
    // resultMessage parsed (without resultMessageClass) on success.
    void submitAsync();

    // Marks a response whose time stamp is further than maxClockSkew seconds
    // from the local clock with status 1504 (when validateClockSkew is on
    // and maxClockSkew is above 0).
    void checkClockSkew(VCCMessage &response) const;
    // Remembers the caller's notify object and takes its place.
    void initializeHttpRequest();

    std::shared_ptr<VCCMessage> message() const;
    void setMessage(std::shared_ptr<VCCMessage> message);
    bool validateClockSkew() const { return validateClockSkew_; }
    void setValidateClockSkew(bool on) { validateClockSkew_ = on; }
    int32_t maxClockSkew() const { return maxClockSkew_; }
    void setMaxClockSkew(int32_t seconds) { maxClockSkew_ = seconds; }
    const MappedClass *resultMessageClass() const { return resultMessageClass_; }
    void setResultMessageClass(const MappedClass *cls) { resultMessageClass_ = cls; }
    std::shared_ptr<VCCMessage> resultMessage() const;
    void setResultMessage(std::shared_ptr<VCCMessage> message);
    VORKHTTPRequestDelegate *originalNotifyObject() const { return originalNotifyObject_; }
    bool originalNotifyCompleted() const { return originalNotifyCompleted_; }

    // --- the HTTP layer's reports, forwarded to the original notify object
    std::optional<URLCredential> credentialNeededForServerRequest(VORKHTTPRequest &request,
                                                                  const std::string &server) override;
    void notifyProgress(VORKHTTPRequest &request, double percent) override;
    // The end of an exchange (completed: of the asynchronous path).
    void notifyCompleted(VORKHTTPRequest &request) override;

private:
    mutable std::mutex mutex_;  // message and resultMessage are read from any thread
    std::shared_ptr<VCCMessage> message_;
    std::shared_ptr<VCCMessage> resultMessage_;
    bool validateClockSkew_ = true;
    int32_t maxClockSkew_ = 0;
    const MappedClass *resultMessageClass_ = nullptr;
    VORKHTTPRequestDelegate *originalNotifyObject_ = nullptr;
    bool originalNotifyCompleted_ = false;
    // submit is waiting for its exchange; what notifyCompleted read for it.
    bool submitting_ = false;
    std::shared_ptr<VCCMessage> readInCompletion_;
};

}  // namespace vork
