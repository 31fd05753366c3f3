// Files with fixed names in a directory of the user's own: the directory must
// be the user's, a real directory and not a symlink, and not writable by
// others; the files in it are opened without following symlinks and must be
// the user's too, so that no other user can point a fixed name at a file of
// their choice or slip in one of their own.
#pragma once

#include <cstdio>
#include <string>

namespace velk {

// "/tmp/velkport-<uid>" for the effective user.
std::string UserTempDirectory();

// True when `path` is a directory (not a symlink to one) that the effective
// user owns and that others may not write.
bool IsPrivateDirectory(const std::string& path);

enum class PrivateFileMode {
    kReadExisting,  // as fopen "r": the file has to be there
    kWriteFresh,    // as fopen "w+": made with mode 0600, or cut to nothing
};

// Opens `name` in `directory`. Null when the directory is not private,
// `name` is a symlink or another user's file, or the open fails.
std::FILE* OpenPrivateFile(const std::string& directory, const std::string& name,
                           PrivateFileMode mode);

}  // namespace velk
