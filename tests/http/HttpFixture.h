#pragma once
// Shared pieces of the HTTP tests: one nginx for the whole program, file
// contents, and pumping the calling thread's run loop until a condition holds.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <random>
#include <string>

#include "runloop/RunLoop.h"
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

inline std::string patternBytes(size_t size, unsigned seed = 7) {
    std::string bytes(size, '\0');
    std::mt19937 rng(seed);
    for (auto &c : bytes) c = static_cast<char>(rng());
    return bytes;
}

inline void writeBytes(const std::filesystem::path &path, const std::string &bytes) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

inline std::string readBytes(const std::filesystem::path &path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// One nginx for every test of the program, serving files the tests put in
// its www folder.
class SharedNginx {
public:
    static SharedNginx &get() {
        static SharedNginx instance;
        return instance;
    }
    Nginx &nginx() { return *nginx_; }
    // Puts a file at www/<name> (once) and answers its content.
    const std::string &file(const std::string &name, size_t size, unsigned seed = 7) {
        auto it = files_.find(name);
        if (it != files_.end()) return it->second;
        std::string bytes = patternBytes(size, seed);
        writeBytes(std::filesystem::path(nginx_->wwwFolder()) / name, bytes);
        return files_.emplace(name, std::move(bytes)).first->second;
    }

private:
    SharedNginx() : nginx_(std::make_unique<Nginx>((dir_.path() / "nginx").string())) {}
    TempDir dir_;
    std::unique_ptr<Nginx> nginx_;
    std::map<std::string, std::string> files_;
};

}  // namespace vork::test
