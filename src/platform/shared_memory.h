// Shared memory that several processes reach by name: the ground under the
// shared queues and under the named mutex, events and semaphore.
//
// A name N is the POSIX shared-memory object "/N" (on Linux the file
// /dev/shm/N). Objects are made with mode 0600, so that no other user can
// read or write them, and an object that another user owns, or that others
// may read or write, is refused even where the system would let us open it.
// Objects stay in place when they are closed: a later open takes over what it
// finds. Remove() is the only way one goes away.
//
// A null name gives anonymous shared memory, which only this process and the
// children it forks afterwards can see.
//
// Not thread-safe: one thread owns one SharedMemory at a time.
#pragma once

#include <cstddef>
#include <string>

namespace velk {

class SharedMemory {
  public:
    enum class OpenResult {
        kOpened,    // an existing object of ours
        kCreated,   // a new object of `createSize` zero bytes
        kNotFound,  // no object of that name (and none to be created)
        kForeign,   // another user's object, or one that others may use
        kFailed,    // any other refusal of the system (bad name, no memory...)
    };

    SharedMemory() = default;
    ~SharedMemory();
    SharedMemory(const SharedMemory&) = delete;
    SharedMemory& operator=(const SharedMemory&) = delete;

    // Opens the object "/name". With `create` set, a missing object is made
    // with `createSize` bytes and mode 0600. Closes whatever was open first.
    OpenResult Open(const std::string& name, bool create, std::size_t createSize);

    // Makes anonymous shared memory of `size` zero bytes and maps all of it.
    bool CreateAnonymous(std::size_t size);

    // Size of the open object in bytes; 0 when none is open.
    std::size_t ObjectSize() const;

    // Maps the first `size` bytes of the open object for reading and writing.
    // Fails when the object is shorter, so that no access can fault.
    bool Map(std::size_t size);
    void Unmap();
    // Closes the object's descriptor; a view stays usable until Unmap.
    void CloseObject();
    // Unmap and CloseObject.
    void Close();

    bool IsOpen() const { return fd_ >= 0; }
    void* View() const { return view_; }
    std::size_t MappedSize() const { return mappedSize_; }

    // True when an object "/name" of ours can be opened.
    static bool Exists(const std::string& name);
    // Removes the object "/name" from the namespace. Processes that have it
    // mapped keep their view. True when it was there and is gone.
    static bool Remove(const std::string& name);

  private:
    int fd_ = -1;
    void* view_ = nullptr;
    std::size_t mappedSize_ = 0;
};

}  // namespace velk
