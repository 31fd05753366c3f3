#include "response/response_record.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace velk {
namespace {

ATResponseRecord RecordWith(const std::vector<std::string>& values) {
    ATResponseRecord record;
    record.text = "line";
    ATResponseParam* node = &record.firstParam;
    node->text = values.at(0);
    for (std::size_t i = 1; i < values.size(); ++i) {
        node = record.AppendParam(*node);
        node->text = values[i];
    }
    return record;
}

std::vector<std::string> Texts(const ATResponseRecord& record) {
    std::vector<std::string> out;
    for (const ATResponseParam* p = &record.firstParam; p != nullptr; p = p->next) {
        out.push_back(p->text);
    }
    return out;
}

// Run under the address sanitizer, these also prove that no chain is freed
// twice or leaked.
TEST(ATResponseRecord, CopyHasItsOwnChain) {
    ATResponseRecord original = RecordWith({"1", "2", "3"});
    ATResponseRecord copy(original);
    EXPECT_EQ(Texts(copy), Texts(original));
    EXPECT_NE(copy.firstParam.next, original.firstParam.next);
    copy.firstParam.next->text = "changed";
    EXPECT_EQ(original.firstParam.next->text, "2");

    ATResponseRecord assigned = RecordWith({"x"});
    assigned = original;
    EXPECT_EQ(Texts(assigned), (std::vector<std::string>{"1", "2", "3"}));
    assigned = static_cast<const ATResponseRecord&>(assigned);
    EXPECT_EQ(assigned.ParamCount(), 3u);
}

TEST(ATResponseRecord, MoveHandsTheChainOver) {
    ATResponseRecord original = RecordWith({"a", "b"});
    const ATResponseParam* chain = original.firstParam.next;
    ATResponseRecord moved(std::move(original));
    EXPECT_EQ(moved.firstParam.next, chain);
    EXPECT_EQ(original.firstParam.next, nullptr);  // NOLINT(bugprone-use-after-move)

    ATResponseRecord target = RecordWith({"old", "old"});
    target = std::move(moved);
    EXPECT_EQ(Texts(target), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(moved.firstParam.next, nullptr);  // NOLINT(bugprone-use-after-move)
}

TEST(ATResponseRecord, AppendInsertsBehindTheGivenNode) {
    ATResponseRecord record = RecordWith({"1", "3"});
    record.AppendParam(record.firstParam)->text = "2";
    EXPECT_EQ(Texts(record), (std::vector<std::string>{"1", "2", "3"}));
    record.ReleaseParams();
    EXPECT_EQ(record.ParamCount(), 1u);
}

}  // namespace
}  // namespace velk
