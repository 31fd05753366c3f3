#include "queues/queue_error_texts.h"

#include <iterator>

namespace velk {
namespace {

constexpr const char* kErrorTexts[] = {
    "",
    "can't find the file nexum.exe",
    "exe init error",
    "systeminfo init error",
    "systemqueue init error",
};

}  // namespace

const char* QueueErrorText(int index) {
    if (index < 0 || index >= static_cast<int>(std::size(kErrorTexts))) return "";
    return kErrorTexts[index];
}

}  // namespace velk
