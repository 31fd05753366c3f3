#include "velkport/device_holder.h"

#include <charconv>
#include <fstream>
#include <sstream>
#include <string_view>

#include "platform/file_identity.h"

namespace velk::cli {
namespace {

template <typename Number>
bool ReadNumber(std::string_view text, Number& value, int base) {
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value, base);
    return !text.empty() && error == std::errc() && stop == end;
}

// "MAJOR:MINOR:INODE", the first two in hexadecimal, as the kernel prints
// the file a lock is on.
bool SameFile(std::string_view field, const FileIdentity& file) {
    const std::size_t first = field.find(':');
    const std::size_t second = field.find(':', first + 1);
    if (first == std::string_view::npos || second == std::string_view::npos) return false;
    unsigned major = 0;
    unsigned minor = 0;
    unsigned long number = 0;
    return ReadNumber(field.substr(0, first), major, 16) &&
           ReadNumber(field.substr(first + 1, second - first - 1), minor, 16) &&
           ReadNumber(field.substr(second + 1), number, 10) &&
           FileIdentity{major, minor, number} == file;
}

}  // namespace

// 1: FLOCK  ADVISORY  WRITE 4242 00:19:5 0 EOF
// 1: -> FLOCK  ADVISORY  WRITE 4243 00:19:5 0 EOF      (one waiting for it)
std::optional<long> LockHolderPid(std::istream& locks, const FileIdentity& file) {
    std::string line;
    while (std::getline(locks, line)) {
        std::istringstream fields(line);
        std::string number, kind, mode, access, pid, field;
        if (!(fields >> number >> kind >> mode >> access >> pid >> field) || kind == "->") continue;
        long holder = 0;
        if (SameFile(field, file) && ReadNumber(pid, holder, 10) && holder > 0) {
            return holder;
        }
    }
    return std::nullopt;
}

std::optional<DeviceHolder> FindDeviceHolder(const std::string& path) {
    const std::optional<FileIdentity> file = IdentifyFile(path);
    if (!file) return std::nullopt;
    std::ifstream locks("/proc/locks");
    const std::optional<long> pid = LockHolderPid(locks, *file);
    if (!pid) return std::nullopt;
    DeviceHolder holder{*pid, {}};
    std::ifstream comm("/proc/" + std::to_string(*pid) + "/comm");
    std::getline(comm, holder.command);
    return holder;
}

}  // namespace velk::cli
