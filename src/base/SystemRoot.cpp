#include "base/SystemRoot.h"

#include <cstdlib>
#include <mutex>
#include <optional>

namespace vork {

namespace {
std::mutex g_mutex;
std::optional<std::string> g_override;

std::string normalise(std::string root) {
    while (!root.empty() && root.back() == '/') root.pop_back();
    return root;
}
}  // namespace

std::string systemRoot() {
    {
        std::lock_guard<std::mutex> lock(g_mutex);
        if (g_override) return *g_override;
    }
    const char *env = std::getenv("VORKCOMMC_ROOT");
    return env ? normalise(env) : std::string();
}

void setSystemRoot(const std::string &root) {
    std::lock_guard<std::mutex> lock(g_mutex);
    g_override = normalise(root);
}

void clearSystemRootOverride() {
    std::lock_guard<std::mutex> lock(g_mutex);
    g_override.reset();
}

std::string systemPath(const std::string &absolutePath) {
    std::string root = systemRoot();
    if (root.empty() || absolutePath.empty() || absolutePath.front() != '/') return absolutePath;
    return root + absolutePath;
}

}  // namespace vork
