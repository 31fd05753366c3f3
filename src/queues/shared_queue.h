// A bounded first-in, first-out queue of byte items in named shared memory,
// through which two processes pass items. The memory is laid out as in
// shared_queue_layout.h; the names of its objects are in
// queue_object_names.h.
//
// Where the objects live: a queue N is the shared-memory object
// /dev/shm/ATNEXUM_N_FILEMAPPING, with its empty event ATNEXUM_N_EMPTY_EVENT
// and its guard's SWMRGMutexNoWriterN, SWMRGEventNoReadersN and
// SWMRGSemNumReadersN beside it, all of mode 0600. Close leaves them in place
// (the other party may still hold them) and a later Open takes over what it
// finds, numbers and items included. RemoveObjects(N), or removing those
// files, takes them away.
//
// Push and Pop never wait and never lock: a full queue refuses at once, and
// whoever uses the queue from two processes takes the guard around them
// (Guard()). Everything read from the memory is checked against the numbers
// taken when the queue was mapped, so a garbled directory makes an operation
// fail, never read or write outside the mapping.
//
// One thread uses one CSharedQueue object; functions answer 1 or 0 (or a
// length, or -1) as the other party's code of the same queue does.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/named_sync.h"
#include "platform/shared_memory.h"
#include "queues/queue_object_names.h"
#include "queues/shared_queue_layout.h"
#include "queues/single_writer_guard.h"

namespace velk {

class CSharedQueue {
  public:
    CSharedQueue() = default;
    ~CSharedQueue() { Close(); }
    CSharedQueue(const CSharedQueue&) = delete;
    CSharedQueue& operator=(const CSharedQueue&) = delete;

    // Closes whatever was open, stores the name (when it fits in 100 bytes
    // with its terminator) and builds the guard from it.
    void Init(const char* name);
    // Non-zero when a mapping of the stored name can be opened.
    int Exists() const;
    // Makes (or takes over and formats) the mapping for `capacity` items and
    // `dataSize` bytes of items, and opens the empty event.
    int Create(const char* name, int capacity, int dataSize);
    // Joins an existing queue; its own numbers count, `capacity` and
    // `dataSize` are ignored.
    int Open(const char* name, int capacity, int dataSize);
    // Opens the mapping of the stored name if it exists, else makes one of
    // the mapped size set before; formats nothing and opens no event. Fails
    // for an empty name.
    int OpenOrCreate();
    // Unmaps, closes the mapping, the guard and the empty event.
    void Close();

    bool IsEmpty() const;
    // Zero-fills the directory and the data area and empties the queue.
    void Clear();
    // Bytes of the data area not taken by items.
    int FreeBytes() const;
    bool CanPush(int length) const;
    // 1 when the item is in, 0 (queue unchanged) when it is longer than
    // 10000 bytes or does not fit.
    int Push(const void* bytes, int length);
    // Copies item `index` (0 the oldest) to `buffer`: its length, or -1 for a
    // bad index or a buffer too short.
    int ReadItem(int index, void* buffer, int bufferLength) const;
    // Zero-fills the bytes of item `index`; 1, or 0 for a bad index.
    int EraseItem(int index);
    // Takes the oldest item: its length, or -1 (queue unchanged) when the
    // queue is empty or `buffer` is shorter than the item.
    int Pop(void* buffer, int bufferLength);

    // The single steps of Create and Open, on the stored name and the mapped
    // size set by them.
    int Map();
    void Unmap();
    int OpenMapping();
    int CreateMapping();
    void CloseMappingHandle();

    // The event "ATNEXUM_" name "_EVENT": made manual-reset and signalled
    // when missing. Null when the name is too long or the event cannot be
    // made.
    static std::unique_ptr<NamedEvent> CreateNamedEvent(const char* name);
    // Sets (`on`) or resets that event if it exists.
    static void SetNamedEvent(const char* name, bool on);
    // True when that event exists and is signalled within 1 ms.
    static bool IsNamedEventSet(const char* name);

    // The texts of the other party's start-up faults, by index 0 to 4; empty
    // for any other index.
    static const char* ErrorText(int index);
    // Writes the text to the standard error stream, the stand-in for a
    // message box in a library that has no window of its own.
    static void ShowError(int index);

    // Removes every named object of queue `name` (see the top of this file).
    static void RemoveObjects(const char* name);

    // What the queue has open, for its users.
    bool IsOpen() const { return header_ != nullptr; }
    const char* Name() const { return name_; }
    int Capacity() const { return capacity_; }
    int DataSize() const { return dataSize_; }
    // The empty event, which the other party resets and sets; null while the
    // queue is closed.
    NamedEvent* EmptyEvent() { return emptyEvent_.IsOpen() ? &emptyEvent_ : nullptr; }
    // The guard, and whether Init could build it.
    CSingleWriterGuard& Guard() { return guard_; }
    bool GuardValid() const { return guardValid_; }

  private:
    bool FormatHeader(int capacity, int dataSize);
    // Takes the numbers of the mapped header when they describe a queue that
    // fits in the mapping.
    bool AdoptHeader();
    bool OpenEmptyEvent();
    void ZeroFields();
    // Item count 0..capacity, or -1 when lastIndex is out of range.
    int Count() const;
    bool Slot(int index, SharedQueueSlot& slot) const;
    void SetSlot(int index, const SharedQueueSlot& slot);
    uint8_t* Data() const;
    // Copies between `outside` and the ring at `offset`, going on at the
    // start of the data area where the end is passed.
    void CopyOut(int offset, uint8_t* outside, int length) const;
    void CopyIn(int offset, const uint8_t* outside, int length);
    void ZeroRing(int offset, int length);

    SharedMemory mapping_;
    char name_[kObjectNameBufferSize] = {};
    CSingleWriterGuard guard_;
    bool guardValid_ = false;
    std::size_t mappedSize_ = 0;
    SharedQueueHeader* header_ = nullptr;
    NamedEvent emptyEvent_;
    int capacity_ = 0;
    int dataSize_ = 0;
    bool createdMapping_ = false;
};

}  // namespace velk
