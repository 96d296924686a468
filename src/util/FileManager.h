#pragma once
// The agent's fixed folders: run-state marker folders (owner root, the
// managing-users group, mode 0700), the temporary folder, the application
// support folder, and permission attribute sets. Every fixed path lies under
// the system root (base/SystemRoot.h). No operation reports failure: the
// path is answered all the same.
#include <cstdint>
#include <optional>
#include <string>

namespace vork::util {

// The group that plays the managing-users role (see FileManager.cpp).
uint32_t adminGroupId();

// Attribute sets applied to folders.
struct Permissions {
    std::optional<uint32_t> owner;
    std::optional<uint32_t> group;
    uint32_t mode = 0;
};
Permissions permissionsWithOwner(uint32_t owner, uint32_t group, uint32_t mode);
Permissions permissionsWithMode(uint32_t mode);
// Applies owner and group (when given) and the mode to the item at the
// path; failures are ignored.
void applyPermissions(const std::string &path, const Permissions &permissions);

class FileManager {
public:
    // Run-state folders and markers.
    static std::string vorkRunDir();
    static std::string legacyVorkRunDir();
    static std::string vorkRunFile(const std::string &name);
    static std::string legacyVorkRunFile(const std::string &name);
    static std::string checkForTasksFile();
    static std::string enrollLockFile();
    static std::string reEnrollLockFile();
    static std::string updateAlreadyInProgressLockFile();
    static std::string manageRunFolder(const std::string &path);
    static void checkPermissionsAtPath(const std::string &path);
    static void createDirectoryWithPermissionsAtPath(const std::string &path);

    // Temporary folders.
    static bool isRunningAsRoot();
    static std::string vorkTmpDir();
    static std::string vorkTmpFile(const std::string &name);
    static std::string rootTempDir();
    static std::string nonRootTempDir();
    static std::string nsTempDir();
    static void resetTmpDirPermissions();
    static void resetApplicationSupportVORKPermissions();

    static bool isDirectory(const std::string &path);
};

}  // namespace vork::util
