#include "response/response_record.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace velk {
namespace {

ATResponseRecord RecordWith(const std::vector<std::string>& values) {
    ATResponseRecord record;
    ATResponseParam* node = &record.firstParam;
    node->text = values.at(0);
    for (std::size_t i = 1; i < values.size(); ++i)
        (node = record.AppendParam(*node))->text = values[i];
    return record;
}

std::vector<std::string> Texts(const ATResponseRecord& record) {
    std::vector<std::string> out;
    for (const ATResponseParam* p = &record.firstParam; p != nullptr; p = p->next) {
        out.push_back(p->text);
    }
    return out;
}

// Under the address sanitizer these also show that no chain is freed twice
// or leaked.
TEST(ATResponseRecord, CopiesOwnTheirChainAndMovesHandItOver) {
    ATResponseRecord original = RecordWith({"1", "3"});
    original.AppendParam(original.firstParam)->text = "2";
    ATResponseRecord copy(original);
    copy.firstParam.next->text = "changed";
    EXPECT_EQ(Texts(original), (std::vector<std::string>{"1", "2", "3"}));

    ATResponseRecord assigned = RecordWith({"x"});
    assigned = original;
    assigned = static_cast<const ATResponseRecord&>(assigned);
    EXPECT_EQ(Texts(assigned), Texts(original));

    const ATResponseParam* chain = original.firstParam.next;
    ATResponseRecord moved(std::move(original));
    EXPECT_EQ(moved.firstParam.next, chain);
    EXPECT_EQ(original.firstParam.next, nullptr);  // NOLINT(bugprone-use-after-move)
    ATResponseRecord target = RecordWith({"old", "old"});
    target = std::move(moved);
    EXPECT_EQ(target.firstParam.next, chain);
    EXPECT_EQ(moved.firstParam.next, nullptr);  // NOLINT(bugprone-use-after-move)

    target.ReleaseParams();
    EXPECT_EQ(target.ParamCount(), 1u);
}

}  // namespace
}  // namespace velk
