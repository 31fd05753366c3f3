#include "serial/line_assembler.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace velk {
namespace {

using Lines = std::vector<std::string>;
constexpr std::size_t kCap = LineAssembler::kLineCapacity;

struct Collected {
    Lines lines;
    LineAssembler assembler{
        [this](const char* line, uint32_t length) { lines.emplace_back(line, length); }};

    void Feed(const std::string& bytes) { assembler.Feed(bytes.data(), bytes.size()); }
    // Byte by byte, checking the bound after every byte.
    void FeedBounded(const std::string& bytes) {
        for (char c : bytes) {
            assembler.Feed(&c, 1);
            ASSERT_LE(assembler.LineLength(), kCap);
        }
    }
};

const std::string kFits = std::string(kCap - 2, 'x') + "\r\n";

// The stream as the reads deliver it, and the lines that reach the queue. A
// line that cannot fit is dropped, wherever its CR LF falls, and the next
// line comes through. While a prompt is awaited, the first "> " at the start
// of a line is handed on as it is; any other "> " starts a line.
const struct {
    Lines chunks;
    Lines lines;
    bool promptAwaited = false;
} kStreams[] = {
    {{"OK\r", "\n"}, {"OK\r\n"}},
    {{"O", "K\r\n"}, {"OK\r\n"}},
    {{"\r\n", "\r", "\n"}, {}},
    {{"\r\nOK\r\n"}, {"OK\r\n"}},
    {{"\nA\r\n"}, {"\nA\r\n"}},
    {{"A\rB\r\n"}, {"A\rB\r\n"}},
    {{"ATE0\r\r\nOK\r\n"}, {"ATE0\r\r\n", "OK\r\n"}},
    {{"+X: 1\r\n+X: 2\r\nOK\r\n"}, {"+X: 1\r\n", "+X: 2\r\n", "OK\r\n"}},
    {{"OK", "\r"}, {}},
    {{kFits, kFits}, {kFits, kFits}},
    {{std::string(20000, 'x') + "\r\n", "OK\r\n"}, {"OK\r\n"}},
    {{std::string(kCap - 1, 'x') + "\r\n", "OK\r\n"}, {"OK\r\n"}},
    {{std::string(kCap - 1, 'x') + "\ry\r\n", "OK\r\n"}, {"OK\r\n"}},
    {{std::string(kCap, 'x') + "\r\r\n", "OK\r\n"}, {"OK\r\n"}},
    {{std::string(kCap + 5, 'x') + "\n\n\r\n", "OK\r\n"}, {"OK\r\n"}},
    {{"AT+CMGS=\"1\"\r\n\r\n> "}, {"AT+CMGS=\"1\"\r\n", "> "}, true},
    {{"\r\n>", " ", "> x\r\n"}, {"> ", "> x\r\n"}, true},
    {{"x> \r\n", ">> ", "\r\n> "}, {"x> \r\n", ">> \r\n", "> "}, true},
    {{"\r\n> ", "OK\r\n"}, {"> OK\r\n"}},
};

TEST(LineAssembler, CutsTheStreamIntoLinesHoweverItIsRead) {
    for (const auto& stream : kStreams) {
        std::string all;
        for (const std::string& chunk : stream.chunks) all += chunk;
        SCOPED_TRACE(::testing::PrintToString(all.substr(0, 40)));
        Collected asRead, byByte, inOne;
        for (Collected* c : {&asRead, &byByte, &inOne})
            c->assembler.AwaitPrompt(stream.promptAwaited);
        for (const std::string& chunk : stream.chunks) asRead.Feed(chunk);
        byByte.FeedBounded(all);
        inOne.Feed(all);
        EXPECT_EQ(asRead.lines, stream.lines);
        EXPECT_EQ(byByte.lines, stream.lines);
        EXPECT_EQ(inOne.lines, stream.lines);
    }
}

TEST(LineAssembler, ResetDropsThePartialLineAndEndsTheDropping) {
    Collected c;
    c.Feed("PARTIAL");
    c.assembler.Reset();
    c.Feed("OK\r\n");
    c.FeedBounded(std::string(kCap + 10, 'x'));
    EXPECT_TRUE(c.assembler.Discarding());
    c.assembler.Reset();
    c.Feed("OK\r\n");
    EXPECT_EQ(c.lines, (Lines{"OK\r\n", "OK\r\n"}));
}

}  // namespace
}  // namespace velk
