#include "engine/command_catalogue.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace velk {
namespace {

struct ExpectedCommand {
    int32_t id;
    std::string text;
    std::vector<int32_t> results;  // empty: the final reply alone ends it
};

// Every command the phone can be sent, as the phone knows it.
// clang-format off
const std::vector<ExpectedCommand> kExpected = {
    {13, "AT+CPBR=", {14}},            {16, "AT+CPBS=", {}},              {18, "AT+CPBF=", {19}},
    {21, "AT+CPBW=", {}},              {23, "AT+CPBD=", {}},              {24, "AT+CSMS=", {25}},
    {28, "AT+CPMS=", {29}},            {32, "AT+CSCB=", {}},              {35, "AT+CSAS", {}},
    {37, "AT+CRES", {}},               {39, "AT+CMGC=", {40}},            {41, "AT+CMGF=", {}},
    {45, "AT+CSCA=", {}},              {47, "AT+CSMP=", {}},              {49, "AT+CSDH=", {}},
    {52, "AT+CNMI=", {}},              {61, "AT+CMGR=", {62, 64, 231, 233}}, {65, "AT+CMGS=", {66}},
    {67, "AT+CMSS=", {68}},            {69, "AT+CMGW=", {70}},            {71, "AT+CMGD=", {}},
    {72, "AT+CREG=", {}},              {76, "AT+COPS=", {4}},             {82, "AT+CPIN=", {}},
    {85, "AT+CACM=", {}},              {87, "AT+CAMM=", {}},              {89, "AT+CPUC=", {}},
    {91, "AT+CSCS=", {}},              {94, "AT+CMGL", {96, 97, 229, 230}}, {119, "AT+CMGR=", {}},
    {133, "AT+CMGR=", {}},             {134, "AT+CMGR=", {}},             {135, "AT+CMGR=", {136}},
    {138, "AT+CMGR=", {}},             {140, "AT+CPMS=", {}},             {141, "AT+CMGR=", {105}},
    {143, "AT+CMGR=", {}},             {144, "AT+CMGR=", {}},             {145, "AT+CMGR=", {}},
    {146, "AT+CNMI=", {}},             {147, "AT+CMGR=", {}},             {148, "AT+CMGR=", {}},
    {149, "AT+CMGR=", {}},             {150, "AT+CMGR=", {}},             {152, "AT+RNGR=", {153}},
    {154, "AT+RNGW=", {}},             {155, "AT+RNGP=", {}},             {157, "AT+IMGR=", {158}},
    {159, "AT+IMGW=", {}},             {161, "AT+LOGOR=", {162}},         {163, "AT+ LOGOW=", {}},
    {164, "ATZ", {}},                  {165, "ATV1E0", {}},               {166, "AT+CBC", {11}},
    {167, "AT+CGMI", {5}},             {168, "AT+CGMM", {6}},             {169, "AT+CGMR", {7}},
    {170, "AT+CGSN", {8}},             {172, "AT+CSDH=?", {51}},          {173, "AT+CNUM", {80}},
    {174, "AT+CIMI", {81}},            {175, "AT+CPIN?", {83}},           {176, "AT+CACM?", {86}},
    {177, "AT+CAMM?", {88}},           {178, "AT+CPUC?", {90}},           {179, "AT+CSCS?", {92}},
    {180, "AT+CSCS=?", {93}},          {181, "AT+CREG?", {73}},           {182, "AT+CREG=?", {}},
    {183, "AT+CSQ", {9}},              {184, "AT+CSQ=?", {}},             {185, "AT+COPS?", {77}},
    {186, "AT+COPS=?", {78}},          {190, "AT+CMGR=", {98}},           {191, "AT+CMGR=", {}},
    {192, "AT+CMGR=", {}},             {194, "AT+CMGR=", {}},             {195, "AT+CMGR=", {114}},
    {196, "AT+CMGR=", {115}},          {197, "AT+CMGR=", {}},             {198, "AT+CMGR=", {}},
    {199, "AT+CMGR=", {106}},          {200, "AT+CMGR=", {}},             {201, "AT+CMGR=", {}},
    {202, "AT+CMGR=", {121}},          {203, "AT+CMGR=", {125}},          {204, "AT+CMGR=", {103}},
    {205, "AT+CMGR=", {126}},          {206, "AT+CMGR=", {116}},          {207, "AT+CPBS?", {17}},
    {208, "AT+CPBS=?", {15}},          {209, "AT+CPBR=?", {12}},          {210, "AT+CPBF=?", {20}},
    {211, "AT+CPBW=?", {22}},          {212, "AT+CSMS?", {26}},           {213, "AT+CSMS=?", {27}},
    {214, "AT+CMGF?", {42}},           {215, "AT+CMGF=?", {43}},          {216, "AT+CSCA?", {46}},
    {217, "AT+CSMP?", {48}},           {218, "AT+CSDH?", {50}},           {219, "AT+CNMI?", {53}},
    {220, "AT+CNMI=?", {54}},          {221, "AT+CPMS?", {30}},           {222, "AT+CPMS=?", {31}},
    {223, "AT+CSCB?", {33}},           {224, "AT+CSCB=?", {34}},          {225, "AT+CSAS=?", {36}},
    {228, "AT+CMGL=?", {95}},          {236, "AT+RNGI", {151}},           {237, "AT+IMGINF", {156}},
    {238, "AT+LOGOINF", {160}},        {239, "AT", {}},                   {240, "ATE0", {}},
    {241, "ATE1", {}},
};
// clang-format on

TEST(CommandCatalogue, HoldsExactlyTheCommandsThePhoneKnows) {
    ASSERT_EQ(kExpected.size(), 115u);
    EXPECT_EQ(CatalogueEntries().size(), kExpected.size());
    for (const ExpectedCommand& want : kExpected) {
        SCOPED_TRACE("id " + std::to_string(want.id));
        const char* text = CatalogueText(want.id);
        ASSERT_NE(text, nullptr);
        EXPECT_EQ(std::string(text), want.text);
        const auto results = CatalogueResults(want.id);
        EXPECT_EQ(std::vector<int32_t>(results.begin(), results.end()), want.results);
        const CatalogueEntry* entry = FindCatalogueEntry(want.id);
        ASSERT_NE(entry, nullptr);
        EXPECT_EQ(entry->id, want.id);
    }
}

TEST(CommandCatalogue, IdsOutsideTheCatalogueHaveNoText) {
    std::set<int32_t> known;
    for (const ExpectedCommand& want : kExpected) known.insert(want.id);
    // Below, inside and above the command range; inside it, among others, the
    // ids that have a reply decoder but nothing to send (117, 118, 131, 142, 226).
    for (int32_t id = -2; id <= 260; ++id) {
        if (known.count(id) != 0) continue;
        SCOPED_TRACE("id " + std::to_string(id));
        EXPECT_EQ(CatalogueText(id), nullptr);
        EXPECT_EQ(FindCatalogueEntry(id), nullptr);
        EXPECT_TRUE(CatalogueResults(id).empty());
    }
    EXPECT_EQ(CatalogueText(1224 + 13), nullptr);  // a message number is not an id
}

}  // namespace
}  // namespace velk
