// The client's "window": a descriptor that the application owns (a pipe, a
// socket, a FIFO) and that receives one 16-byte record per window message.
//
// The sink writes only to its own close-on-exec duplicate, so a descriptor
// number that the application closes and the system hands out again is never
// written to. The descriptor's flags are never changed: when it is full, a
// message that ends an operation waits for room with poll() together with
// the sink's stop descriptor, so a full pipe neither spins a thread nor holds
// up a close-down; a progress message gets one try.
#pragma once

#include <cstdint>
#include <mutex>

namespace velk {

class WindowSink {
  public:
    WindowSink();
    ~WindowSink();
    WindowSink(const WindowSink&) = delete;
    WindowSink& operator=(const WindowSink&) = delete;

    // Takes a duplicate of `clientFd` in place of any earlier one. False,
    // with nothing held, when `clientFd` is not open for writing or the
    // duplicate cannot be made.
    bool Open(int clientFd);
    // Closes the duplicate; later posts are dropped.
    void Close();
    bool IsOpen() const;

    // Makes every post that waits for room, now or later, give up until
    // Rearm. Used by the close-down of a link.
    void Interrupt();
    void Rearm();

    // A message that ends an operation: retried while the descriptor is full
    // or the write is interrupted, until it goes out, fails otherwise (the
    // reader is gone) or the sink is interrupted. True when written.
    bool PostFinal(uint32_t message);
    // A progress message: written only when there is room at once.
    bool PostProgress(uint32_t message);

  private:
    enum class Room { kWritable, kStopped, kNone };
    Room WaitForRoom(int fd, int timeoutMs) const;
    bool Post(uint32_t message, bool final);

    // Guards fd_ against Close while a post runs; Interrupt only touches the
    // stop descriptor so that it can end a post's wait.
    mutable std::mutex fdMutex_;
    int fd_ = -1;
    int stopFd_ = -1;
};

}  // namespace velk
