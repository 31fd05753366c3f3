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

// Each way of taking a line takes the oldest whole line: the copying take
// with its terminator, the pop into the caller's buffer, and the reader's
// take without a copy, which keeps a zero byte (the reader decides).
TEST_F(ReceiveQueueTest, LinesLeaveWholeInTheOrderTheyCame) {
    const std::string binary("+IMGR: 1,\"a\0b\"\r\n", 16);
    Push("+RNGI: \"a\",1\r\n");
    Push(binary);
    Push("OK\r\n");
    ASSERT_EQ(HasLine(), 1);
    ASSERT_EQ(HeadLength(), 14u);
    std::string first(HeadLength(), '\0');
    PopLine(first.data());
    EXPECT_EQ(first, "+RNGI: \"a\",1\r\n");
    std::string line = "left over from the line before, longer than the next";
    ASSERT_TRUE(TakeLineText(line));
    EXPECT_EQ(line, binary);
    char* buffer = nullptr;
    uint32_t length = 0;
    ASSERT_TRUE(TakeLine(buffer, length));
    ASSERT_EQ(length, 4u);
    EXPECT_EQ(std::string(buffer, length), "OK\r\n");
    EXPECT_EQ(buffer[length], '\0');
    ReleaseLine(buffer);
    EXPECT_EQ(buffer, nullptr);
    EXPECT_EQ(HasLine(), 0);
    EXPECT_EQ(HeadLength(), 0u);
}

TEST_F(ReceiveQueueTest, TakeOnAnEmptyQueueLeavesTheArgumentsAlone) {
    char marker = 'm';
    char* buffer = &marker;
    uint32_t length = 77;
    EXPECT_FALSE(TakeLine(buffer, length));
    EXPECT_EQ(buffer, &marker);
    EXPECT_EQ(length, 77u);
    char* none = nullptr;
    ReleaseLine(none);  // a null buffer is fine
    std::string line = "kept";
    Push("OK\r\n");
    ClearLines();
    EXPECT_FALSE(TakeLineText(line));
    EXPECT_EQ(line, "kept");
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
