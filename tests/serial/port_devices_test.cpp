#include "serial/port_devices.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

namespace velk {
namespace {

TEST(PortDevices, DefaultsMappingsAndRefusals) {
    const struct {
        uint8_t port;
        const char* path;
    } rows[] = {{1, "/dev/ttyS0"}, {2, "/dev/ttyS1"}, {12, "/dev/ttyS11"}, {255, "/dev/ttyS254"}};
    std::string path;
    for (const auto& row : rows) {
        ASSERT_TRUE(PortDevicePath(row.port, path)) << int{row.port};
        EXPECT_EQ(path, row.path);
    }
    ASSERT_EQ(SetPortDevice(7, "/dev/ttyUSB0"), 1);
    ASSERT_TRUE(PortDevicePath(7, path));
    EXPECT_EQ(path, "/dev/ttyUSB0");
    ASSERT_TRUE(PortDevicePath(8, path));
    EXPECT_EQ(path, "/dev/ttyS7") << "a mapping is for its own port only";
    EXPECT_EQ(SetPortDevice(7, std::string(PATH_MAX, 'p').c_str()), 0);
    ASSERT_TRUE(PortDevicePath(7, path));
    EXPECT_EQ(path, "/dev/ttyUSB0") << "a refused path changes nothing";
    EXPECT_EQ(SetPortDevice(7, std::string(PATH_MAX - 1, 'p').c_str()), 1);
    EXPECT_EQ(SetPortDevice(7, nullptr), 1);
    ASSERT_TRUE(PortDevicePath(7, path));
    EXPECT_EQ(path, "/dev/ttyS6");
    EXPECT_EQ(SetPortDevice(0, "/dev/ttyUSB0"), 0);
    EXPECT_FALSE(PortDevicePath(0, path));
}

}  // namespace
}  // namespace velk
