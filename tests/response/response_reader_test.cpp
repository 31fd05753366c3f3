#include "response/response_reader.h"

#include <gtest/gtest.h>

#include <deque>
#include <string>
#include <tuple>
#include <vector>

#include "response/response_record.h"

namespace velk {
namespace {

using namespace std::string_literals;

// Lines as the receive queue holds them in, lines as the matcher gets them
// out: a line of no more than its line end is passed over, a zero byte ends
// the text; the prompt, two bytes without line end, comes through.
TEST(ResponseReader, TakesEveryLineCutAtItsFirstZeroByte) {
    std::deque<std::string> queued = {
        "\r\n"s, "+CSQ: 18\0,99\r\n"s, "\n"s, "\0OK\r\n"s, "\0\0"s, "OK\r\n"s, "ab"s, "> "s};
    CATResponseReader reader(ReaderLink{[&queued](std::string& line) {
                                            if (queued.empty()) return false;
                                            line.swap(queued.front());
                                            queued.pop_front();
                                            return true;
                                        },
                                        nullptr, nullptr, nullptr});
    std::vector<std::string> taken;
    for (std::string line; reader.TakeLine(line);) taken.push_back(line);
    EXPECT_EQ(taken, (std::vector<std::string>{"+CSQ: 18", "", "OK\r\n", "> "}));
    EXPECT_TRUE(queued.empty());
    EXPECT_EQ(reader.SendCommand(taken[0]), 1) << "a link that sends nothing";
}

// Released nodes serve the thread's next lines: one must come back with
// nothing of the line it held.
TEST(ATResponseRecord, ANodeTakenAgainStartsReset) {
    {
        ATResponseRecord used;
        ATResponseParam* node = used.AppendParam(used.firstParam);
        *node = {1, 0, 1, 3, "stale", 7, 4, nullptr};
    }
    ATResponseRecord fresh;
    const ATResponseParam& node = *fresh.AppendParam(fresh.firstParam);
    const ATResponseParam reset;
    EXPECT_EQ(std::tie(node.omitted, node.legal, node.rawLine, node.type, node.text, node.start,
                       node.lastIndex, node.next),
              std::tie(reset.omitted, reset.legal, reset.rawLine, reset.type, reset.text,
                       reset.start, reset.lastIndex, reset.next));
}

}  // namespace
}  // namespace velk
