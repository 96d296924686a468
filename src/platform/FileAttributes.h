#pragma once
// What the library asks of items in the file system besides their contents:
// their owner, group, mode and kind, folder creation, owner and mode
// changes, group names, readability, and the size of an item with
// everything below it.
#include <cstdint>
#include <optional>
#include <string>

#include "platform/Service.h"

namespace vork::platform {

struct ItemAttributes {
    bool isFolder = false;
    uint32_t mode = 0;  // permission bits with set-id and sticky bits (07777)
    uint32_t owner = 0;
    uint32_t group = 0;
};

enum class FolderCreation { Created, AlreadyThere, Failed };

class FileAttributes {
public:
    virtual ~FileAttributes() = default;
    // The item at path, a final symbolic link itself (followLink false) or
    // what it leads to; none when there is nothing (or it cannot be read).
    virtual std::optional<ItemAttributes> attributesOfItem(const std::string &path, bool followLink) = 0;
    // Makes one folder (its parent must exist) with that mode, before the
    // process's file-creation mask.
    virtual FolderCreation createFolder(const std::string &path, uint32_t mode) = 0;
    // Sets owner and group when given, then the mode; failures are ignored.
    virtual void setOwnerAndMode(const std::string &path, std::optional<uint32_t> owner,
                                 std::optional<uint32_t> group, uint32_t mode) = 0;
    // The id of the group of that name; none when there is no such group.
    virtual std::optional<uint32_t> groupIdNamed(const std::string &name) = 0;
    // Whether this process may read the item.
    virtual bool isReadable(const std::string &path) = 0;
    // Bytes of the item: its own size for a file or link (links are not
    // followed), for a folder the sizes of everything below it added up; 0
    // when it cannot be read.
    virtual uint64_t sizeOfItem(const std::string &path) = 0;
};

ServiceSlot<FileAttributes> &fileAttributes();

}  // namespace vork::platform
