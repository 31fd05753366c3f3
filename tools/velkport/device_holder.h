// Who holds a serial device: the process whose lock on it /proc/locks lists
// (the library and velkport lock the devices they open), by its command name.
#pragma once

#include <istream>
#include <optional>
#include <string>

#include "platform/file_identity.h"

namespace velk::cli {

struct DeviceHolder {
    long pid = 0;
    std::string command;  // /proc/<pid>/comm; empty when it could not be read
};

// The holder of the lock on `file`, from the lines of /proc/locks.
std::optional<long> LockHolderPid(std::istream& locks, const FileIdentity& file);

// The holder of `path`, when a lock on it can be found.
std::optional<DeviceHolder> FindDeviceHolder(const std::string& path);

}  // namespace velk::cli
