#pragma once
#include <string>

#include "VORKCoreCommC/export.h"

namespace vork {

/** A user name and password pair; a value type that owns both texts. */
class VORK_EXPORT VORKSecurityUserCredential {
public:
    /** An empty credential (both texts ""). */
    VORKSecurityUserCredential() = default;
    /** A credential with the user name and password. */
    VORKSecurityUserCredential(std::string username, std::string password)
        : username_(std::move(username)), password_(std::move(password)) {}

    /** The user name. */
    const std::string &username() const { return username_; }
    /** Replaces the user name. */
    void setUsername(std::string v) { username_ = std::move(v); }
    /** The password (never logged). */
    const std::string &password() const { return password_; }
    /** Replaces the password. */
    void setPassword(std::string v) { password_ = std::move(v); }

private:
    std::string username_;
    std::string password_;
};

}  // namespace vork
