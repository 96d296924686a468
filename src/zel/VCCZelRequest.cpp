#include "zel/VCCZelRequest.h"

#include <chrono>

#include "base/CommCLog.h"
#include "message/JavaDate.h"

namespace vork {

namespace {
std::string bodyOf(const std::shared_ptr<VCCMessage> &message) {
    if (!message) return std::string();
    return message->saveToXmlData().value_or(std::string());
}
}  // namespace

VCCZelRequest::VCCZelRequest(std::shared_ptr<VCCMessage> message, const std::optional<std::string> &url)
    : VORKHTTPRequest(url, bodyOf(message)), message_(std::move(message)) {}

VCCZelRequest::~VCCZelRequest() = default;

std::shared_ptr<VCCZelRequest> VCCZelRequest::requestWithMessage(std::shared_ptr<VCCMessage> message,
                                                                 const std::optional<std::string> &url) {
    return std::make_shared<VCCZelRequest>(std::move(message), url);
}

void VCCZelRequest::initializeHttpRequest() {
    // Sent again, the request finds itself installed: the object the caller
    // gave before the first sending stays the one to tell.
    if (notifyObject() != this) {
        originalNotifyObject_ = notifyObject();
        originalNotifyCompleted_ = notifiesCompleted();
    }
    setNotifyObject(this);
    setNotifyCompleted(true);
}

std::shared_ptr<VCCMessage> VCCZelRequest::submit() {
    initializeHttpRequest();
    readInCompletion_.reset();
    submitting_ = true;
    std::shared_ptr<VORKHTTPResponse> response;
    try {
        response = submitRequest();
    } catch (...) {
        submitting_ = false;
        throw;
    }
    submitting_ = false;
    if (std::shared_ptr<VCCMessage> read = std::move(readInCompletion_); read && !resultMessageClass_) {
        // notifyCompleted has just read this very response the way this
        // path reads it (no content class), and nobody else has seen that
        // message: it is the result. It stays resultMessage and gets its own
        // clock check, as a second reading would.
        checkClockSkew(*read);
        return read;
    }
    auto result = std::make_shared<VCCMessage>();
    setResultMessage(result);
    result->setCommandDataClass(resultMessageClass_);
    result->loadFromXmlData(response ? response->responseText() : std::string());
    checkClockSkew(*result);
    return result;
}

void VCCZelRequest::submitAsync() {
    initializeHttpRequest();
    asyncSubmitRequest();
}

void VCCZelRequest::notifyCompleted(VORKHTTPRequest &request) {
    setResultMessage(nullptr);
    if (!request.error()) {
        // Read with the message's default content handling: the asynchronous
        // path does not use resultMessageClass.
        auto result = std::make_shared<VCCMessage>();
        setResultMessage(result);
        auto response = request.httpResponse();
        result->loadFromXmlData(response ? response->responseText() : std::string());
        checkClockSkew(*result);
        // Inside submit, with no completion call to forward, submit answers
        // this reading instead of reading the same bytes again.
        if (submitting_ && !(originalNotifyObject_ && originalNotifyCompleted_)) readInCompletion_ = result;
    }
    if (originalNotifyObject_ && originalNotifyCompleted_) originalNotifyObject_->notifyCompleted(*this);
}

void VCCZelRequest::checkClockSkew(VCCMessage &response) const {
    if (!validateClockSkew_) return;
    // Compared at the time stamps' own precision: 300.9 s is more than 300.
    auto difference = dateNow() - response.messageTimestamp();
    if (maxClockSkew_ > 0 && std::chrono::abs(difference) > std::chrono::seconds(maxClockSkew_) && response.content()) {
        auto status = response.content()->status();
        if (!status) return;
        status->setCode(1504);
        status->loadTitleAndMessage();
        logDebugf("VCCZelRequest checkClockSkew differenceMs=%lld maxClockSkew=%d",
                  static_cast<long long>(difference.count()), maxClockSkew_);
    }
}

std::optional<URLCredential> VCCZelRequest::credentialNeededForServerRequest(VORKHTTPRequest &request,
                                                                             const std::string &server) {
    if (!originalNotifyObject_) return std::nullopt;
    return originalNotifyObject_->credentialNeededForServerRequest(request, server);
}

void VCCZelRequest::notifyProgress(VORKHTTPRequest &request, double percent) {
    if (originalNotifyObject_) originalNotifyObject_->notifyProgress(*this, percent);
}

std::shared_ptr<VCCMessage> VCCZelRequest::message() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return message_;
}

void VCCZelRequest::setMessage(std::shared_ptr<VCCMessage> message) {
    std::lock_guard<std::mutex> lock(mutex_);
    message_ = std::move(message);
}

std::shared_ptr<VCCMessage> VCCZelRequest::resultMessage() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return resultMessage_;
}

void VCCZelRequest::setResultMessage(std::shared_ptr<VCCMessage> message) {
    std::lock_guard<std::mutex> lock(mutex_);
    resultMessage_ = std::move(message);
}

}  // namespace vork
