// Which file a path names, as the kernel tells files apart: the device the
// file system lives on and the inode. /proc/locks names locked files this way.
#pragma once

#include <optional>
#include <string>

namespace velk {

struct FileIdentity {
    unsigned major = 0;  // of the device holding the file system
    unsigned minor = 0;
    unsigned long inode = 0;

    bool operator==(const FileIdentity&) const = default;
};

// The identity of `path` (links followed), or nothing when it cannot be had.
std::optional<FileIdentity> IdentifyFile(const std::string& path);

}  // namespace velk
