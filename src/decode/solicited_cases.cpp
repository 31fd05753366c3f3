#include "decode/solicited_cases.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace velk {
namespace {

enum class CaseStyle : uint8_t {
    kFields,        // one form, its fields in reply order
    kMessageRead,   // the +CMGR forms
    kMessageList,   // the +CMGL forms
    kServiceReply,  // the service-line forms
    kPart,          // a tone, image or logo part
};

// The form of a case's result id is found in the table of result forms; the
// special cases choose their result id by the selectors and the line.
struct SolicitedCase {
    int32_t commandId;
    int32_t resultId;
    CaseStyle style;
};

constexpr SolicitedCase Fields(int32_t id, int32_t result) {
    return {id, result, CaseStyle::kFields};
}
constexpr SolicitedCase Special(int32_t id, CaseStyle style) {
    return {id, 0, style};
}
constexpr SolicitedCase Part(int32_t id, int32_t result) {
    return {id, result, CaseStyle::kPart};
}

// Sorted by command id. Commands whose reply is "OK" alone have no case.
constexpr SolicitedCase kCases[] = {
    Fields(13, 14),                          // AT+CPBR=
    Fields(18, 19),                          // AT+CPBF=
    Fields(24, 25),                          // AT+CSMS=
    Fields(28, 29),                          // AT+CPMS=
    Fields(39, 40),                          // AT+CMGC=
    Special(61, CaseStyle::kMessageRead),    // AT+CMGR=
    Fields(65, 66),                          // AT+CMGS=
    Fields(67, 68),                          // AT+CMSS=
    Fields(69, 70),                          // AT+CMGW=
    Fields(76, 4),                           // AT+COPS=
    Special(94, CaseStyle::kMessageList),    // AT+CMGL
    Fields(117, 117),                        //
    Fields(118, 118),                        //
    Fields(131, 132),                        //
    Fields(135, 136),                        //
    Fields(141, 105),                        //
    Special(142, CaseStyle::kServiceReply),  //
    Part(152, 153),                          // AT+RNGR=
    Part(157, 158),                          // AT+IMGR=
    Part(161, 162),                          // AT+LOGOR=
    Fields(166, 11),                         // AT+CBC
    Fields(167, 5),                          // AT+CGMI
    Fields(168, 6),                          // AT+CGMM
    Fields(169, 7),                          // AT+CGMR
    Fields(170, 8),                          // AT+CGSN
    Fields(172, 51),                         // AT+CSDH=?
    Fields(173, 80),                         // AT+CNUM
    Fields(174, 81),                         // AT+CIMI
    Fields(175, 83),                         // AT+CPIN?
    Fields(176, 86),                         // AT+CACM?
    Fields(177, 88),                         // AT+CAMM?
    Fields(178, 90),                         // AT+CPUC?
    Fields(179, 92),                         // AT+CSCS?
    Fields(180, 93),                         // AT+CSCS=?
    Fields(181, 73),                         // AT+CREG?
    Fields(183, 9),                          // AT+CSQ
    Fields(185, 77),                         // AT+COPS?
    Fields(186, 78),                         // AT+COPS=?
    Fields(190, 98),                         //
    Fields(195, 114),                        //
    Fields(196, 115),                        //
    Fields(199, 106),                        //
    Fields(202, 121),                        //
    Fields(203, 125),                        //
    Fields(204, 103),                        //
    Fields(205, 126),                        //
    Fields(206, 116),                        //
    Fields(207, 17),                         // AT+CPBS?
    Fields(208, 15),                         // AT+CPBS=?
    Fields(209, 12),                         // AT+CPBR=?
    Fields(210, 20),                         // AT+CPBF=?
    Fields(211, 22),                         // AT+CPBW=?
    Fields(212, 26),                         // AT+CSMS?
    Fields(213, 27),                         // AT+CSMS=?
    Fields(214, 42),                         // AT+CMGF?
    Fields(215, 43),                         // AT+CMGF=?
    Fields(216, 46),                         // AT+CSCA?
    Fields(217, 48),                         // AT+CSMP?
    Fields(218, 50),                         // AT+CSDH?
    Fields(219, 53),                         // AT+CNMI?
    Fields(220, 54),                         // AT+CNMI=?
    Fields(221, 30),                         // AT+CPMS?
    Fields(222, 31),                         // AT+CPMS=?
    Fields(223, 33),                         // AT+CSCB?
    Fields(224, 34),                         // AT+CSCB=?
    Fields(225, 36),                         // AT+CSAS=?
    Fields(226, 38),                         //
    Fields(228, 95),                         // AT+CMGL=?
    Fields(236, 151),                        // AT+RNGI
    Fields(237, 156),                        // AT+IMGINF
    Fields(238, 160),                        // AT+LOGOINF
};

constexpr bool SortedById() {
    for (std::size_t i = 1; i < std::size(kCases); ++i) {
        if (kCases[i - 1].commandId >= kCases[i].commandId) return false;
    }
    return true;
}
static_assert(SortedById(), "the table of cases is searched by halves");

}  // namespace

SolicitedForm LineForm(int32_t resultId, FormVariant variant) {
    const ResultForm* form = FindResultForm(resultId, variant);
    if (form == nullptr) return {};
    return {resultId, LineFields(*form), nullptr};
}

SolicitedForm ChooseSolicitedForm(int32_t commandId, const ATResponseRecord& line,
                                  const ReplySelectors& selectors) {
    const auto* found =
        std::lower_bound(std::begin(kCases), std::end(kCases), commandId,
                         [](const SolicitedCase& row, int32_t id) { return row.commandId < id; });
    if (found == std::end(kCases) || found->commandId != commandId) return {};
    switch (found->style) {
        case CaseStyle::kFields:
            return LineForm(found->resultId);
        case CaseStyle::kPart:
            return PartForm(found->resultId);
        case CaseStyle::kMessageRead:
            return MessageReadForm(line, selectors.messageReadForm);
        case CaseStyle::kMessageList:
            return MessageListForm(line, selectors.messageListForm);
        case CaseStyle::kServiceReply:
            return ServiceReplyForm(selectors.serviceReplyKind);
    }
    return {};
}

}  // namespace velk
