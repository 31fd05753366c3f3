#include "platform/private_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velk {
namespace {

bool IsPrivate(const struct stat& st) {
    return S_ISDIR(st.st_mode) && st.st_uid == geteuid() && (st.st_mode & S_IWOTH) == 0;
}

// A file that somebody else put there (a member of the directory's group)
// is not ours to read or to overwrite.
bool IsOwnFile(int fd) {
    struct stat st {};
    return fstat(fd, &st) == 0 && S_ISREG(st.st_mode) && st.st_uid == geteuid();
}

}  // namespace

std::string UserTempDirectory() {
    return "/tmp/velkport-" + std::to_string(geteuid());
}

bool IsPrivateDirectory(const std::string& path) {
    struct stat st {};
    return lstat(path.c_str(), &st) == 0 && IsPrivate(st);
}

std::FILE* OpenPrivateFile(const std::string& directory, const std::string& name,
                           PrivateFileMode mode) {
    const bool write = mode == PrivateFileMode::kWriteFresh;
    // A file to be written is cut only once it is known to be ours.
    const int flags = write ? O_RDWR | O_CREAT : O_RDONLY;
    // The directory is checked through the descriptor that the file is then
    // opened in, so it cannot be swapped between the check and the open.
    const int dir = open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (dir < 0) return nullptr;
    struct stat st {};
    if (fstat(dir, &st) != 0 || !IsPrivate(st)) {
        close(dir);
        return nullptr;
    }
    const int fd = openat(dir, name.c_str(), flags | O_NOFOLLOW | O_CLOEXEC, 0600);
    close(dir);
    if (fd < 0) return nullptr;
    if (!IsOwnFile(fd) || (write && ftruncate(fd, 0) != 0)) {
        close(fd);
        return nullptr;
    }
    std::FILE* file = fdopen(fd, write ? "w+" : "r");
    if (file == nullptr) close(fd);
    return file;
}

}  // namespace velk
