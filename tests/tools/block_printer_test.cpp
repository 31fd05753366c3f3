// The printed forms: every block the library can post has one, each lies
// inside the block, and shared ids find the form that was in force.
#include "velkport/block_printer.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>

#include "engine/command_catalogue.h"
#include "velkport/json_writer.h"

namespace velk::cli {
namespace {

// Ids posted by the decoders that no catalogue entry lists: the end forms,
// the commands without a text of their own, and every unsolicited form.
constexpr int32_t kIdsBesideTheCatalogue[] = {
    1,   2,   3,   101, 107, 108, 109, 110, 111, 112, 113, 117, 118, 132,  // solicited
    9,   11,  55,  56,  57,  59,  75,  79,  84,  99,  100, 102, 104, 120,  // unsolicited
    122, 123, 124, 137, 139, 187, 188, 189, 235,
};

TEST(PrintedForms, EveryPostedIdHasAForm) {
    std::set<int32_t> ids(std::begin(kIdsBesideTheCatalogue), std::end(kIdsBesideTheCatalogue));
    for (const CatalogueEntry& entry : CatalogueEntries()) {
        for (int32_t id : CatalogueResults(entry.id)) ids.insert(id);
    }
    for (int32_t id : ids) {
        for (uint32_t readForm : {0u, 1u}) {
            for (std::string_view head : {"+CMT", "+CMS ERROR"}) {
                EXPECT_NE(FindPrintedForm(id, FormChoice{readForm, head}), nullptr)
                    << "result id " << id;
            }
        }
    }
}

void ExpectFieldsInOrderInside(const PrintedForm& form) {
    std::size_t end = 0;
    for (const PrintedField& field : form.fields) {
        const std::size_t width = field.type == PrintedType::kInt32   ? sizeof(int32_t)
                                  : field.type == PrintedType::kByte  ? 1
                                  : field.type == PrintedType::kWords ? sizeof(WordList*)
                                                                      : field.size;
        EXPECT_GE(field.offset, end) << form.name << "." << field.name;
        EXPECT_EQ(field.size, width) << form.name << "." << field.name;
        end = field.offset + width;
    }
    EXPECT_LE(end, sizeof(ResultForms)) << form.name;
}

TEST(PrintedForms, FieldsFollowEachOtherInsideTheBlock) {
    for (const PrintedForm& form : ResultFormTable()) ExpectFieldsInOrderInside(form);
    for (const PrintedForm& form : ReportFormTable()) ExpectFieldsInOrderInside(form);
}

struct ChoiceRow {
    int32_t resultId;
    FormChoice choice;
    std::string_view form;
    std::string_view secondField;
};

const ChoiceRow kChoiceRows[] = {
    {62, {0, ""}, "ResultMessageHeader", "originator"},
    {62, {1, ""}, "ResultMessageHeader", "destination"},
    {231, {1, ""}, "ResultMessageBody", "destination"},
    {57, {0, "+CMT"}, "ReportMessageHeader", "alpha"},
    {57, {0, "+CMS ERROR"}, "ReportBroadcastHeader", "messageId"},
};

TEST(PrintedForms, SharedIdsFollowWhatWasInForce) {
    for (const ChoiceRow& row : kChoiceRows) {
        const PrintedForm* form = FindPrintedForm(row.resultId, row.choice);
        ASSERT_NE(form, nullptr) << row.resultId;
        EXPECT_EQ(form->name, row.form);
        ASSERT_GE(form->fields.size(), 2u);
        EXPECT_EQ(form->fields[1].name, row.secondField) << row.form;
    }
}

TEST(BlockToJson, UnnamedFieldsOfMixedTypesShareOneArray) {
    ATCommandBlock block{};
    block.resultId = 125;
    ResultMixedLine& line = block.result.mixedLine;
    line.leading[0] = 1;
    line.leading[2] = 65535;
    std::memcpy(line.text, "a\"b\x01", 4);
    line.trailing[5] = 9;
    EXPECT_EQ(
        BlockToJson(block, {}),
        R"({"resultId":125,"form":"ResultMixedLine","values":[1,0,65535,"a\"b\u0001",0,0,0,0,0,9]})");
}

TEST(BlockToJson, ATextWithoutTerminatorEndsAtItsField) {
    ATCommandBlock block{};
    block.resultId = 162;
    std::memset(block.result.logoPart.countryCode, '4', sizeof block.result.logoPart.countryCode);
    std::memcpy(block.result.logoPart.networkCode, "01", 2);
    const std::string json = BlockToJson(block, {});
    EXPECT_NE(json.find(R"("countryCode":"4444444444","networkCode":"01","logoType":0)"),
              std::string::npos)
        << json;
}

TEST(BlockToJson, AnIdWithoutAFormPrintsItsIdAlone) {
    ATCommandBlock block{};
    block.resultId = 999;
    EXPECT_EQ(BlockToJson(block, {}), R"({"resultId":999})");
}

struct EscapeRow {
    std::string bytes;
    std::string json;
};

const EscapeRow kEscapeRows[] = {
    {"plain", R"("plain")"},
    {"\"\\/", R"("\"\\/")"},
    {"\b\f\n\r\t", R"("\b\f\n\r\t")"},
    {std::string("\x00\x1f", 2), R"("\u0000\u001f")"},
    {"\x7f", "\"\x7f\""},
    {"\x80\xe9\xff", R"("\u0080\u00e9\u00ff")"},
};

TEST(JsonWriter, EscapesControlBytesAndBytesAbove127) {
    for (const EscapeRow& row : kEscapeRows) {
        std::string out;
        AppendJsonString(out, row.bytes);
        EXPECT_EQ(out, row.json);
    }
}

TEST(JsonWriter, SeparatesMembersAndNestedValues) {
    JsonWriter json;
    json.BeginObject().Key("a").Number(-1).Key("b").BeginArray();
    json.EndArray().Key("c").BeginArray().Number(1).String("x").EndArray().EndObject();
    EXPECT_EQ(json.Text(), R"({"a":-1,"b":[],"c":[1,"x"]})");
}

}  // namespace
}  // namespace velk::cli
