#include "gap_stats.h"

#include <gtest/gtest.h>

#include <sstream>

namespace velk::bench {
namespace {

std::optional<std::vector<CommandSpan>> Read(const std::string& text) {
    std::istringstream in(text);
    return ReadCommandSpans(in);
}

TEST(GapStats, PairsEachCommandWithTheReplyThatFollowsIt) {
    const auto spans = Read("C 100\nR 150\nC 170\nC 300\nR 340\n");
    ASSERT_TRUE(spans);
    ASSERT_EQ(spans->size(), 3u);
    EXPECT_EQ((*spans)[0].start, 100);
    EXPECT_EQ((*spans)[0].end, 150);
    EXPECT_FALSE((*spans)[1].end);  // no reply came to it
    EXPECT_EQ((*spans)[2].end, 340);
}

TEST(GapStats, RefusesMalformedFiles) {
    for (const char* text : {"R 5\n", "C 1\nR 2\nR 3\n", "X 1\n", "C\n", "C 1\nR two\n"}) {
        EXPECT_FALSE(Read(text)) << text;
    }
    EXPECT_TRUE(Read(""));
}

TEST(GapStats, GapsRunFromAReplyToTheNextCommandWithinTheRange) {
    const auto spans = Read("C 0\nR 10\nC 13\nR 20\nC 27\nC 40\nR 45\nC 50\nR 60\n");
    ASSERT_TRUE(spans);
    // Command 2 got no reply: no gap after it.
    EXPECT_EQ(GapsBetween(*spans, 0, 5), (std::vector<int64_t>{3, 7, 5}));
    EXPECT_EQ(GapsBetween(*spans, 1, 3), (std::vector<int64_t>{7}));
    // The last command of a range has no gap inside it; a range past the end
    // is cut.
    EXPECT_TRUE(GapsBetween(*spans, 4, 5).empty());
    EXPECT_EQ(GapsBetween(*spans, 3, 99), (std::vector<int64_t>{5}));
    EXPECT_EQ(CyclesBetween(*spans, 0, 3), (std::vector<int64_t>{13, 14}));
}

TEST(GapStats, SummaryTakesLowerMedianNearestRankPercentileAndMaximum) {
    std::vector<int64_t> samples;
    for (int64_t i = 200; i >= 1; --i) samples.push_back(i);
    const Summary summary = Summarise(samples);
    EXPECT_EQ(summary.count, 200u);
    EXPECT_EQ(summary.median, 100);
    EXPECT_EQ(summary.p99, 198);
    EXPECT_EQ(summary.max, 200);

    const Summary one = Summarise({42});
    EXPECT_EQ(one.median, 42);
    EXPECT_EQ(one.p99, 42);
    const Summary none = Summarise({});
    EXPECT_EQ(none.count, 0u);
    EXPECT_EQ(none.max, 0);
}

}  // namespace
}  // namespace velk::bench
