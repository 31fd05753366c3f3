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

TEST_F(ReceiveQueueTest, LinesLeaveInTheOrderTheyCame) {
    Push("+RNGI: \"a\",1\r\n");
    Push("OK\r\n");
    ASSERT_EQ(HasLine(), 1);
    ASSERT_EQ(HeadLength(), 14u);
    std::string first(HeadLength(), '\0');
    PopLine(first.data());
    EXPECT_EQ(first, "+RNGI: \"a\",1\r\n");

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
    EXPECT_FALSE(TakeLineText(line));
    EXPECT_EQ(line, "kept");
    Push("OK\r\n");
    ClearLines();
    EXPECT_FALSE(TakeLineText(line));
    EXPECT_EQ(line, "kept");
}

// TakeLineText: the reader's way to take a line without a copy, beside the
// copying take.
TEST_F(ReceiveQueueTest, TakeLineTextTakesWholeLinesInOrder) {
    const std::string binary("+IMGR: 1,\"a\0b\"\r\n", 17);
    Push("+CPBR: 1,\"+4930555\",145,\"A long enough name\"\r\n");
    Push(binary);
    Push("OK\r\n");

    std::string line = "left over from the line before";
    ASSERT_TRUE(TakeLineText(line));
    EXPECT_EQ(line, "+CPBR: 1,\"+4930555\",145,\"A long enough name\"\r\n");
    ASSERT_TRUE(TakeLineText(line));
    EXPECT_EQ(line, binary);  // a zero byte is kept: the reader decides
    char* buffer = nullptr;
    uint32_t length = 0;
    ASSERT_TRUE(TakeLine(buffer, length));
    EXPECT_EQ(std::string(buffer, length), "OK\r\n");
    ReleaseLine(buffer);
    EXPECT_EQ(HasLine(), 0);
}

struct DefaultDevice {
    uint8_t port;
    const char* path;
};

TEST(PortDevices, DefaultsCountFromTheFirstSerialPort) {
    const DefaultDevice rows[] = {
        {1, "/dev/ttyS0"}, {2, "/dev/ttyS1"}, {12, "/dev/ttyS11"}, {255, "/dev/ttyS254"}};
    for (const DefaultDevice& row : rows) {
        std::string path;
        ASSERT_TRUE(PortDevicePath(row.port, path)) << int{row.port};
        EXPECT_EQ(path, row.path);
    }
    std::string none = "unchanged";
    EXPECT_FALSE(PortDevicePath(0, none));
}

TEST(PortDevices, MappingAndRestoringTheDefault) {
    std::string path;
    ASSERT_EQ(SetPortDevice(7, "/dev/ttyUSB0"), 1);
    ASSERT_TRUE(PortDevicePath(7, path));
    EXPECT_EQ(path, "/dev/ttyUSB0");
    ASSERT_TRUE(PortDevicePath(8, path));
    EXPECT_EQ(path, "/dev/ttyS7") << "a mapping is for its own port only";

    const std::string longest(PATH_MAX - 1, 'p');
    const std::string tooLong(PATH_MAX, 'p');
    EXPECT_EQ(SetPortDevice(7, tooLong.c_str()), 0);
    ASSERT_TRUE(PortDevicePath(7, path));
    EXPECT_EQ(path, "/dev/ttyUSB0") << "a refused path changes nothing";
    EXPECT_EQ(SetPortDevice(7, longest.c_str()), 1);

    EXPECT_EQ(SetPortDevice(7, nullptr), 1);
    ASSERT_TRUE(PortDevicePath(7, path));
    EXPECT_EQ(path, "/dev/ttyS6");

    EXPECT_EQ(SetPortDevice(0, "/dev/ttyUSB0"), 0);
    EXPECT_FALSE(PortDevicePath(0, path));
}

}  // namespace
}  // namespace velk
