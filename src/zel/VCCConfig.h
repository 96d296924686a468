#pragma once
// The settings of one management server: where it is, who logs in, and
// whether its certificate may fail validation. Text settings are copied on
// assignment; none means unset.
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "base/Export.h"

namespace vork {

class VORK_EXPORT VCCConfig {
public:
    using Text = std::optional<std::string>;

    VCCConfig() = default;

    // Base URL of the server as the user gave it (scheme, host, port, path).
    Text zelUrl() const;
    void setZelUrl(Text value);
    Text zelUsername() const;
    void setZelUsername(Text value);
    Text zelPassword() const;
    void setZelPassword(Text value);
    // Allowed difference between the server's and the local clock, seconds.
    // Kept for callers; the server session does not pass it on.
    int32_t maxClockSkew() const;
    void setMaxClockSkew(int32_t seconds);
    bool allowInvalidCertificate() const;
    void setAllowInvalidCertificate(bool allow);
    // Path of the calling application; stored only.
    Text clientApplicationLocation() const;
    void setClientApplicationLocation(Text value);

    // A configuration callers may share; none until one is set. Setting the
    // one already installed changes nothing.
    static std::shared_ptr<VCCConfig> defaultConfig();
    static void setDefaultConfig(std::shared_ptr<VCCConfig> config);

private:
    // The settings are written by the C setters and read by every call as
    // it builds its request, possibly on other threads.
    mutable std::mutex mutex_;
    Text zelUrl_;
    Text zelUsername_;
    Text zelPassword_;
    int32_t maxClockSkew_ = 0;
    bool allowInvalidCertificate_ = false;
    Text clientApplicationLocation_;
};

}  // namespace vork
