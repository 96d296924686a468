#include "util/FileManager.h"

#include <cstdlib>
#include <filesystem>
#include <vector>

#include "base/SystemRoot.h"
#include "platform/EffectiveUser.h"
#include "platform/FileAttributes.h"

namespace vork::util {

namespace {

constexpr const char *kRunFolder = "/Library/Application Support/VORK/run";
constexpr const char *kLegacyRunFolder = "/private/var/run/vork";
constexpr const char *kRootTempFolder = "/Library/Application Support/VORK/tmp";
constexpr const char *kApplicationSupportFolder = "/Library/Application Support/VORK";
constexpr const char *kFallbackTempFolder = "/private/tmp";
constexpr const char *kSystemTempFolder = "/tmp";
constexpr const char *kNonRootTempName = "VORK";

constexpr uint32_t kPrivateFolderMode = 0700;
constexpr uint32_t kApplicationSupportMode = 0755;

// The group playing the managing-users role when nothing names it.
constexpr uint32_t kFallbackAdminGroup = 27;

// Appends a path component: exactly one "/" between the two parts.
std::string appendingPathComponent(const std::string &base, const std::string &name) {
    std::string out = base;
    while (out.size() > 1 && out.back() == '/') out.pop_back();
    size_t first = 0;
    while (first < name.size() && name[first] == '/') ++first;
    if (first == name.size()) return out;
    if (!out.empty() && out.back() != '/') out.push_back('/');
    out.append(name, first, std::string::npos);
    return out;
}

Permissions privateFolderPermissions() { return permissionsWithOwner(0, adminGroupId(), kPrivateFolderMode); }

}  // namespace

// Sets owner and group (when given), then the mode; failures are ignored.
// The mode goes last because changing the owner can clear set-id bits.
void applyPermissions(const std::string &path, const Permissions &permissions) {
    platform::fileAttributes().get()->setOwnerAndMode(path, permissions.owner, permissions.group, permissions.mode);
}

namespace {

// Creates the folder and any missing folders above it. Every folder this
// call creates gets the permissions when they are given, otherwise the
// default mode. Errors stop the walk silently.
void createDirectories(const std::string &path, const std::optional<Permissions> &permissions) {
    if (path.empty()) return;
    std::vector<std::string> prefixes;
    for (size_t at = path.find('/', 1); at != std::string::npos; at = path.find('/', at + 1))
        prefixes.push_back(path.substr(0, at));
    prefixes.push_back(path);

    for (const std::string &prefix : prefixes) {
        if (prefix.empty() || prefix.back() == '/') continue;
        const uint32_t initial = permissions ? kPrivateFolderMode : 0777;
        switch (platform::fileAttributes().get()->createFolder(prefix, initial)) {
            case platform::FolderCreation::Created:
                if (permissions) applyPermissions(prefix, *permissions);
                break;
            case platform::FolderCreation::AlreadyThere: break;
            case platform::FolderCreation::Failed: return;
        }
    }
}

void removeItem(const std::string &path) {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

// Something is at the path, even a link that leads nowhere.
bool itemExists(const std::string &path) {
    return platform::fileAttributes().get()->attributesOfItem(path, false).has_value();
}

}  // namespace

// Folders that belong to root and the managing-users group use, on Linux,
// the group named "sudo": Debian's group of users allowed to administer the
// machine. Without such a group its usual id, 27, is used.
uint32_t adminGroupId() { return platform::fileAttributes().get()->groupIdNamed("sudo").value_or(kFallbackAdminGroup); }

Permissions permissionsWithOwner(uint32_t owner, uint32_t group, uint32_t mode) {
    Permissions permissions;
    permissions.owner = owner;
    permissions.group = group;
    permissions.mode = mode;
    return permissions;
}

Permissions permissionsWithMode(uint32_t mode) {
    Permissions permissions;
    permissions.mode = mode;
    return permissions;
}

// --- Run-state folders

std::string FileManager::vorkRunDir() { return manageRunFolder(systemPath(kRunFolder)); }

std::string FileManager::legacyVorkRunDir() { return manageRunFolder(systemPath(kLegacyRunFolder)); }

std::string FileManager::vorkRunFile(const std::string &name) { return appendingPathComponent(vorkRunDir(), name); }

std::string FileManager::legacyVorkRunFile(const std::string &name) {
    return appendingPathComponent(legacyVorkRunDir(), name);
}

// Other programs of the agent look for these markers in exactly these
// folders: the first two in the legacy folder, the others in the run folder.
std::string FileManager::checkForTasksFile() { return legacyVorkRunFile("checkForTasks"); }
std::string FileManager::enrollLockFile() { return legacyVorkRunFile("vorkEnroll"); }
std::string FileManager::reEnrollLockFile() { return vorkRunFile("vorkReEnroll"); }
std::string FileManager::updateAlreadyInProgressLockFile() { return vorkRunFile("vorkUpdateAlreadyInProgress"); }

std::string FileManager::manageRunFolder(const std::string &path) {
    if (itemExists(path)) checkPermissionsAtPath(path);
    else createDirectoryWithPermissionsAtPath(path);
    return path;
}

void FileManager::checkPermissionsAtPath(const std::string &path) {
    auto info = platform::fileAttributes().get()->attributesOfItem(path, false);
    if (info && info->mode == kPrivateFolderMode && info->owner == 0 && info->group == adminGroupId()) return;
    // Anything else, including a wrongly owned folder with markers inside,
    // is replaced by a fresh, empty folder.
    removeItem(path);
    createDirectoryWithPermissionsAtPath(path);
}

void FileManager::createDirectoryWithPermissionsAtPath(const std::string &path) {
    createDirectories(path, privateFolderPermissions());
}

// --- Temporary folders

bool FileManager::isRunningAsRoot() { return platform::effectiveUser().get()->effectiveUserId() == 0; }

std::string FileManager::vorkTmpDir() { return isRunningAsRoot() ? rootTempDir() : nonRootTempDir(); }

std::string FileManager::vorkTmpFile(const std::string &name) { return vorkTmpDir() + "/" + name; }

std::string FileManager::rootTempDir() {
    const std::string path = systemPath(kRootTempFolder);
    if (!platform::fileAttributes().get()->attributesOfItem(path, true)) createDirectories(path, privateFolderPermissions());
    else resetTmpDirPermissions();
    resetApplicationSupportVORKPermissions();
    return path;
}

std::string FileManager::nonRootTempDir() {
    std::string base = nsTempDir();
    if (base.empty()) base = systemPath(kFallbackTempFolder);
    const std::string path = appendingPathComponent(base, kNonRootTempName);
    if (itemExists(path)) {
        if (isDirectory(path)) return path;
        removeItem(path);
    }
    createDirectories(path, std::nullopt);
    return path;
}

// The user's temporary folder: TMPDIR when set, otherwise the system's /tmp
// when it is there; "" when neither is.
std::string FileManager::nsTempDir() {
    if (const char *fromEnvironment = std::getenv("TMPDIR"); fromEnvironment && *fromEnvironment)
        return fromEnvironment;
    const std::string systemTemp = systemPath(kSystemTempFolder);
    return isDirectory(systemTemp) ? systemTemp : std::string();
}

void FileManager::resetTmpDirPermissions() { applyPermissions(systemPath(kRootTempFolder), privateFolderPermissions()); }

void FileManager::resetApplicationSupportVORKPermissions() {
    applyPermissions(systemPath(kApplicationSupportFolder), permissionsWithOwner(0, 0, kApplicationSupportMode));
}

bool FileManager::isDirectory(const std::string &path) {
    auto info = platform::fileAttributes().get()->attributesOfItem(path, true);
    return info && info->isFolder;
}

}  // namespace vork::util
