#include "zel/VCCZelService.h"

#include "util/Strings.h"

namespace vork {

std::string VCCZelService::resourceUrl() const {
    std::optional<std::string> url = zelConfig_ ? zelConfig_->zelUrl() : std::nullopt;
    std::string base = url ? util::removeTrailingSlashes(util::trim(*url)) : std::string();
    std::string context = urlContext_ ? util::removeLeadingSlashes(util::trim(*urlContext_)) : std::string();
    if (util::isEmpty(base)) base.clear();
    if (util::isEmpty(context)) context.clear();
    return base + "/" + context;
}

std::shared_ptr<VCCZelRequest> VCCZelService::buildRequestWithMessage(const std::shared_ptr<VCCMessage> &message) const {
    auto request = VCCZelRequest::requestWithMessage(message, resourceUrl());
    if (zelConfig_) {
        request->setUsername(zelConfig_->zelUsername());
        request->setPassword(zelConfig_->zelPassword());
        request->setAllowInvalidCert(zelConfig_->allowInvalidCertificate());
    }
    return request;
}

}  // namespace vork
