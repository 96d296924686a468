#pragma once
/** \file
 * The settings of one management server: where it is, who logs in, and
 * whether its certificate may fail validation. Text settings are copied on
 * assignment; none means unset.
 */
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "VORKCoreCommC/export.h"

namespace vork {

/// The settings of one management server (see the file description).
class VORK_EXPORT VCCConfig {
public:
    /// A text setting; none means unset.
    using Text = std::optional<std::string>;

    /// Every setting unset, skew 0, invalid certificates refused.
    VCCConfig() = default;

    /// Base URL of the server as the user gave it (scheme, host, port, path).
    Text zelUrl() const;
    /// Sets zelUrl.
    void setZelUrl(Text value);
    /// The user name of basic authentication.
    Text zelUsername() const;
    /// Sets zelUsername.
    void setZelUsername(Text value);
    /// The password of basic authentication (never logged).
    Text zelPassword() const;
    /// Sets zelPassword.
    void setZelPassword(Text value);
    /// Allowed difference between the server's and the local clock, seconds.
    /// Kept for callers; the server session does not pass it on.
    int32_t maxClockSkew() const;
    /// Sets maxClockSkew.
    void setMaxClockSkew(int32_t seconds);
    /// Whether a server certificate that fails validation is accepted.
    bool allowInvalidCertificate() const;
    /// Sets allowInvalidCertificate.
    void setAllowInvalidCertificate(bool allow);
    /// Path of the calling application; stored only.
    Text clientApplicationLocation() const;
    /// Sets clientApplicationLocation.
    void setClientApplicationLocation(Text value);

    /// A configuration callers may share; none until one is set. Setting the
    /// one already installed changes nothing.
    static std::shared_ptr<VCCConfig> defaultConfig();
    /// Installs the shared configuration.
    static void setDefaultConfig(std::shared_ptr<VCCConfig> config);

private:
    /// The settings are written by the C setters and read by every call as
    /// it builds its request, possibly on other threads.
    mutable std::mutex mutex_;
    Text zelUrl_;
    Text zelUsername_;
    Text zelPassword_;
    int32_t maxClockSkew_ = 0;
    bool allowInvalidCertificate_ = false;
    Text clientApplicationLocation_;
};

}  // namespace vork
