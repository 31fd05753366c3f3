#include "engine/parked_commands.h"

#include <cstring>
#include <new>

namespace velk {

bool ParkedCommands::Push(const void* block, std::size_t size) noexcept {
    try {
        const auto* bytes = static_cast<const unsigned char*>(block);
        entries_.emplace_back(bytes, bytes + size);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

bool ParkedCommands::Pop(void* buffer, std::size_t size) {
    if (entries_.empty() || entries_.front().size() > size) return false;
    std::memcpy(buffer, entries_.front().data(), entries_.front().size());
    entries_.pop_front();
    return true;
}

std::size_t ParkedCommands::FrontSize() const {
    return entries_.empty() ? 0 : entries_.front().size();
}

}  // namespace velk
