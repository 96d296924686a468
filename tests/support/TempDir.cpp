#include "support/TempDir.h"

#include <stdlib.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

#include "base/SystemRoot.h"

namespace vork::test {

TempDir::TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "vorktest-XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
}

TempDir::~TempDir() {
    std::error_code ec;
    // Tests may leave read-only folders behind; make them writable first.
    for (auto it = std::filesystem::recursive_directory_iterator(path_, ec);
         !ec && it != std::filesystem::recursive_directory_iterator(); it.increment(ec)) {
        std::filesystem::permissions(it->path(), std::filesystem::perms::owner_all,
                                     std::filesystem::perm_options::add, ec);
    }
    std::filesystem::remove_all(path_, ec);
}

std::filesystem::path TempDir::write(const std::string &relative, const std::string &content) const {
    std::filesystem::path file = path_ / relative;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream out(file, std::ios::binary);
    out << content;
    return file;
}

std::filesystem::path TempDir::writeExecutable(const std::string &relative, const std::string &content) const {
    std::filesystem::path file = write(relative, content);
    std::filesystem::permissions(file, std::filesystem::perms::owner_all, std::filesystem::perm_options::add);
    return file;
}

SystemRootSandbox::SystemRootSandbox() { setSystemRoot(dir_.str()); }

SystemRootSandbox::~SystemRootSandbox() { clearSystemRootOverride(); }

std::filesystem::path SystemRootSandbox::at(const std::string &absolutePath) const {
    return dir_.str() + absolutePath;
}

std::string readFile(const std::filesystem::path &path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
}

}  // namespace vork::test
