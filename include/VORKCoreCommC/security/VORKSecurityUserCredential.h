#pragma once
// VORKSecurityUserCredential: a user name and password pair.
#include <string>

#include "VORKCoreCommC/export.h"

namespace vork {

class VORK_EXPORT VORKSecurityUserCredential {
public:
    VORKSecurityUserCredential() = default;
    VORKSecurityUserCredential(std::string username, std::string password)
        : username_(std::move(username)), password_(std::move(password)) {}

    const std::string &username() const { return username_; }
    void setUsername(std::string v) { username_ = std::move(v); }
    const std::string &password() const { return password_; }
    void setPassword(std::string v) { password_ = std::move(v); }

private:
    std::string username_;
    std::string password_;
};

}  // namespace vork
