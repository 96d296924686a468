#include "zel/ZelInterface.h"

#include <exception>

#include "base/CommCLog.h"
#include "base/Exception.h"
#include "message/Constants.h"
#include "message/VCCMessageContent.h"
#include "util/Strings.h"

namespace vork {

ZelInterface::ZelInterface()
    : zelConfig_(std::make_shared<VCCConfig>()), application_(std::string(kApplicationIdentifier)) {}

std::string ZelInterface::resourceUrl() const {
    std::optional<std::string> url = zelConfig()->zelUrl();
    std::string base = url ? util::removeTrailingSlashes(util::trim(*url)) : std::string();
    return base + "/client";
}

std::shared_ptr<VCCZelRequest> ZelInterface::buildRequestWithMessage(const std::shared_ptr<VCCMessage> &message) const {
    auto request = VCCZelRequest::requestWithMessage(message, resourceUrl());
    std::shared_ptr<VCCConfig> config = zelConfig();
    request->setUsername(config->zelUsername());
    request->setPassword(config->zelPassword());
    request->setAllowInvalidCert(config->allowInvalidCertificate());
    return request;
}

std::shared_ptr<VCCMessage> ZelInterface::submitRequest(const std::shared_ptr<VCCMessage> &message) const {
    return submitRequest(message, nullptr, nullptr);
}

std::shared_ptr<VCCMessage> ZelInterface::submitRequest(const std::shared_ptr<VCCMessage> &message,
                                                        const MappedClass *resultClass) const {
    return submitRequest(message, resultClass, nullptr);
}

std::shared_ptr<VCCMessage> ZelInterface::submitRequest(const std::shared_ptr<VCCMessage> &message,
                                                        const MappedClass *resultClass,
                                                        const HeaderValues *customHeaders) const {
    return submitRequest(message, resultClass, customHeaders, nullptr);
}

std::shared_ptr<VCCMessage> ZelInterface::submitRequest(const std::shared_ptr<VCCMessage> &message,
                                                        const MappedClass *resultClass,
                                                        const HeaderValues *customHeaders,
                                                        std::optional<std::optional<std::string>> *written) const {
    message->setApplication(application());
    std::shared_ptr<VCCZelRequest> request = buildRequestWithMessage(message);
    request->setTimeout(static_cast<double>(connectionTimeout()));
    if (resultClass) request->setResultMessageClass(resultClass);
    if (customHeaders) {
        for (const auto &[name, value] : *customHeaders)
            if (value) request->addHeaderValue(*value, name);
    }
    std::shared_ptr<VCCConfig> config = zelConfig();
    auto body = request->postBody();
    logDebugf("ZelInterface submitRequest url=%s username=%s password=%s bodyLength=%zu",
              request->url().value_or("").c_str(), config->zelUsername().value_or("").c_str(),
              config->zelPassword() ? "********" : "", body ? body->size() : size_t{0});
    try {
        std::shared_ptr<VCCMessage> response = request->submit();
        // Written back once, as the session's diagnostics see it; this also
        // fills a device record the reply left without uuid or addresses.
        std::optional<std::string> writtenBack = response->saveToXmlData();
        logDebugf("ZelInterface submitRequest answered status=%d length=%zu",
                  response->content() && response->content()->status() ? response->content()->status()->code() : 0,
                  writtenBack ? writtenBack->size() : size_t{0});
        if (written) *written = std::move(writtenBack);
        return response;
    } catch (const std::exception &) {
        std::string description = describeException(std::current_exception());
        logDebugf("ZelInterface submitRequest exception: %s", description.c_str());
        return failureMessage(description);
    }
}

std::shared_ptr<VCCMessage> ZelInterface::failureMessage(const std::string &description) {
    auto message = std::make_shared<VCCMessage>();
    auto content = std::make_shared<VCCMessageContent>();
    message->addContent(content);
    auto status = content->status();
    if (!status) {
        status = std::make_shared<VCCStatus>();
        content->setStatus(status);
    }
    status->setCode(kFailureStatusCode);
    status->setTitle(kFailureTitle);
    status->setMessage(kFailureMessage);
    status->setExtendedMessage(description);
    return message;
}

std::string ZelInterface::failureMessageData(const std::string &description) {
    std::shared_ptr<VCCMessage> message = failureMessage(description);
    try {
        if (std::optional<std::string> data = message->saveToXmlData()) return *data;
    } catch (const std::exception &) {
        // No hardware identity: written below without it.
    }
    try {
        if (!message->device().macAddresses()) message->device().retrieveMacAddresses();
    } catch (const std::exception &) {
    }
    return message->saveToXmlData(MissingDeviceInfo::Leave).value_or(std::string());
}

std::shared_ptr<VCCConfig> ZelInterface::zelConfig() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return zelConfig_;
}

void ZelInterface::setZelConfig(std::shared_ptr<VCCConfig> config) {
    std::lock_guard<std::mutex> lock(mutex_);
    zelConfig_ = config ? std::move(config) : std::make_shared<VCCConfig>();
}

int32_t ZelInterface::connectionTimeout() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return connectionTimeout_;
}

void ZelInterface::setConnectionTimeout(int32_t seconds) {
    std::lock_guard<std::mutex> lock(mutex_);
    connectionTimeout_ = seconds;
}

std::optional<std::string> ZelInterface::application() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return application_;
}

void ZelInterface::setApplication(std::optional<std::string> application) {
    std::lock_guard<std::mutex> lock(mutex_);
    application_ = std::move(application);
}

}  // namespace vork
