#include "engine/command_catalogue.h"

#include <algorithm>

namespace velk {

namespace {

// Several ids share "AT+CMGR=": they differ in their parameters and in how the
// reply is decoded, which goes by the command id, not by the text.
// "AT+ LOGOW=" has a blank after the plus sign: that is what the phone takes.
constexpr CatalogueEntry kCatalogue[] = {
    {13, "AT+CPBR=", {14}},
    {16, "AT+CPBS=", {}},
    {18, "AT+CPBF=", {19}},
    {21, "AT+CPBW=", {}},
    {23, "AT+CPBD=", {}},
    {24, "AT+CSMS=", {25}},
    {28, "AT+CPMS=", {29}},
    {32, "AT+CSCB=", {}},
    {35, "AT+CSAS", {}},
    {37, "AT+CRES", {}},
    {39, "AT+CMGC=", {40}},
    {41, "AT+CMGF=", {}},
    {45, "AT+CSCA=", {}},
    {47, "AT+CSMP=", {}},
    {49, "AT+CSDH=", {}},
    {52, "AT+CNMI=", {}},
    {61, "AT+CMGR=", {62, 64, 231, 233}},
    {65, "AT+CMGS=", {66}},
    {67, "AT+CMSS=", {68}},
    {69, "AT+CMGW=", {70}},
    {71, "AT+CMGD=", {}},
    {72, "AT+CREG=", {}},
    {76, "AT+COPS=", {4}},
    {82, "AT+CPIN=", {}},
    {85, "AT+CACM=", {}},
    {87, "AT+CAMM=", {}},
    {89, "AT+CPUC=", {}},
    {91, "AT+CSCS=", {}},
    {94, "AT+CMGL", {96, 97, 229, 230}},
    {119, "AT+CMGR=", {}},
    {133, "AT+CMGR=", {}},
    {134, "AT+CMGR=", {}},
    {135, "AT+CMGR=", {136}},
    {138, "AT+CMGR=", {}},
    {140, "AT+CPMS=", {}},
    {141, "AT+CMGR=", {105}},
    {143, "AT+CMGR=", {}},
    {144, "AT+CMGR=", {}},
    {145, "AT+CMGR=", {}},
    {146, "AT+CNMI=", {}},
    {147, "AT+CMGR=", {}},
    {148, "AT+CMGR=", {}},
    {149, "AT+CMGR=", {}},
    {150, "AT+CMGR=", {}},
    {152, "AT+RNGR=", {153}},
    {154, "AT+RNGW=", {}},
    {155, "AT+RNGP=", {}},
    {157, "AT+IMGR=", {158}},
    {159, "AT+IMGW=", {}},
    {161, "AT+LOGOR=", {162}},
    {163, "AT+ LOGOW=", {}},
    {164, "ATZ", {}},
    {165, "ATV1E0", {}},
    {166, "AT+CBC", {11}},
    {167, "AT+CGMI", {5}},
    {168, "AT+CGMM", {6}},
    {169, "AT+CGMR", {7}},
    {170, "AT+CGSN", {8}},
    {172, "AT+CSDH=?", {51}},
    {173, "AT+CNUM", {80}},
    {174, "AT+CIMI", {81}},
    {175, "AT+CPIN?", {83}},
    {176, "AT+CACM?", {86}},
    {177, "AT+CAMM?", {88}},
    {178, "AT+CPUC?", {90}},
    {179, "AT+CSCS?", {92}},
    {180, "AT+CSCS=?", {93}},
    {181, "AT+CREG?", {73}},
    {182, "AT+CREG=?", {}},
    {183, "AT+CSQ", {9}},
    {184, "AT+CSQ=?", {}},
    {185, "AT+COPS?", {77}},
    {186, "AT+COPS=?", {78}},
    {190, "AT+CMGR=", {98}},
    {191, "AT+CMGR=", {}},
    {192, "AT+CMGR=", {}},
    {194, "AT+CMGR=", {}},
    {195, "AT+CMGR=", {114}},
    {196, "AT+CMGR=", {115}},
    {197, "AT+CMGR=", {}},
    {198, "AT+CMGR=", {}},
    {199, "AT+CMGR=", {106}},
    {200, "AT+CMGR=", {}},
    {201, "AT+CMGR=", {}},
    {202, "AT+CMGR=", {121}},
    {203, "AT+CMGR=", {125}},
    {204, "AT+CMGR=", {103}},
    {205, "AT+CMGR=", {126}},
    {206, "AT+CMGR=", {116}},
    {207, "AT+CPBS?", {17}},
    {208, "AT+CPBS=?", {15}},
    {209, "AT+CPBR=?", {12}},
    {210, "AT+CPBF=?", {20}},
    {211, "AT+CPBW=?", {22}},
    {212, "AT+CSMS?", {26}},
    {213, "AT+CSMS=?", {27}},
    {214, "AT+CMGF?", {42}},
    {215, "AT+CMGF=?", {43}},
    {216, "AT+CSCA?", {46}},
    {217, "AT+CSMP?", {48}},
    {218, "AT+CSDH?", {50}},
    {219, "AT+CNMI?", {53}},
    {220, "AT+CNMI=?", {54}},
    {221, "AT+CPMS?", {30}},
    {222, "AT+CPMS=?", {31}},
    {223, "AT+CSCB?", {33}},
    {224, "AT+CSCB=?", {34}},
    {225, "AT+CSAS=?", {36}},
    {228, "AT+CMGL=?", {95}},
    {236, "AT+RNGI", {151}},
    {237, "AT+IMGINF", {156}},
    {238, "AT+LOGOINF", {160}},
    {239, "AT", {}},
    {240, "ATE0", {}},
    {241, "ATE1", {}},
};

constexpr bool IdsAscendWithinRange() {
    int32_t previous = kFirstCommandId - 1;
    for (const CatalogueEntry& entry : kCatalogue) {
        if (entry.id <= previous || entry.id > kLastCommandId) {
            return false;
        }
        previous = entry.id;
    }
    return true;
}
// FindCatalogueEntry searches by halves, which needs the ids in order.
static_assert(IdsAscendWithinRange(), "catalogue ids must ascend within the command range");

}  // namespace

std::span<const CatalogueEntry> CatalogueEntries() {
    return kCatalogue;
}

const CatalogueEntry* FindCatalogueEntry(int32_t id) {
    const auto* found = std::lower_bound(
        std::begin(kCatalogue), std::end(kCatalogue), id,
        [](const CatalogueEntry& entry, int32_t wanted) { return entry.id < wanted; });
    if (found == std::end(kCatalogue) || found->id != id) {
        return nullptr;
    }
    return found;
}

const char* CatalogueText(int32_t id) {
    const CatalogueEntry* entry = FindCatalogueEntry(id);
    return entry != nullptr ? entry->text : nullptr;
}

std::span<const int32_t> CatalogueResults(int32_t id) {
    const CatalogueEntry* entry = FindCatalogueEntry(id);
    if (entry == nullptr) {
        return {};
    }
    const auto end = std::find(entry->results.begin(), entry->results.end(), 0);
    return {entry->results.begin(), end};
}

}  // namespace velk
