// Result blocks printed as JSON, for what the corpus of real replies does not
// reach: the byte forms of tones and images, unnamed values, full names,
// the ids two forms share, an id without a form, and every kind of escape.
#include "decode/result_json.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>

#include "decode/json_string.h"
#include "decode/result_form_table.h"

namespace velk {
namespace {

struct PrintRow {
    int32_t resultId;
    std::function<void(ResultForms&)> fill;
    FormChoice choice;
    std::string json;  // the whole line, or its start when it ends in "..."
};

std::string Printed(const PrintRow& row) {
    ATCommandBlock block{};
    block.resultId = row.resultId;
    if (row.fill) row.fill(block.result);
    return ResultBlockToJson(block, row.choice);
}

TEST(ResultJson, PrintsEveryKindOfFieldInBlockOrder) {
    WordList frames{3, 1};
    // clang-format off
    const PrintRow rows[] = {
        // The name's length byte stands where the block has it, not behind the name.
        {151, [](ResultForms& r) { r.toneInfo = {"Ring", 1, 2, 4, 3}; }, {},
         R"({"resultId":151,"form":"ResultToneInfo","infoName":"Ring","infoNumber1":1,)"
         R"("infoNumber2":2,"nameLength":4,"infoNumber3":3})"},
        {156, [&](ResultForms& r) { r.imageInfo.frameRanges = &frames; }, {},
         R"({"resultId":156,"form":"ResultImageInfo","infoName":"","nameLength":0,"infoNumber1":0,)"
         R"("infoNumber2":0,"infoNumber3":0,"infoNumber4":0,"infoNumber5":0,"frameRanges":[3,1]})"},
        // A full name has no terminator and ends at its field.
        {162, [](ResultForms& r) {
             std::memset(r.logoPart.countryCode, '4', sizeof r.logoPart.countryCode);
             std::memcpy(r.logoPart.networkCode, "01", 2); }, {},
         R"({"resultId":162,"form":"ResultLogoPart","index":0,"countryCode":"4444444444",)"
         R"("networkCode":"01","logoType":0,...)"},
        {125, [](ResultForms& r) {
             r.mixedLine.leading[0] = 1;
             r.mixedLine.leading[2] = 65535;
             std::memcpy(r.mixedLine.text, "a\"b\x01", 4);
             r.mixedLine.trailing[5] = 9; }, {},
         R"({"resultId":125,"form":"ResultMixedLine","values":[1,0,65535,"a\"b\u0001",0,0,0,0,0,9]})"},
        {112, nullptr, {}, R"({"resultId":112,"form":"ResultServiceDetail","status":0,"class":0,...)"},
        {187, nullptr, {}, R"({"resultId":187,"form":"ReportRing"})"},
        {999, nullptr, {}, R"({"resultId":999})"},
        // The ids two forms share print the form that was in force.
        {62, nullptr, {0, ""}, R"({"resultId":62,"form":"ResultMessageHeader","state":"","originator":...)"},
        {62, nullptr, {1, ""}, R"({"resultId":62,"form":"ResultMessageHeader","state":"","destination":...)"},
        {231, nullptr, {1, ""}, R"({"resultId":231,"form":"ResultMessageBody","state":"","destination":...)"},
        {57, nullptr, {0, "+CMT"}, R"({"resultId":57,"form":"ReportMessageHeader","originator":...)"},
        {57, nullptr, {0, "+CMS ERROR"}, R"({"resultId":57,"form":"ReportBroadcastHeader","serial":...)"},
    };
    // clang-format on
    for (const PrintRow& row : rows) {
        const std::string json = Printed(row);
        if (row.json.ends_with("...")) {
            EXPECT_EQ(json.substr(0, row.json.size() - 3), row.json.substr(0, row.json.size() - 3));
        } else {
            EXPECT_EQ(json, row.json);
        }
    }
    EXPECT_TRUE(Printed({156, nullptr, {}, ""}).ends_with(R"("frameRanges":[]})"));
}

// A header line fills every field but the body; the body line the body alone.
TEST(ResultFormTable, MessageBodyComesOnlyFromItsOwnLine) {
    struct Row {
        int32_t header;
        FormVariant headerVariant;
        int32_t body;
        FormVariant bodyVariant;
    };
    const Row rows[] = {
        {62, FormVariant::kSubmit, 231, FormVariant::kSubmit},
        {96, FormVariant::kOnly, 229, FormVariant::kOnly},
        {57, FormVariant::kMessageReport, 235, FormVariant::kOnly},
    };
    for (const Row& row : rows) {
        const ResultForm* header = FindResultForm(row.header, row.headerVariant);
        const ResultForm* body = FindResultForm(row.body, row.bodyVariant);
        ASSERT_TRUE(header && body) << row.header;
        EXPECT_EQ(LineFields(*header).size() + 1, header->fields.size()) << row.header;
        ASSERT_EQ(LineFields(*body).size(), 1u) << row.body;
        EXPECT_EQ(LineFields(*body)[0].name, "body") << row.body;
    }
}

TEST(JsonString, EscapesControlBytesAndBytesAbove127) {
    const std::pair<std::string, std::string> rows[] = {
        {"plain", R"("plain")"},
        {"\"\\/", R"("\"\\/")"},
        {"\b\f\n\r\t", R"("\b\f\n\r\t")"},
        {std::string("\x00\x1f", 2), R"("\u0000\u001f")"},
        {"\x7f", "\"\x7f\""},
        {"\x80\xe9\xff", R"("\u0080\u00e9\u00ff")"},
    };
    for (const auto& [bytes, json] : rows) {
        std::string out;
        AppendJsonString(out, bytes);
        EXPECT_EQ(out, json);
    }
}

}  // namespace
}  // namespace velk
