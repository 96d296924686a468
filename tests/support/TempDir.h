#pragma once
// A fresh temporary folder per test, removed afterwards. SystemRootSandbox
// also points the library's fixed paths at it.
#include <filesystem>
#include <string>

namespace vork::test {

class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir &) = delete;
    TempDir &operator=(const TempDir &) = delete;

    const std::filesystem::path &path() const { return path_; }
    std::string str() const { return path_.string(); }
    std::filesystem::path operator/(const std::string &name) const { return path_ / name; }

    // Writes a file (making its folders) and answers its path.
    std::filesystem::path write(const std::string &relative, const std::string &content) const;
    // The same, made executable by its owner (a stand-in for a system tool).
    std::filesystem::path writeExecutable(const std::string &relative, const std::string &content) const;

private:
    std::filesystem::path path_;
};

// Redirects every fixed system path of the library into a temporary folder
// for the life of the object.
class SystemRootSandbox {
public:
    SystemRootSandbox();
    ~SystemRootSandbox();
    const TempDir &root() const { return dir_; }
    // The real location of a fixed path inside the sandbox.
    std::filesystem::path at(const std::string &absolutePath) const;

private:
    TempDir dir_;
};

std::string readFile(const std::filesystem::path &path);

}  // namespace vork::test
