#pragma once
// Sets (or, given none, clears) an environment variable for the life of the
// object and puts the old value back.
#include <cstdlib>
#include <optional>
#include <string>

namespace vork::test {

class ScopedEnv {
public:
    ScopedEnv(const char *name, const std::optional<std::string> &value) : name_(name) {
        if (const char *old = std::getenv(name)) previous_ = old;
        set(value);
    }
    ~ScopedEnv() { set(previous_); }

private:
    void set(const std::optional<std::string> &value) const {
        if (value) ::setenv(name_, value->c_str(), 1);
        else ::unsetenv(name_);
    }
    const char *name_;
    std::optional<std::string> previous_;
};

}  // namespace vork::test
