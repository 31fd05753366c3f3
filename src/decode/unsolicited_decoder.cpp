#include "decode/unsolicited_decoder.h"

#include <string_view>

#include "decode/field_walk.h"
#include "decode/result_form_table.h"
#include "engine/command_block.h"
#include "engine/thread_ids.h"

namespace velk {
namespace {

// The form of each head is found in the table of result forms by its id.
struct UnsolicitedHead {
    std::string_view head;
    int32_t resultId;
    // A raw line that comes with this head is the body of a message.
    int32_t bodyId = 0;
    FormVariant variant = FormVariant::kOnly;
};

// Searched in this order; the first equal head wins. The two error heads
// stand in the places of the broadcast forms.
constexpr UnsolicitedHead kHeads[] = {
    {"+CBC", 11},
    {"+CSQ", 9},
    {"+CPIN", 84},
    {"+CNMI", 55},
    {"+CMTI", 56},
    {"+CMT", 57, 235, FormVariant::kMessageReport},
    {"+CRING", 99},
    {"RING", 187},
    {"+CCWA", 100},
    {"+CLCC", 79},
    {"CONNECT", 188},
    {"NO CARRIER", 102},
    {"+EXAUDIO", 104},
    {"+CAOC", 137},
    {"+EXCPWD", 189},
    {"+EXACCRP", 120},
    {"+CCLK", 122},
    {"+CALA", 123},
    {"+EXHTRP", 139},
    {"+EXCHRST", 124},
    {"+CREG", 75},
    {"+CME ERROR", 59},
    {"+CMS ERROR", 57, 0, FormVariant::kBroadcastReport},
};

// The fields a line with this head fills: a raw line those of the body form.
FieldList HeadFields(const UnsolicitedHead& row, bool body) {
    const ResultForm* form =
        body ? FindResultForm(row.bodyId) : FindResultForm(row.resultId, row.variant);
    return form != nullptr ? LineFields(*form) : FieldList{};
}

}  // namespace

ResultBlockPtr DecodeUnsolicitedResult(std::string_view head, const ATResponseRecord& line) {
    const UnsolicitedHead* found = nullptr;
    for (const UnsolicitedHead& row : kHeads) {
        if (row.head == head) {
            found = &row;
            break;
        }
    }
    if (found == nullptr) return nullptr;
    ResultBlockPtr block(AllocCommandBlock());
    if (!block) return block;

    bool body = found->bodyId != 0 && line.firstParam.rawLine == 1;
    block->resultId = body ? found->bodyId : found->resultId;
    // No form of a report holds an image parameter: nothing here gives an error.
    ResultBlockPtr error;
    WalkFields(*block, &line.firstParam, HeadFields(*found, body), error);
    return block;
}

}  // namespace velk
