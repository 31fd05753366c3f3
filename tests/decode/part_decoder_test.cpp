// Tone, image and logo lines: the part lines with their tails and the
// information lines with their names and frame ranges.
#include <cstring>
#include <string>

#include "decoder_fixture.h"
#include "engine/result_forms.h"

namespace velk {
namespace {

class PartDecoder : public DecoderFixture {};

TEST_F(PartDecoder, TonePartTailFollowsThePartNumber) {
    struct Row {
        const char* line;
        uint8_t part, textLength, sizeHigh, sizeLow, check;
        const char* text;
    };
    const Row rows[] = {
        // An only part states the whole size; the text is not counted.
        {"+RNGR: 3,\"Bell\",255,1,60,,\"ABCDEF\",77\r", 255, 60, 0, 0, 77, "ABCDEF"},
        // A first part gives the size in two seven-bit halves.
        {"+RNGR: 3,\"Bell\",1,4,2,10,\"ABCDEF\",78\r", 1, 6, 2, 10, 78, "ABCDEF"},
        // A later part: the two size parameters are not kept.
        {"+RNGR: 3,\"Bell\",2,4,9,9,\"ABC\",79\r", 2, 3, 0, 0, 79, "ABC"},
        // A line that ends after the head leaves the tail empty.
        {"+RNGR: 3,\"Bell\",1,4\r", 1, 0, 0, 0, 0, ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        BlockPtr block = One(152, row.line, 153);
        ASSERT_TRUE(block);
        const ResultTonePart& p = block->result.tonePart;
        EXPECT_EQ(p.index, 3);
        EXPECT_EQ(Field(p.name), "Bell");
        EXPECT_EQ(p.nameLength, 4);
        EXPECT_EQ(p.part, row.part);
        EXPECT_EQ(p.totalParts, row.part == 255 ? 1 : 4);
        EXPECT_EQ(p.textLength, row.textLength);
        EXPECT_EQ(p.sizeHigh, row.sizeHigh);
        EXPECT_EQ(p.sizeLow, row.sizeLow);
        EXPECT_EQ(Field(p.text), row.text);
        EXPECT_EQ(p.partCheck, row.check);
    }
}

TEST_F(PartDecoder, ImageParameterDigitsGiveThreeNumbers) {
    BlockPtr block = One(157, "+IMGR: 1,\"Cat\",1,3,1,20,\"250010\",\"0A0B\",5\r", 158);
    ASSERT_TRUE(block);
    const ResultImagePart& p = block->result.imagePart;
    EXPECT_EQ(p.sizeHigh, 1);
    EXPECT_EQ(p.sizeLow, 20);
    EXPECT_EQ(p.animParam1, 25);
    EXPECT_EQ(p.animParam2, 0);
    EXPECT_EQ(p.animParam3, 10);
    EXPECT_EQ(Field(p.text), "0A0B");
    EXPECT_EQ(p.textLength, 4);
    EXPECT_EQ(p.partCheck, 5);

    block = One(157, "+IMGR: 1,\"Cat\",2,3,,,,\"0A\",6\r", 158);
    ASSERT_TRUE(block) << "an omitted parameter text is no error";
    EXPECT_EQ(block->result.imagePart.animParam1, 0);
    EXPECT_EQ(Field(block->result.imagePart.text), "0A");
}

TEST_F(PartDecoder, BadImageParameterIsReportedBeforeThePart) {
    for (const char* digits : {"2500", "25001", "25A010", "25001011"}) {
        std::string line = std::string("+IMGR: 1,\"Cat\",255,1,40,,\"") + digits + "\",\"0A\",7\r";
        std::vector<BlockPtr> blocks = Solicited(157, line);
        ASSERT_EQ(blocks.size(), 2u) << digits;
        EXPECT_EQ(blocks[0]->resultId, kResultError);
        EXPECT_EQ(Field(blocks[0]->result.error.message),
                  std::string("animParam ") + digits + " is not right");
        const ResultImagePart& p = blocks[1]->result.imagePart;
        EXPECT_EQ(blocks[1]->resultId, 158);
        EXPECT_EQ(p.animParam1 | p.animParam2 | p.animParam3, 0);
        EXPECT_EQ(p.textLength, 40);
        EXPECT_EQ(Field(p.text), "0A");
        EXPECT_EQ(p.partCheck, 7);
    }
}

TEST_F(PartDecoder, LogoPartSplitsCountryAndNetwork) {
    BlockPtr block = One(161, "+LOGOR: 2,1,\"460-00\",1,255,60,,\"FF00\",9\r", 162);
    ASSERT_TRUE(block);
    const ResultLogoPart& p = block->result.logoPart;
    EXPECT_EQ(p.index, 2);
    EXPECT_EQ(p.logoType, 1);
    EXPECT_EQ(Field(p.countryCode), "460");
    EXPECT_EQ(Field(p.networkCode), "00");
    EXPECT_EQ(p.totalParts, 1);
    EXPECT_EQ(p.part, 255);
    EXPECT_EQ(p.textLength, 60);
    EXPECT_EQ(Field(p.text), "FF00");
    EXPECT_EQ(p.partCheck, 9);

    block = One(161, "+LOGOR: 2,1,\"262\",3,1,1,5,\"FF00\",9\r", 162);
    ASSERT_TRUE(block);
    EXPECT_EQ(Field(block->result.logoPart.countryCode), "262");
    EXPECT_EQ(Field(block->result.logoPart.networkCode), "");
    EXPECT_EQ(block->result.logoPart.sizeHigh, 1);
    EXPECT_EQ(block->result.logoPart.sizeLow, 5);
    EXPECT_EQ(block->result.logoPart.textLength, 0) << "a logo counts no text but an only part's";
}

TEST_F(PartDecoder, ImageInformationKeepsFrameRangesInOrder) {
    BlockPtr block = One(237, "+IMGINF: \"Anim\",1,2,3,4,5,3,1,4,5,2,9\r", 156);
    ASSERT_TRUE(block);
    const ResultImageInfo& info = block->result.imageInfo;
    EXPECT_EQ(Field(info.infoName), "Anim");
    EXPECT_EQ(info.nameLength, 4);
    EXPECT_EQ(info.infoNumber1, 1);
    EXPECT_EQ(info.infoNumber5, 5);
    ASSERT_NE(info.frameRanges, nullptr);
    EXPECT_EQ(*info.frameRanges, (WordList{3, 1, 4, 5, 2, 9}));

    block = One(237, "+IMGINF: \"Anim\",1,2\r", 156);
    ASSERT_TRUE(block);
    ASSERT_NE(block->result.imageInfo.frameRanges, nullptr);
    EXPECT_TRUE(block->result.imageInfo.frameRanges->empty());
}

// Whatever length the phone sends, every text stays inside its field and the
// fields behind it keep their values.
TEST_F(PartDecoder, OverLongTextsStayInsideTheirFields) {
    const std::string t40(40, 'n'), t100(100, 'm'), t200(200, 'x'), t256(256, 'y');

    BlockPtr block = One(152, "+RNGR: 1,\"" + t40 + "\",2,4,,,\"" + t200 + "\",33\r", 153);
    ASSERT_TRUE(block);
    EXPECT_EQ(std::string(block->result.tonePart.name, 10), std::string(10, 'n'));
    EXPECT_EQ(block->result.tonePart.nameLength, 40);
    EXPECT_EQ(block->result.tonePart.part, 2);
    EXPECT_EQ(Field(block->result.tonePart.text), std::string(128, 'x'));
    EXPECT_EQ(block->result.tonePart.textLength, 200);
    EXPECT_EQ(block->result.tonePart.partCheck, 33);

    block = One(161, "+LOGOR: 1,1,\"" + t40 + "-" + t40 + "\",1,2,,,\"" + t200 + "\",8\r", 162);
    ASSERT_TRUE(block);
    EXPECT_EQ(std::string(block->result.logoPart.countryCode, 10), std::string(10, 'n'));
    EXPECT_EQ(std::string(block->result.logoPart.networkCode, 10), std::string(10, 'n'));
    EXPECT_EQ(block->result.logoPart.logoType, 1);
    EXPECT_EQ(block->result.logoPart.partCheck, 8);

    block = One(236, "+RNGI: \"" + t100 + "\",7,8,9\r", 151);
    ASSERT_TRUE(block);
    EXPECT_EQ(std::string(block->result.toneInfo.infoName, 10), std::string(10, 'm'));
    EXPECT_EQ(block->result.toneInfo.infoNumber1, 7);
    EXPECT_EQ(block->result.toneInfo.nameLength, 100);

    // Text32: 32 characters are cut to 31, more leave the field empty.
    block = One(13, "+CPBR: 1,\"" + std::string(32, '1') + "\",145,\"" + t256 + "\"\r", 14);
    ASSERT_TRUE(block);
    EXPECT_EQ(Field(block->result.phonebookEntry.number), std::string(31, '1'));
    EXPECT_EQ(block->result.phonebookEntry.numberType, 145);
    EXPECT_EQ(Field(block->result.phonebookEntry.text), std::string(255, 'y'));
    block = One(13, "+CPBR: 1,\"" + std::string(33, '1') + "\",145,\"" + t256 + "x\"\r", 14);
    ASSERT_TRUE(block);
    EXPECT_EQ(Field(block->result.phonebookEntry.number), "");
    EXPECT_EQ(Field(block->result.phonebookEntry.text), "") << "257 characters are refused";

    // Text84 by the long conversion.
    block = One(207, "+CPBS: \"" + t200 + "\",12,250\r", 17);
    ASSERT_TRUE(block);
    EXPECT_EQ(Field(block->result.phonebookStorage.storage), std::string(83, 'x'));
    EXPECT_EQ(block->result.phonebookStorage.used, 12);

    // A flattened list stops at its field's end.
    std::string many = "+CNMI: (";
    for (int i = 0; i < 60; ++i) many += (i ? "," : "") + std::to_string(i);
    many += "),(0,1)\r";
    block = One(220, many, 54);
    ASSERT_TRUE(block);
    EXPECT_EQ(Field(block->result.indicationLists.modes).size(), 83u);
    EXPECT_EQ(Field(block->result.indicationLists.delivers), "(0,1)");

    // A message body into its 84-byte field.
    block = One(61, t200 + "\r", 231);
    ASSERT_TRUE(block);
    EXPECT_EQ(Field(block->result.messageDeliverHeader.body), std::string(83, 'x'));
}

}  // namespace
}  // namespace velk
