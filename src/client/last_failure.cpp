#include "client/last_failure.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <type_traits>

namespace velk {
namespace {

// Room for the longest error text a ResultError block holds, with its
// "+CME ERROR: " in front.
constexpr std::size_t kTextBytes = 320;

struct Record {
    std::mutex lock;
    int32_t code = 0;
    char text[kTextBytes] = {};
};

// Set up before any code runs and never torn down: a link left standing at
// exit may still record its end.
constinit Record g_record;
static_assert(std::is_trivially_destructible_v<Record>);

}  // namespace

void ClearLastFailure() noexcept {
    RecordLastFailure(0, {});
}

void RecordLastFailure(int32_t code, std::string_view text) noexcept {
    Record& record = g_record;
    const std::size_t length = std::min(text.size(), kTextBytes - 1);
    std::lock_guard<std::mutex> hold(record.lock);
    record.code = code;
    if (length != 0) std::memcpy(record.text, text.data(), length);
    record.text[length] = '\0';
}

void RecordLastFailure(const FailureCause& cause) noexcept {
    RecordLastFailure(cause.code, cause.text);
}

int32_t LastFailure(const char** text) noexcept {
    Record& record = g_record;
    std::lock_guard<std::mutex> hold(record.lock);
    if (text != nullptr) *text = record.text;
    return record.code;
}

}  // namespace velk
