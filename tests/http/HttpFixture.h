#pragma once
// Shared pieces of the HTTP and transfer tests: one nginx for the whole
// program, file contents, and pumping the calling thread's run
// loop until a condition holds.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <random>
#include <string>

#include "runloop/RunLoop.h"
#include "support/FaultServer.h"
#include "support/Nginx.h"
#include "support/TempDir.h"

namespace vork::test {

// Pumps the calling thread's loop until done() or the limit; answers done().
inline bool pumpUntil(const std::function<bool()> &done, double seconds = 20) {
    auto loop = RunLoop::current();
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (!done()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        loop->runOnce(RunLoop::Seconds(0.05));
    }
    return true;
}

// A fault-server handler giving every request the same answer.
inline FaultServer::Handler always(int status, const std::string &body) {
    return [status, body](const FaultRequest &) { return FaultReply{status, "", {}, body}; };
}

inline std::string patternBytes(size_t size, unsigned seed = 7) {
    std::string bytes(size, '\0');
    std::mt19937 rng(seed);
    for (auto &c : bytes) c = static_cast<char>(rng());
    return bytes;
}

// One nginx for every test of the program, serving files the tests put in
// its www folder.
class SharedNginx {
public:
    static SharedNginx &get() {
        static SharedNginx instance;
        return instance;
    }
    Nginx &nginx() { return nginx_; }
    // Puts a file at www/<name> (once) and answers its content.
    const std::string &file(const std::string &name, size_t size) {
        auto [it, added] = files_.try_emplace(name);
        if (added) dir_.write("nginx/www/" + name, it->second = patternBytes(size));
        return it->second;
    }

private:
    SharedNginx() = default;
    TempDir dir_;
    Nginx nginx_{(dir_.path() / "nginx").string()};
    std::map<std::string, std::string> files_;
};

}  // namespace vork::test
