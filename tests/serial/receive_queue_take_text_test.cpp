// TakeLineText: the reader's way to take a line without a copy.
#include <gtest/gtest.h>

#include <string>

#include "serial/receive_queue.h"

namespace velk {
namespace {

class TakeLineTextTest : public ::testing::Test {
  protected:
    void SetUp() override { ClearLines(); }
    void TearDown() override { ClearLines(); }
    static void Push(const std::string& line) {
        ASSERT_EQ(PushLine(line.data(), static_cast<uint32_t>(line.size())), 1);
    }
};

TEST_F(TakeLineTextTest, TakesWholeLinesInOrderBesideTheCopyingTake) {
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

TEST_F(TakeLineTextTest, AnEmptyQueueLeavesTheArgumentAlone) {
    std::string line = "kept";
    EXPECT_FALSE(TakeLineText(line));
    EXPECT_EQ(line, "kept");
    Push("OK\r\n");
    ClearLines();
    EXPECT_FALSE(TakeLineText(line));
    EXPECT_EQ(line, "kept");
}

}  // namespace
}  // namespace velk
