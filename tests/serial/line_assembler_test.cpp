#include "serial/line_assembler.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace velk {
namespace {

struct Collected {
    std::vector<std::string> lines;
    LineAssembler assembler{
        [this](const char* line, uint32_t length) { lines.emplace_back(line, length); }};

    void FeedEach(const std::vector<std::string>& chunks) {
        for (const std::string& chunk : chunks) assembler.Feed(chunk.data(), chunk.size());
    }
    // Byte by byte, checking the bound after every byte.
    void FeedBounded(const std::string& bytes) {
        for (char c : bytes) {
            assembler.Feed(&c, 1);
            ASSERT_LE(assembler.LineLength(), LineAssembler::kLineCapacity);
        }
    }
};

struct AssemblyCase {
    const char* name;
    std::vector<std::string> chunks;  // as the reads deliver them
    std::vector<std::string> lines;   // what reaches the queue
};

class LineAssembly : public ::testing::TestWithParam<AssemblyCase> {};

TEST_P(LineAssembly, CutsTheStreamIntoLines) {
    Collected c;
    c.FeedEach(GetParam().chunks);
    EXPECT_EQ(c.lines, GetParam().lines);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, LineAssembly,
    ::testing::Values(AssemblyCase{"OkSplitBetweenCrAndLf", {"OK\r", "\n"}, {"OK\r\n"}},
                      AssemblyCase{"OkSplitInsideTheText", {"O", "K\r\n"}, {"OK\r\n"}},
                      AssemblyCase{"CrLfAloneGivesNothing", {"\r\n", "\r", "\n"}, {}},
                      AssemblyCase{"BlankLineBeforeAReply", {"\r\nOK\r\n"}, {"OK\r\n"}},
                      AssemblyCase{"LfFirstStaysInTheLine", {"\nA\r\n"}, {"\nA\r\n"}},
                      AssemblyCase{"LoneCrIsAByteOfTheLine", {"A\rB\r\n"}, {"A\rB\r\n"}},
                      AssemblyCase{
                          "EchoWithTwoCrs", {"ATE0\r\r\nOK\r\n"}, {"ATE0\r\r\n", "OK\r\n"}},
                      AssemblyCase{"ManyLinesInOneRead",
                                   {"+X: 1\r\n+X: 2\r\nOK\r\n"},
                                   {"+X: 1\r\n", "+X: 2\r\n", "OK\r\n"}},
                      AssemblyCase{"NoEndYetNoLine", {"OK", "\r"}, {}}),
    [](const ::testing::TestParamInfo<AssemblyCase>& info) { return info.param.name; });

TEST(LineAssemblyLimits, ALineThatJustFitsIsHandedOnWhole) {
    Collected c;
    const std::string line = std::string(LineAssembler::kLineCapacity - 2, 'x') + "\r\n";
    c.FeedBounded(line);
    ASSERT_EQ(c.lines.size(), 1u);
    EXPECT_EQ(c.lines[0], line);

    Collected whole;
    whole.FeedEach({line + line});
    EXPECT_EQ(whole.lines, (std::vector<std::string>{line, line}));
}

struct OverlongCase {
    const char* name;
    std::string overlong;  // a line that cannot fit, with its end
};

class OverlongLine : public ::testing::TestWithParam<OverlongCase> {};

// Whatever the length of the line and wherever its CR LF falls, the line is
// dropped, the buffer is never overrun, and the next line comes through.
TEST_P(OverlongLine, IsDroppedAndTheNextLineComesThrough) {
    Collected c;
    c.FeedBounded(GetParam().overlong);
    EXPECT_TRUE(c.lines.empty());
    c.FeedBounded("OK\r\n");
    EXPECT_EQ(c.lines, std::vector<std::string>{"OK\r\n"});
    EXPECT_EQ(c.assembler.LineLength(), 0u);

    // The same bytes in one read, as a burst from the port brings them.
    Collected whole;
    whole.FeedEach({GetParam().overlong + "OK\r\n"});
    EXPECT_EQ(whole.lines, std::vector<std::string>{"OK\r\n"});
}

constexpr std::size_t kCap = LineAssembler::kLineCapacity;

INSTANTIATE_TEST_SUITE_P(
    Limits, OverlongLine,
    ::testing::Values(
        OverlongCase{"FarTooLong", std::string(20000, 'x') + "\r\n"},
        OverlongCase{"OneByteTooLong", std::string(kCap - 1, 'x') + "\r\n"},
        OverlongCase{"CrLastInBufferThenMore", std::string(kCap - 1, 'x') + "\ry\r\n"},
        OverlongCase{"CrLfRightAfterAFullBuffer", std::string(kCap, 'x') + "\r\r\n"},
        OverlongCase{"LoneLfsInTheDroppedPart", std::string(kCap + 5, 'x') + "\n\n\r\n"}),
    [](const ::testing::TestParamInfo<OverlongCase>& info) { return info.param.name; });

TEST(LineAssemblyReset, DropsTheLineBeingCollected) {
    Collected c;
    c.FeedEach({"PARTIAL"});
    c.assembler.Reset();
    c.FeedEach({"OK\r\n"});
    EXPECT_EQ(c.lines, std::vector<std::string>{"OK\r\n"});
}

TEST(LineAssemblyReset, EndsTheDroppingOfAnOverlongLine) {
    Collected c;
    c.FeedBounded(std::string(kCap + 10, 'x'));
    EXPECT_TRUE(c.assembler.Discarding());
    c.assembler.Reset();
    c.FeedEach({"OK\r\n"});
    EXPECT_EQ(c.lines, std::vector<std::string>{"OK\r\n"});
}

}  // namespace
}  // namespace velk
