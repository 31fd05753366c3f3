#include "support/process_resources.h"

#include <dirent.h>

#include <thread>

namespace velk::test {
namespace {

std::size_t CountEntries(const char* directory) {
    std::size_t count = 0;
    if (DIR* dir = opendir(directory)) {
        while (const dirent* entry = readdir(dir)) {
            if (entry->d_name[0] != '.') ++count;
        }
        closedir(dir);  // the descriptor of the listing itself is counted, the same each time
    }
    return count;
}

}  // namespace

ProcessResources ProcessResources::Now() {
    return {CountEntries("/proc/self/fd"), CountEntries("/proc/self/task")};
}

void PrintTo(const ProcessResources& resources, std::ostream* out) {
    *out << resources.descriptors << " descriptors, " << resources.threads << " threads";
}

bool ResourcesBecome(const ProcessResources& wanted, std::chrono::milliseconds within) {
    const auto end = std::chrono::steady_clock::now() + within;
    while (!(ProcessResources::Now() == wanted)) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

}  // namespace velk::test
