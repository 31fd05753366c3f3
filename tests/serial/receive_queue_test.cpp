#include "serial/receive_queue.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "serial/port_devices.h"

namespace velk {
namespace {

class ReceiveQueueTest : public ::testing::Test {
  protected:
    void SetUp() override { ClearLines(); }
    void TearDown() override { ClearLines(); }
    static void Push(const std::string& line) {
        ASSERT_EQ(PushLine(line.data(), static_cast<uint32_t>(line.size())), 1);
    }
};

// The reader takes the oldest whole line as it was queued, a zero byte
// included (the reader decides what it means); with none queued it leaves
// its argument alone.
TEST_F(ReceiveQueueTest, LinesLeaveWholeInTheOrderTheyCame) {
    const std::string binary("+IMGR: 1,\"a\0b\"\r\n", 16);
    Push(binary);
    Push("OK\r\n");
    std::string line = "left over from the line before, longer than the next";
    ASSERT_TRUE(TakeLineText(line));
    EXPECT_EQ(line, binary);
    ASSERT_TRUE(TakeLineText(line));
    EXPECT_EQ(line, "OK\r\n");
    EXPECT_EQ(HasLine(), 0);
    Push("OK\r\n");
    ClearLines();
    EXPECT_FALSE(TakeLineText(line));
    EXPECT_EQ(line, "OK\r\n");
}

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
