#include "queues/shared_queue.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include "queues/queue_error_texts.h"

namespace velk {

void CSharedQueue::ZeroFields() {
    std::memset(name_, 0, sizeof name_);
    guardValid_ = false;
    mappedSize_ = 0;
    header_ = nullptr;
    capacity_ = 0;
    dataSize_ = 0;
    createdMapping_ = false;
}

void CSharedQueue::Init(const char* name) {
    Unmap();
    CloseMappingHandle();
    guard_.Delete();
    emptyEvent_.Close();
    ZeroFields();
    if (name != nullptr && std::strlen(name) + 1 <= sizeof name_) {
        std::memcpy(name_, name, std::strlen(name) + 1);
    }
    guardValid_ = guard_.Initialize(name) == 1;
}

int CSharedQueue::Exists() const {
    const std::string mapping = QueueObjectName(QueueObject::kMapping, name_);
    return !mapping.empty() && SharedMemory::Exists(mapping) ? 1 : 0;
}

int CSharedQueue::Create(const char* name, int capacity, int dataSize) {
    Close();
    Init(name);
    mappedSize_ = QueueTotalSize(capacity, dataSize);
    if (mappedSize_ != 0 && CreateMapping() && Map()) {
        std::memset(mapping_.View(), 0, mappedSize_);
        if (FormatHeader(capacity, dataSize) && OpenEmptyEvent()) return 1;
    }
    // A mapping made here and not finished goes again; one that was there
    // stays for whoever made it.
    const bool made = createdMapping_;
    Unmap();
    CloseMappingHandle();
    emptyEvent_.Close();
    if (made) SharedMemory::Remove(QueueObjectName(QueueObject::kMapping, name_));
    return 0;
}

int CSharedQueue::Open(const char* name, int /*capacity*/, int /*dataSize*/) {
    Close();
    Init(name);
    // The header alone first, to learn how big the whole queue is.
    mappedSize_ = kQueueHeaderSize;
    if (OpenMapping() && Map()) {
        const uint32_t totalSize = header_->totalSize;
        Unmap();
        mappedSize_ = totalSize;
        if (Map() && capacity_ > 0 && OpenEmptyEvent()) return 1;
    }
    Unmap();
    CloseMappingHandle();
    emptyEvent_.Close();
    return 0;
}

int CSharedQueue::OpenOrCreate() {
    if (name_[0] == '\0') return 0;
    const int opened = Exists() ? OpenMapping() : CreateMapping();
    return opened && Map() ? 1 : 0;
}

void CSharedQueue::Close() {
    Unmap();
    CloseMappingHandle();
    guard_.Delete();
    guardValid_ = false;
    emptyEvent_.Close();
}

int CSharedQueue::Map() {
    Unmap();
    if (!mapping_.Map(mappedSize_)) return 0;
    header_ = static_cast<SharedQueueHeader*>(mapping_.View());
    AdoptHeader();
    return 1;
}

void CSharedQueue::Unmap() {
    mapping_.Unmap();
    header_ = nullptr;
    capacity_ = 0;
    dataSize_ = 0;
}

int CSharedQueue::OpenMapping() {
    const std::string mapping = QueueObjectName(QueueObject::kMapping, name_);
    if (mapping.empty()) return 0;
    return mapping_.Open(mapping, false, 0) == SharedMemory::OpenResult::kOpened ? 1 : 0;
}

int CSharedQueue::CreateMapping() {
    const std::string mapping = QueueObjectName(QueueObject::kMapping, name_);
    if (mapping.empty() || mappedSize_ == 0) return 0;
    const SharedMemory::OpenResult result = mapping_.Open(mapping, true, mappedSize_);
    createdMapping_ = result == SharedMemory::OpenResult::kCreated;
    return createdMapping_ || result == SharedMemory::OpenResult::kOpened ? 1 : 0;
}

void CSharedQueue::CloseMappingHandle() {
    mapping_.CloseObject();
}

bool CSharedQueue::FormatHeader(int capacity, int dataSize) {
    const std::size_t nameSize = std::strlen(name_) + 1;
    if (header_ == nullptr || nameSize > kQueueNameFieldSize || capacity < 1 || dataSize < 1) {
        return false;
    }
    std::memset(header_, 0, kQueueHeaderSize);
    std::memcpy(header_->name, name_, nameSize);
    header_->lastIndex = -1;
    header_->capacity = capacity;
    header_->totalSize = QueueTotalSize(capacity, dataSize);
    return AdoptHeader();
}

bool CSharedQueue::AdoptHeader() {
    capacity_ = 0;
    dataSize_ = 0;
    if (header_ == nullptr || mappedSize_ < kQueueHeaderSize) return false;
    const int64_t capacity = header_->capacity;
    const int64_t totalSize = header_->totalSize;
    const int64_t dataSize = totalSize - capacity * 8 - static_cast<int64_t>(kQueueHeaderSize);
    if (capacity < 1 || dataSize < 1 || QueueTotalSize(capacity, dataSize) != totalSize ||
        static_cast<uint64_t>(totalSize) > mappedSize_) {
        return false;
    }
    capacity_ = static_cast<int>(capacity);
    dataSize_ = static_cast<int>(dataSize);
    return true;
}

bool CSharedQueue::OpenEmptyEvent() {
    const std::string event = QueueObjectName(QueueObject::kEmptyEvent, name_);
    return !event.empty() && emptyEvent_.Create(event.c_str(), true);
}

int CSharedQueue::Count() const {
    if (header_ == nullptr || capacity_ == 0) return -1;
    const int32_t lastIndex = header_->lastIndex;
    return lastIndex < -1 || lastIndex >= capacity_ ? -1 : lastIndex + 1;
}

uint8_t* CSharedQueue::Data() const {
    return reinterpret_cast<uint8_t*>(header_) + kQueueHeaderSize +
           static_cast<std::size_t>(capacity_) * sizeof(SharedQueueSlot);
}

bool CSharedQueue::Slot(int index, SharedQueueSlot& slot) const {
    const uint8_t* directory = reinterpret_cast<const uint8_t*>(header_) + kQueueHeaderSize;
    std::memcpy(&slot, directory + static_cast<std::size_t>(index) * sizeof slot, sizeof slot);
    return slot.offset >= 0 && slot.offset < dataSize_ && slot.length >= 0 &&
           slot.length <= dataSize_;
}

void CSharedQueue::SetSlot(int index, const SharedQueueSlot& slot) {
    uint8_t* directory = reinterpret_cast<uint8_t*>(header_) + kQueueHeaderSize;
    std::memcpy(directory + static_cast<std::size_t>(index) * sizeof slot, &slot, sizeof slot);
}

void CSharedQueue::CopyOut(int offset, uint8_t* outside, int length) const {
    const int first = std::min(length, dataSize_ - offset);
    std::memcpy(outside, Data() + offset, static_cast<std::size_t>(first));
    std::memcpy(outside + first, Data(), static_cast<std::size_t>(length - first));
}

void CSharedQueue::CopyIn(int offset, const uint8_t* outside, int length) {
    const int first = std::min(length, dataSize_ - offset);
    std::memcpy(Data() + offset, outside, static_cast<std::size_t>(first));
    std::memcpy(Data(), outside + first, static_cast<std::size_t>(length - first));
}

void CSharedQueue::ZeroRing(int offset, int length) {
    const int first = std::min(length, dataSize_ - offset);
    std::memset(Data() + offset, 0, static_cast<std::size_t>(first));
    std::memset(Data(), 0, static_cast<std::size_t>(length - first));
}

bool CSharedQueue::IsEmpty() const {
    return header_ == nullptr || header_->lastIndex < 0;
}

void CSharedQueue::Clear() {
    if (header_ == nullptr || capacity_ == 0) return;
    const std::size_t behind = static_cast<std::size_t>(capacity_) * sizeof(SharedQueueSlot) +
                               static_cast<std::size_t>(dataSize_);
    std::memset(reinterpret_cast<uint8_t*>(header_) + kQueueHeaderSize, 0, behind);
    header_->lastIndex = -1;
}

int CSharedQueue::FreeBytes() const {
    const int count = Count();
    if (count < 0) return 0;
    int64_t used = 0;
    for (int i = 0; i < count; ++i) {
        SharedQueueSlot slot{};
        if (!Slot(i, slot)) return 0;
        used += slot.length;
    }
    return used >= dataSize_ ? 0 : dataSize_ - static_cast<int>(used);
}

bool CSharedQueue::CanPush(int length) const {
    const int count = Count();
    return count >= 0 && count < capacity_ && FreeBytes() >= length;
}

int CSharedQueue::Push(const void* bytes, int length) {
    if (length < 0 || length > kMaxQueueItemLength || !CanPush(length)) return 0;
    if (bytes == nullptr && length > 0) return 0;
    const int count = Count();
    int offset = 0;
    if (count > 0) {
        SharedQueueSlot last{};
        if (!Slot(count - 1, last)) return 0;
        offset = last.offset + last.length;
        if (offset > dataSize_ - 1) offset %= dataSize_;
    }
    SetSlot(count, {offset, length});
    header_->lastIndex = count;
    CopyIn(offset, static_cast<const uint8_t*>(bytes), length);
    return 1;
}

int CSharedQueue::ReadItem(int index, void* buffer, int bufferLength) const {
    SharedQueueSlot slot{};
    if (index < 0 || index >= Count() || !Slot(index, slot)) return -1;
    if (slot.length > bufferLength || (buffer == nullptr && slot.length > 0)) return -1;
    CopyOut(slot.offset, static_cast<uint8_t*>(buffer), slot.length);
    return slot.length;
}

int CSharedQueue::EraseItem(int index) {
    SharedQueueSlot slot{};
    if (index < 0 || index >= Count() || !Slot(index, slot)) return 0;
    ZeroRing(slot.offset, slot.length);
    return 1;
}

int CSharedQueue::Pop(void* buffer, int bufferLength) {
    const int count = Count();
    SharedQueueSlot oldest{};
    if (count <= 0 || !Slot(0, oldest) || bufferLength < oldest.length) return -1;
    const int length = ReadItem(0, buffer, bufferLength);
    if (length < 0) return -1;
    EraseItem(0);
    uint8_t* directory = reinterpret_cast<uint8_t*>(header_) + kQueueHeaderSize;
    std::memmove(directory, directory + sizeof(SharedQueueSlot),
                 static_cast<std::size_t>(count - 1) * sizeof(SharedQueueSlot));
    SetSlot(count - 1, {0, 0});
    header_->lastIndex = count - 2;
    return length;
}

std::unique_ptr<NamedEvent> CSharedQueue::CreateNamedEvent(const char* name) {
    const std::string event = QueueObjectName(QueueObject::kEvent, name);
    auto handle = std::make_unique<NamedEvent>();
    if (event.empty() || !handle->Create(event.c_str(), true)) return nullptr;
    return handle;
}

void CSharedQueue::SetNamedEvent(const char* name, bool on) {
    const std::string event = QueueObjectName(QueueObject::kEvent, name);
    NamedEvent handle;
    if (event.empty() || !handle.OpenExisting(event.c_str())) return;
    if (on) {
        handle.Set();
    } else {
        handle.Reset();
    }
}

bool CSharedQueue::IsNamedEventSet(const char* name) {
    const std::string event = QueueObjectName(QueueObject::kEvent, name);
    NamedEvent handle;
    return !event.empty() && handle.OpenExisting(event.c_str()) && handle.Wait(1) == kWaitObject0;
}

const char* CSharedQueue::ErrorText(int index) {
    return QueueErrorText(index);
}

void CSharedQueue::ShowError(int index) {
    std::fprintf(stderr, "%s\n", QueueErrorText(index));
}

void CSharedQueue::RemoveObjects(const char* name) {
    for (QueueObject object : {QueueObject::kMapping, QueueObject::kEmptyEvent, QueueObject::kEvent,
                               QueueObject::kMutex, QueueObject::kSemaphore}) {
        const std::string built = QueueObjectName(object, name);
        if (!built.empty()) RemoveNamedObject(built.c_str());
    }
    for (GuardObject object :
         {GuardObject::kMutexNoWriter, GuardObject::kEventNoReaders, GuardObject::kSemNumReaders}) {
        const std::string built = GuardObjectName(object, name);
        if (!built.empty()) RemoveNamedObject(built.c_str());
    }
}

}  // namespace velk
