#include "platform/shared_memory.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace velk {
namespace {

constexpr mode_t kOwnerOnly = 0600;

std::string ObjectPath(const std::string& name) {
    return "/" + name;
}

// An object is ours to use only when we own it and nobody else may touch it:
// anything else may have been planted or read by another user.
bool IsOurs(int fd) {
    struct stat st {};
    if (fstat(fd, &st) != 0) return false;
    return S_ISREG(st.st_mode) && st.st_uid == geteuid() && (st.st_mode & 077) == 0;
}

}  // namespace

SharedMemory::~SharedMemory() {
    Close();
}

SharedMemory::OpenResult SharedMemory::Open(const std::string& name, bool create,
                                            std::size_t createSize) {
    Close();
    if (name.empty()) return OpenResult::kFailed;
    const std::string path = ObjectPath(name);
    // The object may vanish between a failed exclusive create and the open of
    // the one that was there; a few rounds settle that race.
    for (int round = 0; round < 3; ++round) {
        if (create) {
            int fd = shm_open(path.c_str(), O_RDWR | O_CREAT | O_EXCL, kOwnerOnly);
            if (fd >= 0) {
                // The umask may have narrowed the mode; never widened it.
                if (fchmod(fd, kOwnerOnly) != 0 ||
                    ftruncate(fd, static_cast<off_t>(createSize)) != 0) {
                    close(fd);
                    shm_unlink(path.c_str());
                    return OpenResult::kFailed;
                }
                fd_ = fd;
                return OpenResult::kCreated;
            }
            if (errno == EACCES) return OpenResult::kForeign;
            if (errno != EEXIST) return OpenResult::kFailed;
        }
        int fd = shm_open(path.c_str(), O_RDWR, 0);
        if (fd < 0) {
            if (errno == ENOENT && create) continue;
            if (errno == ENOENT) return OpenResult::kNotFound;
            return errno == EACCES ? OpenResult::kForeign : OpenResult::kFailed;
        }
        if (!IsOurs(fd)) {
            close(fd);
            return OpenResult::kForeign;
        }
        fd_ = fd;
        return OpenResult::kOpened;
    }
    return OpenResult::kFailed;
}

bool SharedMemory::CreateAnonymous(std::size_t size) {
    Close();
    void* view = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (view == MAP_FAILED) return false;
    view_ = view;
    mappedSize_ = size;
    return true;
}

std::size_t SharedMemory::ObjectSize() const {
    struct stat st {};
    if (fd_ < 0 || fstat(fd_, &st) != 0 || st.st_size < 0) return 0;
    return static_cast<std::size_t>(st.st_size);
}

bool SharedMemory::Map(std::size_t size) {
    Unmap();
    if (fd_ < 0 || size == 0 || size > ObjectSize()) return false;
    void* view = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd_, 0);
    if (view == MAP_FAILED) return false;
    view_ = view;
    mappedSize_ = size;
    return true;
}

void SharedMemory::Unmap() {
    if (view_ != nullptr) munmap(view_, mappedSize_);
    view_ = nullptr;
    mappedSize_ = 0;
}

void SharedMemory::CloseObject() {
    if (fd_ >= 0) close(fd_);
    fd_ = -1;
}

void SharedMemory::Close() {
    Unmap();
    CloseObject();
}

bool SharedMemory::Exists(const std::string& name) {
    if (name.empty()) return false;
    int fd = shm_open(ObjectPath(name).c_str(), O_RDWR, 0);
    if (fd < 0) return false;
    const bool ours = IsOurs(fd);
    close(fd);
    return ours;
}

bool SharedMemory::Remove(const std::string& name) {
    return !name.empty() && shm_unlink(ObjectPath(name).c_str()) == 0;
}

}  // namespace velk
