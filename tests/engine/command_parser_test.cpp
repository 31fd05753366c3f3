#include "engine/command_parser.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "engine/command_block.h"
#include "engine/command_table.h"
#include "engine/command_text_builder.h"
#include "engine/request_params.h"
#include "request_samples.h"

namespace velk {
namespace {

using namespace std::string_literals;

std::string Build(int32_t id, const RequestForms& request) {
    std::unique_ptr<ATCommandBlock, void (*)(ATCommandBlock*)> block(AllocCommandBlock(),
                                                                     FreeCommandBlock);
    block->request = request;
    int32_t current = 0;
    return BuildCommandText(id, *block, current);
}

bool TextShared(const CommandRow& row) {
    int rows = 0;
    for (const CommandRow& other : CommandRows()) {
        if (other.text != nullptr && std::string(other.text) == row.text) ++rows;
    }
    return rows > 1;
}

// A sample whose text fills its whole field, with no zero byte behind it: the
// builder sends it, but a typed text must leave room for the zero byte.
bool FillsAField(const CommandRow& row, const RequestForms& request) {
    for (const RequestParam& param : ParamsOf(row.form).params) {
        if (param.kind == ParamKind::kQuoted && ParamText(param, request).size() == param.width) {
            return true;
        }
    }
    return false;
}

// Every text the builder makes from a sample record (and, for a command
// without one, from a fresh block) reads back into a request that builds the
// same text: into the same row when no other row sends its AT text, and
// always into the row that "#<id>" names. The chunk writes of the transfers
// are refused.
TEST(ParseCommandText, EveryBuiltTextReadsBackToItsRow) {
    struct Sample {
        int32_t id;
        void (*fill)(RequestForms&);
    };
    std::vector<Sample> samples;
    std::set<int32_t> sampled;
    for (const samples::Row& row : samples::kRows) {
        samples.push_back({row.id, row.fill});
        sampled.insert(row.id);
    }
    for (const CommandRow& row : CommandRows()) {
        if (row.text != nullptr && sampled.count(row.id) == 0) {
            samples.push_back({row.id, [](RequestForms&) {}});
        }
    }
    for (const Sample& sample : samples) {
        const CommandRow& row = *FindCommandRow(sample.id);
        RequestForms request;
        std::memset(&request, 0, sizeof request);
        sample.fill(request);
        const std::string text = Build(row.id, request);
        SCOPED_TRACE(std::to_string(row.id) + " " + text);
        const ParsedCommand plain = ParseCommandText(text);
        const ParsedCommand named = ParseCommandText("#" + std::to_string(row.id) + " " + text);

        if (ParamsOf(row.form).chunk) {
            EXPECT_FALSE(plain.Accepted());
            EXPECT_FALSE(named.Accepted());
            continue;
        }
        if (FillsAField(row, request)) {
            EXPECT_FALSE(plain.Accepted());
            EXPECT_NE(named.refusal.find("its field holds"), std::string::npos) << named.refusal;
            continue;
        }
        ASSERT_TRUE(plain.Accepted()) << plain.refusal;
        EXPECT_EQ(Build(plain.id, plain.request), text);
        if (!TextShared(row)) {
            EXPECT_EQ(plain.id, row.id);
        }
        ASSERT_TRUE(named.Accepted()) << named.refusal;
        EXPECT_EQ(named.id, row.id);
        EXPECT_EQ(Build(named.id, named.request), text);
    }
}

// How a typed command is taken, and the canonical text it is sent as.
TEST(ParseCommandText, TypedCommandsFindTheirRow) {
    struct Case {
        std::string typed;
        int32_t id;
        std::string sent;
    };
    const Case cases[] = {
        {" at+cpbr=1,10\r\n", 13, "AT+CPBR=1,10"},
        {"AT+CPBR=007,-0", 13, "AT+CPBR=7,0"},
        {"AT+CPBR=?", 209, "AT+CPBR=?"},           // the exact text before a form
        {"AT+CPBS=\"sm\"", 16, "AT+CPBS=\"sm\""},  // a quoted text keeps its case
        {"AT+CPBF=\"a,\"b\"", 18, "AT+CPBF=\"a,\"b\""},
        {"AT+CSCB=0,\"1,5\"", 32, "AT+CSCB=0,\"1,5\""},
        {"AT+CPBW=3,\"1\"", 21, "AT+CPBW=3,\"1\",,"},
        {"AT+CPIN=1,\"1\",\"2\"", 82, "AT+CPIN=1,\"1\",\"2\","},
        {"AT+CSAS", 35, "AT+CSAS"},
        // Rows sharing a text: the lowest id whose form takes the parameters.
        {"AT+CMGR=3", 61, "AT+CMGR=3"},
        {"AT+CMGR=3,4", 144, "AT+CMGR=3,4"},
        {"AT+CMGR=", 190, "AT+CMGR="},
        {"AT+CPMS=\"SM\"", 28, "AT+CPMS=\"SM\""},
        {"AT+CNMI=65535,0,0", 146, "AT+CNMI=65535,0,0"},
        {"#140  at+cpms=\"SM\"", 140, "AT+CPMS=\"SM\""},
        {"#0146 AT+CNMI=2,1,0", 146, "AT+CNMI=2,1,0"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.typed);
        const ParsedCommand parsed = ParseCommandText(c.typed);
        ASSERT_TRUE(parsed.Accepted()) << parsed.refusal;
        EXPECT_EQ(parsed.id, c.id);
        EXPECT_EQ(parsed.refusal, "");
        EXPECT_EQ(Build(parsed.id, parsed.request), c.sent);
    }
}

TEST(ParseCommandText, RefusalsSayWhy) {
    struct Case {
        std::string typed;
        std::string refusal;
    };
    const Case cases[] = {
        {"", "the command text is empty"},
        {" \t", "the command text is empty"},
        {"AT+FOO", "AT+FOO fits no command of the catalogue"},
        {"AT+CSQX", "AT+CSQX fits no command of the catalogue"},
        {"AT+CPBR=1,2,3", "AT+CPBR= takes at most 2 parameters: <index1>[,<index2>]"},
        {"AT+CPBR=", "AT+CPBR= takes at least 1 parameter: <index1>[,<index2>]"},
        {"AT+COPS=1,2", "AT+COPS= takes 3 parameters: <mode>,<format>,\"<oper>\""},
        {"AT+CSASX", "AT+CSAS is followed by '=' before its parameter: [=<profile>]"},
        {"AT+CNMI=1,2,3,4,5,6",
         "AT+CNMI=1,2,3,4,5,6 fits none of the 2 commands that send AT+CNMI=; write #<id> in "
         "front to see why one refuses"},
        {"#999 AT", "#999 is no command id"},
        {"#x AT", "#x is no command id"},
        {"#117 AT", "#117 has no AT text"},
        {"#61", "#61 is AT+CMGR=, and no command text follows it"},
        {"#61 AT+CPBR=1", "#61 is AT+CMGR=, which does not begin AT+CPBR=1"},
        {"#239 ATZ", "AT takes no parameters"},
        {"AT+CPBS=\"SM", "AT+CPBS= parameter 1 opens a double quote that is not closed"},
        {"AT+CPBS=SM", "AT+CPBS= parameter 1 <storage> must be a text in double quotes: SM"},
        {"AT+CPBS=\"" + std::string(32, 'x') + "\"",
         "AT+CPBS= parameter 1 <storage> is 32 bytes long; its field holds 31"},
        {"AT+CPBR=x", "AT+CPBR= parameter 1 <index1> is no number: x"},
        {"AT+CPBR=\"1\"", "AT+CPBR= parameter 1 <index1> is no number: \"1\""},
        {"AT+CPBR=2147483648",
         "AT+CPBR= parameter 1 <index1> is out of range (-2147483648 to 2147483647): 2147483648"},
        {"AT+RNGR=256", "AT+RNGR= parameter 1 <slot> is out of range (0 to 255): 256"},
        {"AT+COPS=,0,\"x\"", "AT+COPS= parameter 1 <mode> is empty"},
        {"AT+CPBR=1,", "AT+CPBR= parameter 2 <index2> is empty: end the command before it instead"},
        {"AT+CPBR=1,65535",
         "AT+CPBR= parameter 2 <index2> means left out as 65535: end the command before it "
         "instead"},
        {"AT+CPBW=3,\"1\",65535",
         "AT+CPBW= parameter 3 <type> means left out as 65535: leave its place empty instead"},
        {"AT+RNGW=2,\"Song\",1",
         "AT+RNGW= carries a chunk of a tone, image or logo transfer; only the transfers write it"},
        {"ATZ\rAT+CPBR=1",
         "the command holds the control byte 0x0D; a command is one line of "
         "printable text"},
        {"AT+CPBF=\"a\0b\""s,
         "the command holds the control byte 0x00; a command is one line of "
         "printable text"},
        // The echo is cut short, in front of a whole UTF-8 character.
        {std::string(47, 'Q') + "\xC3\xA9" + std::string(50, 'Q'),
         std::string(47, 'Q') + "... fits no command of the catalogue"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.typed);
        const ParsedCommand parsed = ParseCommandText(c.typed);
        EXPECT_FALSE(parsed.Accepted());
        EXPECT_EQ(parsed.refusal, c.refusal);
    }
}

}  // namespace
}  // namespace velk
