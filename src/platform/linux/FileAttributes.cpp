// File attributes with the POSIX calls: lstat/stat, mkdir, chown/chmod,
// getgrnam_r, access, and a walk with directory descriptors for sizes.
#include "platform/FileAttributes.h"

#include <dirent.h>
#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

namespace vork::platform {

namespace {

// Sum of the sizes (lstat) of everything below an open folder.
uint64_t sizeBelow(int dirFd) {
    int listFd = ::openat(dirFd, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (listFd < 0) return 0;
    DIR *listing = ::fdopendir(listFd);
    if (!listing) {
        ::close(listFd);
        return 0;
    }
    uint64_t total = 0;
    while (const dirent *entry = ::readdir(listing)) {
        const char *name = entry->d_name;
        if (name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0))) continue;
        struct stat st {};
        if (::fstatat(dirFd, name, &st, AT_SYMLINK_NOFOLLOW) != 0) continue;
        total += static_cast<uint64_t>(st.st_size);
        if (S_ISDIR(st.st_mode)) {
            int sub = ::openat(dirFd, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
            if (sub >= 0) {
                total += sizeBelow(sub);
                ::close(sub);
            }
        }
    }
    ::closedir(listing);
    return total;
}

class LinuxFileAttributes : public FileAttributes {
public:
    std::optional<ItemAttributes> attributesOfItem(const std::string &path, bool followLink) override {
        struct stat info {};
        if ((followLink ? ::stat(path.c_str(), &info) : ::lstat(path.c_str(), &info)) != 0) return std::nullopt;
        return ItemAttributes{S_ISDIR(info.st_mode), static_cast<uint32_t>(info.st_mode & 07777), info.st_uid,
                              info.st_gid};
    }

    FolderCreation createFolder(const std::string &path, uint32_t mode) override {
        if (::mkdir(path.c_str(), static_cast<mode_t>(mode)) == 0) return FolderCreation::Created;
        return errno == EEXIST ? FolderCreation::AlreadyThere : FolderCreation::Failed;
    }

    void setOwnerAndMode(const std::string &path, std::optional<uint32_t> owner, std::optional<uint32_t> group,
                         uint32_t mode) override {
        // The mode goes last because changing the owner can clear set-id bits.
        if (owner || group)
            (void)::chown(path.c_str(), owner ? static_cast<uid_t>(*owner) : static_cast<uid_t>(-1),
                          group ? static_cast<gid_t>(*group) : static_cast<gid_t>(-1));
        (void)::chmod(path.c_str(), static_cast<mode_t>(mode));
    }

    std::optional<uint32_t> groupIdNamed(const std::string &name) override {
        long size = ::sysconf(_SC_GETGR_R_SIZE_MAX);
        std::vector<char> buffer(size > 0 ? static_cast<size_t>(size) : 16384);
        for (;;) {
            struct group entry;
            struct group *found = nullptr;
            const int rc = ::getgrnam_r(name.c_str(), &entry, buffer.data(), buffer.size(), &found);
            if (rc == ERANGE && buffer.size() < (1u << 20)) {
                buffer.resize(buffer.size() * 2);
                continue;
            }
            if (rc == 0 && found) return static_cast<uint32_t>(found->gr_gid);
            return std::nullopt;
        }
    }

    bool isReadable(const std::string &path) override { return ::access(path.c_str(), R_OK) == 0; }

    uint64_t sizeOfItem(const std::string &path) override {
        struct stat st {};
        if (::stat(path.c_str(), &st) != 0) return 0;
        if (!S_ISDIR(st.st_mode)) {
            struct stat item {};
            return ::lstat(path.c_str(), &item) == 0 ? static_cast<uint64_t>(item.st_size) : 0;
        }
        int dirFd = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (dirFd < 0) return 0;
        uint64_t total = sizeBelow(dirFd);
        ::close(dirFd);
        return total;
    }
};

}  // namespace

ServiceSlot<FileAttributes> &fileAttributes() { return defaultServiceSlot<FileAttributes, LinuxFileAttributes>(); }

}  // namespace vork::platform
