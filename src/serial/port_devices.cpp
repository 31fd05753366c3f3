#include "serial/port_devices.h"

#include <climits>
#include <cstring>
#include <map>
#include <mutex>
#include <new>

namespace velk {
namespace {

struct PortMap {
    std::mutex mutex;
    std::map<uint8_t, std::string> devices;  // only the ports the application mapped
};

PortMap& ThePortMap() {
    static PortMap map;
    return map;
}

}  // namespace

int SetPortDevice(uint8_t port, const char* devicePath) {
    if (port == 0) return 0;
    if (devicePath != nullptr && strnlen(devicePath, PATH_MAX) >= PATH_MAX) return 0;
    PortMap& map = ThePortMap();
    std::lock_guard<std::mutex> hold(map.mutex);
    try {
        if (devicePath == nullptr) {
            map.devices.erase(port);
        } else {
            map.devices[port] = devicePath;
        }
    } catch (const std::bad_alloc&) {
        return 0;
    }
    return 1;
}

bool PortDevicePath(uint8_t port, std::string& devicePath) {
    if (port == 0) return false;
    PortMap& map = ThePortMap();
    std::lock_guard<std::mutex> hold(map.mutex);
    try {
        auto mapped = map.devices.find(port);
        if (mapped != map.devices.end()) {
            devicePath = mapped->second;
        } else {
            // COM1 is the first serial port, /dev/ttyS0.
            devicePath = "/dev/ttyS" + std::to_string(port - 1);
        }
    } catch (const std::bad_alloc&) {
        return false;
    }
    return true;
}

}  // namespace velk
