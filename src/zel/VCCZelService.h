#pragma once
// Makes message requests for a server URL plus a path below it (the URL
// context), with the user, password and certificate switch of its
// configuration.
#include <memory>
#include <optional>
#include <string>

#include "base/Export.h"
#include "message/VCCMessage.h"
#include "zel/VCCConfig.h"
#include "zel/VCCZelRequest.h"

namespace vork {

class VORK_EXPORT VCCZelService {
public:
    VCCZelService() : zelConfig_(std::make_shared<VCCConfig>()) {}

    // zelUrl (trimmed, trailing slashes removed) + "/" + urlContext
    // (trimmed, leading slashes removed); an empty context gives the base
    // followed by a single "/".
    std::string resourceUrl() const;
    std::shared_ptr<VCCZelRequest> buildRequestWithMessage(const std::shared_ptr<VCCMessage> &message) const;

    const std::optional<std::string> &urlContext() const { return urlContext_; }
    void setUrlContext(std::optional<std::string> context) { urlContext_ = std::move(context); }
    const std::shared_ptr<VCCConfig> &zelConfig() const { return zelConfig_; }
    void setZelConfig(std::shared_ptr<VCCConfig> config) { zelConfig_ = std::move(config); }

private:
    std::optional<std::string> urlContext_;
    std::shared_ptr<VCCConfig> zelConfig_;
};

}  // namespace vork
