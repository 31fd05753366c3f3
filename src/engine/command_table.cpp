// Adding a command whose request form, reply heads and result form already
// exist is one row in kCommandTable below.
#include "engine/command_table.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "engine/message_numbers.h"

namespace velk {

namespace {

using enum RequestForm;
using enum ReplyHeads;

constexpr DecodeCase Fields(int32_t resultId) {
    return {DecodeStyle::kFields, resultId};
}
constexpr DecodeCase Part(int32_t resultId) {
    return {DecodeStyle::kPart, resultId};
}
constexpr DecodeCase Special(DecodeStyle style) {
    return {style, 0};
}
constexpr bool kBodyAfterPrompt = true;

// Several ids share "AT+CMGR=": they differ in their parameters and in how the
// reply is decoded, which goes by the command id, not by the text.
// "AT+ LOGOW=" has a blank after the plus sign: that is what the phone takes.
// The rows without a text keep their decoder case; sent, they are a bare line
// end.
// clang-format off
constexpr CommandRow kCommandTable[] = {
    {13,  "AT+CPBR=",   kPhonebookRead,     Fields(14)},
    {16,  "AT+CPBS=",   kPhonebookStorage},
    {18,  "AT+CPBF=",   kPhonebookFind,     Fields(19)},
    {21,  "AT+CPBW=",   kPhonebookWrite},
    {23,  "AT+CPBD=",   kPhonebookDelete},
    {24,  "AT+CSMS=",   kMessageService,    Fields(25)},
    {28,  "AT+CPMS=",   kMessageMemories,   Fields(29)},
    {32,  "AT+CSCB=",   kBroadcastSelect},
    {35,  "AT+CSAS",    kProfile},
    {37,  "AT+CRES",    kProfile},
    {39,  "AT+CMGC=",   kMessageCommand,    Fields(40)},
    {41,  "AT+CMGF=",   kOptionalMode},
    {45,  "AT+CSCA=",   kAddress},
    {47,  "AT+CSMP=",   kMessageParameters},
    {49,  "AT+CSDH=",   kShowHeader},
    {52,  "AT+CNMI=",   kIndications},
    {61,  "AT+CMGR=",   kIndex,             Special(DecodeStyle::kMessageRead)},
    {65,  "AT+CMGS=",   kAddress,           Fields(66),  kOwnHead,  kBodyAfterPrompt},
    {67,  "AT+CMSS=",   kStoredSend,        Fields(68)},
    {69,  "AT+CMGW=",   kMessageWrite,      Fields(70),  kOwnHead,  kBodyAfterPrompt},
    {71,  "AT+CMGD=",   kIndex},
    {72,  "AT+CREG=",   kMode},
    {76,  "AT+COPS=",   kOperator,          Fields(4)},
    {82,  "AT+CPIN=",   kPin},
    {85,  "AT+CACM=",   kMeterReset},
    {87,  "AT+CAMM=",   kMeterMaximum},
    {89,  "AT+CPUC=",   kPricePerUnit},
    {91,  "AT+CSCS=",   kCharacterSet},
    {94,  "AT+CMGL",    kMessageList,       Special(DecodeStyle::kMessageList)},
    {117, nullptr,      kBare,              Fields(117)},
    {118, nullptr,      kBare,              Fields(118)},
    {119, "AT+CMGR=",   kValue},
    {131, nullptr,      kBare,              Fields(132)},
    {133, "AT+CMGR=",   kValue},
    {134, "AT+CMGR=",   kTextValue},
    {135, "AT+CMGR=",   kValue,             Fields(136)},
    {138, "AT+CMGR=",   kValue},
    {140, "AT+CPMS=",   kMemory},
    {141, "AT+CMGR=",   kTwoTextValues,     Fields(105)},
    {142, nullptr,      kBare,              Special(DecodeStyle::kServiceReply)},
    {143, "AT+CMGR=",   kTenValues},
    {144, "AT+CMGR=",   kValuePair},
    {145, "AT+CMGR=",   kValue},
    {146, "AT+CNMI=",   kThreeIndications},
    {147, "AT+CMGR=",   kValueText},
    {148, "AT+CMGR=",   kValue},
    {149, "AT+CMGR=",   kValue},
    {150, "AT+CMGR=",   kTextValue},
    {152, "AT+RNGR=",   kSlot,              Part(153),   kDataRead},
    {154, "AT+RNGW=",   kToneChunk},
    {155, "AT+RNGP=",   kPlayChunk},
    {157, "AT+IMGR=",   kSlot,              Part(158),   kDataRead},
    {159, "AT+IMGW=",   kImageChunk},
    {161, "AT+LOGOR=",  kSlot,              Part(162),   kDataRead},
    {163, "AT+ LOGOW=", kLogoChunk},
    {164, "ATZ",        kBare},
    {165, "ATV1E0",     kBare},
    {166, "AT+CBC",     kBare,              Fields(11)},
    {167, "AT+CGMI",    kBare,              Fields(5)},
    {168, "AT+CGMM",    kBare,              Fields(6)},
    {169, "AT+CGMR",    kBare,              Fields(7)},
    {170, "AT+CGSN",    kBare,              Fields(8)},
    {172, "AT+CSDH=?",  kBare,              Fields(51)},
    {173, "AT+CNUM",    kBare,              Fields(80)},
    {174, "AT+CIMI",    kBare,              Fields(81)},
    {175, "AT+CPIN?",   kBare,              Fields(83),  kFixedHead},
    {176, "AT+CACM?",   kBare,              Fields(86)},
    {177, "AT+CAMM?",   kBare,              Fields(88)},
    {178, "AT+CPUC?",   kBare,              Fields(90)},
    {179, "AT+CSCS?",   kBare,              Fields(92)},
    {180, "AT+CSCS=?",  kBare,              Fields(93)},
    {181, "AT+CREG?",   kBare,              Fields(73)},
    {182, "AT+CREG=?",  kBare},
    {183, "AT+CSQ",     kBare,              Fields(9)},
    {184, "AT+CSQ=?",   kBare},
    {185, "AT+COPS?",   kBare,              Fields(77)},
    {186, "AT+COPS=?",  kBare,              Fields(78)},
    {190, "AT+CMGR=",   kBare,              Fields(98)},
    {191, "AT+CMGR=",   kBare},
    {192, "AT+CMGR=",   kBare},
    {194, "AT+CMGR=",   kBare},
    {195, "AT+CMGR=",   kBare,              Fields(114)},
    {196, "AT+CMGR=",   kBare,              Fields(115)},
    {197, "AT+CMGR=",   kBare},
    {198, "AT+CMGR=",   kBare},
    {199, "AT+CMGR=",   kBare,              Fields(106)},
    {200, "AT+CMGR=",   kBare},
    {201, "AT+CMGR=",   kBare},
    {202, "AT+CMGR=",   kBare,              Fields(121)},
    {203, "AT+CMGR=",   kBare,              Fields(125)},
    {204, "AT+CMGR=",   kBare,              Fields(103)},
    {205, "AT+CMGR=",   kBare,              Fields(126)},
    {206, "AT+CMGR=",   kBare,              Fields(116)},
    {207, "AT+CPBS?",   kBare,              Fields(17)},
    {208, "AT+CPBS=?",  kBare,              Fields(15)},
    {209, "AT+CPBR=?",  kBare,              Fields(12)},
    {210, "AT+CPBF=?",  kBare,              Fields(20)},
    {211, "AT+CPBW=?",  kBare,              Fields(22)},
    {212, "AT+CSMS?",   kBare,              Fields(26)},
    {213, "AT+CSMS=?",  kBare,              Fields(27)},
    {214, "AT+CMGF?",   kBare,              Fields(42)},
    {215, "AT+CMGF=?",  kBare,              Fields(43)},
    {216, "AT+CSCA?",   kBare,              Fields(46)},
    {217, "AT+CSMP?",   kBare,              Fields(48)},
    {218, "AT+CSDH?",   kBare,              Fields(50)},
    {219, "AT+CNMI?",   kBare,              Fields(53)},
    {220, "AT+CNMI=?",  kBare,              Fields(54)},
    {221, "AT+CPMS?",   kBare,              Fields(30)},
    {222, "AT+CPMS=?",  kBare,              Fields(31)},
    {223, "AT+CSCB?",   kBare,              Fields(33)},
    {224, "AT+CSCB=?",  kBare,              Fields(34)},
    {225, "AT+CSAS=?",  kBare,              Fields(36)},
    {226, nullptr,      kBare,              Fields(38)},
    {228, "AT+CMGL=?",  kBare,              Fields(95)},
    {236, "AT+RNGI",    kBare,              Fields(151), kFixedHead},
    {237, "AT+IMGINF",  kBare,              Fields(156), kFixedHead},
    {238, "AT+LOGOINF", kBare,              Fields(160), kFixedHead},
    {239, "AT",         kBare,              {},          kOpening},
    {240, "ATE0",       kBare,              {},          kOpening},
    {241, "ATE1",       kBare},
};
// clang-format on

constexpr const CommandRow* RowOf(int32_t id) {
    for (const CommandRow& row : kCommandTable) {
        if (row.id == id) return &row;
    }
    return nullptr;
}

// FindCommandRow searches by halves, which needs the ids in order.
constexpr bool IdsAscendWithinRange() {
    int32_t previous = kFirstCommandId - 1;
    for (const CommandRow& row : kCommandTable) {
        if (row.id <= previous || row.id > kLastCommandId) return false;
        previous = row.id;
    }
    return true;
}
static_assert(IdsAscendWithinRange(), "command ids must ascend within the command range");

// The matcher compares the whole command text with a fixed-head query or an
// opening, so those take no parameters; a row without a text has nothing for
// a parameter to follow. A chunk read is the only reply read as a part. The
// body of a command sits behind the parameters of AT+CMGS= or AT+CMGW=, and
// its reply is read like any other: it has its own head.
constexpr bool RowsAgree() {
    for (const CommandRow& row : kCommandTable) {
        const bool wholeText = row.heads == kFixedHead || row.heads == kOpening;
        if ((wholeText || row.text == nullptr) && row.form != kBare) return false;
        if (row.text == nullptr && row.heads != kOwnHead) return false;
        if ((row.heads == kDataRead) != (row.decode.style == DecodeStyle::kPart)) return false;
        const bool hasResult =
            row.decode.style == DecodeStyle::kFields || row.decode.style == DecodeStyle::kPart;
        if (hasResult != (row.decode.resultId != 0)) return false;
        if (row.bodyAfterPrompt &&
            ((row.form != kAddress && row.form != kMessageWrite) || row.heads != kOwnHead)) {
            return false;
        }
    }
    return true;
}
static_assert(RowsAgree(), "a row's form, reply heads and decoder case contradict each other");

// The ids the transfers send and the results they act on are named in
// message_numbers.h; they must name these rows.
constexpr bool Sends(int32_t id, std::string_view text) {
    const CommandRow* row = RowOf(id);
    return row != nullptr && row->text != nullptr && text == row->text;
}
// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): a command, then its result
constexpr bool Gives(int32_t id, int32_t resultId) {
    const CommandRow* row = RowOf(id);
    return row != nullptr && row->decode.resultId == resultId;
}
static_assert(Sends(kCmdToneRead, "AT+RNGR=") && Gives(kCmdToneRead, kResultTonePart));
static_assert(Sends(kCmdToneWrite, "AT+RNGW="));
static_assert(Sends(kCmdImageRead, "AT+IMGR=") && Gives(kCmdImageRead, kResultImagePart));
static_assert(Sends(kCmdImageWrite, "AT+IMGW="));
static_assert(Sends(kCmdToneInfo, "AT+RNGI") && Gives(kCmdToneInfo, kResultToneInfo));
static_assert(Sends(kCmdImageInfo, "AT+IMGINF") && Gives(kCmdImageInfo, kResultImageInfo));
static_assert(Sends(kCmdAttention, "AT") && RowOf(kCmdAttention)->heads == kOpening);
static_assert(Sends(kCmdEchoOff, "ATE0") && RowOf(kCmdEchoOff)->heads == kOpening);

}  // namespace

std::span<const CommandRow> CommandRows() {
    return kCommandTable;
}

const CommandRow* FindCommandRow(int32_t id) {
    const auto* found =
        std::lower_bound(std::begin(kCommandTable), std::end(kCommandTable), id,
                         [](const CommandRow& row, int32_t wanted) { return row.id < wanted; });
    if (found == std::end(kCommandTable) || found->id != id) return nullptr;
    return found;
}

bool SendsBodyAfterPrompt(int32_t id) {
    const CommandRow* row = FindCommandRow(id);
    return row != nullptr && row->bodyAfterPrompt;
}

ReplyHeads HeadsOf(int32_t id, std::string_view sentText) {
    if (sentText.empty()) return ReplyHeads::kOwnHead;
    const CommandRow* row = FindCommandRow(id);
    return row != nullptr ? row->heads : ReplyHeads::kOwnHead;
}

}  // namespace velk
