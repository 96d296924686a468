#pragma once
/** \file
 * The one object through which every server call reaches the management
 * server. It holds the server settings, the connection time-out and the
 * application identifier, posts a request message to the server's "client"
 * resource and answers the server's reply as a message. A failed exchange
 * (no URL, refused connection, HTTP error, time-out) comes back as a message
 * whose status is 1999; nothing from the transport reaches the caller. A
 * reply that arrives but does not parse is answered as a message without
 * content.
 */
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "VORKCoreCommC/export.h"
#include "VORKCoreCommC/message/MappedClass.h"
#include "VORKCoreCommC/message/VCCMessage.h"
#include "VORKCoreCommC/zel/VCCConfig.h"

namespace vork {

class VCCZelRequest;

/// Extra request headers: name to value; an absent value adds no header.
using HeaderValues = std::map<std::string, std::optional<std::string>>;

/// The one object through which server calls reach the management server
/// (see the file description). Calls may also make their own.
class VORK_EXPORT ZelInterface : public std::enable_shared_from_this<ZelInterface> {
public:
    /// The status of a failed exchange.
    static constexpr int32_t kFailureStatusCode = 1999;
    /// The title of a failed exchange's status.
    static constexpr const char *kFailureTitle = "ZEL Communication Exception";
    /// The message of a failed exchange's status.
    static constexpr const char *kFailureMessage = "Exception caught in VORKCoreCommC";

    /// A fresh configuration, time-out 60 s, application kApplicationIdentifier.
    ZelInterface();

    /// zelUrl (trimmed, trailing slashes removed, "" when unset) + "/client".
    std::string resourceUrl() const;
    /// A request for the message with the configured user, password and
    /// certificate switch, read now.
    std::shared_ptr<VCCZelRequest> buildRequestWithMessage(const std::shared_ptr<VCCMessage> &message) const;

    /// Stamps the application into the message, sends it and answers the
    /// reply (read into resultClass when given), or the failure message.
    /// Only the exchange is guarded: a failure while the request is built
    /// reaches the caller.
    /// The reply is owned by the caller.
    std::shared_ptr<VCCMessage> submitRequest(const std::shared_ptr<VCCMessage> &message) const;
    /// As submitRequest(message), the reply read into resultClass.
    std::shared_ptr<VCCMessage> submitRequest(const std::shared_ptr<VCCMessage> &message,
                                              const MappedClass *resultClass) const;
    /// As submitRequest(message, resultClass), with extra request headers.
    std::shared_ptr<VCCMessage> submitRequest(const std::shared_ptr<VCCMessage> &message,
                                              const MappedClass *resultClass,
                                              const HeaderValues *customHeaders) const;
    /// As submitRequest(message, resultClass, customHeaders), also handing
    /// back the reply's XML as it was written back after a completed exchange
    /// (`written` stays empty on the failure path), so a caller that answers
    /// that XML need not write it again.
    std::shared_ptr<VCCMessage> submitRequest(const std::shared_ptr<VCCMessage> &message,
                                              const MappedClass *resultClass, const HeaderValues *customHeaders,
                                              std::optional<std::optional<std::string>> *written) const;

    /// The message a failed exchange answers: one empty content whose status
    /// is 1999 with the failure title and message, and the description as
    /// its extended message.
    static std::shared_ptr<VCCMessage> failureMessage(const std::string &description);
    /// That message as XML bytes. Unlike every other message it goes out
    /// even when the machine cannot be identified: the device record then
    /// has an empty uuid and whatever addresses could be gathered.
    static std::string failureMessageData(const std::string &description);

    /// The server settings (shared with whoever set them).
    std::shared_ptr<VCCConfig> zelConfig() const;
    /// Replaces the server settings; the interface keeps a reference.
    void setZelConfig(std::shared_ptr<VCCConfig> config);
    /// The connection time-out in seconds (60 by default).
    int32_t connectionTimeout() const;
    /// Sets the connection time-out in seconds.
    void setConnectionTimeout(int32_t seconds);
    /// The application identifier stamped into every request.
    std::optional<std::string> application() const;
    /// Sets the application identifier.
    void setApplication(std::optional<std::string> application);

private:
    mutable std::mutex mutex_;
    std::shared_ptr<VCCConfig> zelConfig_;
    int32_t connectionTimeout_ = 60;
    std::optional<std::string> application_;
};

}  // namespace vork
