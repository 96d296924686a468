#include "zel/VCCConfig.h"

namespace vork {

namespace {
std::mutex g_defaultMutex;
std::shared_ptr<VCCConfig> &defaultSlot() {
    static std::shared_ptr<VCCConfig> slot;
    return slot;
}
}  // namespace

#define VORK_CONFIG_ACCESSORS(Type, getter, setter, field)      \
    Type VCCConfig::getter() const {                            \
        std::lock_guard<std::mutex> lock(mutex_);               \
        return field;                                           \
    }                                                           \
    void VCCConfig::setter(Type value) {                        \
        std::lock_guard<std::mutex> lock(mutex_);               \
        field = std::move(value);                               \
    }

VORK_CONFIG_ACCESSORS(VCCConfig::Text, zelUrl, setZelUrl, zelUrl_)
VORK_CONFIG_ACCESSORS(VCCConfig::Text, zelUsername, setZelUsername, zelUsername_)
VORK_CONFIG_ACCESSORS(VCCConfig::Text, zelPassword, setZelPassword, zelPassword_)
VORK_CONFIG_ACCESSORS(int32_t, maxClockSkew, setMaxClockSkew, maxClockSkew_)
VORK_CONFIG_ACCESSORS(bool, allowInvalidCertificate, setAllowInvalidCertificate, allowInvalidCertificate_)
VORK_CONFIG_ACCESSORS(VCCConfig::Text, clientApplicationLocation, setClientApplicationLocation,
                      clientApplicationLocation_)

#undef VORK_CONFIG_ACCESSORS

std::shared_ptr<VCCConfig> VCCConfig::defaultConfig() {
    std::lock_guard<std::mutex> lock(g_defaultMutex);
    return defaultSlot();
}

void VCCConfig::setDefaultConfig(std::shared_ptr<VCCConfig> config) {
    std::lock_guard<std::mutex> lock(g_defaultMutex);
    if (defaultSlot() != config) defaultSlot() = std::move(config);
}

}  // namespace vork
