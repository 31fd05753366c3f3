#include "phone_sim/phone_model.h"

#include <cctype>

#include "phone_sim/phone_commands.h"

namespace velk::phonesim {
namespace {

struct CommandRow {
    const char* text;  // in capitals
    bool isPrefix;     // the text begins the command; the rest is its arguments
    CommandHandler handler;
};

// Exact commands are tried first, then the longest prefix that fits.
constexpr CommandRow kCommands[] = {
    {"AT", false, AnswerOk},
    {"ATE0", false, EchoOff},
    {"ATE", false, EchoOff},
    {"ATE1", false, EchoOn},
    {"ATZ", false, ResetProfile},
    {"AT&F", false, ResetProfile},
    {"ATV1", false, AnswerOk},
    {"ATQ0", false, AnswerOk},
    {"AT+CMEE=", true, AnswerOk},
    // Power on and the message format: taken, as a phone that is on and
    // speaks PDU mode would take them.
    {"AT+CFUN=", true, AnswerOk},
    {"AT+CMGF=", true, AnswerOk},
    {"AT+CSMS?", false, MessageService},
    {"ATI", false, Model},
    {"AT+CGMI", false, Manufacturer},
    {"AT+CGMM", false, Model},
    {"AT+CGMR", false, Revision},
    {"AT+CGSN", false, SerialNumber},
    {"AT+CSQ", false, SignalQuality},
    {"AT+CBC", false, BatteryCharge},
    {"AT+CSCS?", false, CharacterSetQuery},
    {"AT+CSCS=?", false, CharacterSetList},
    {"AT+CSCS=", true, CharacterSetChoose},
    {"AT+CPBS=?", false, PhonebookStorageList},
    {"AT+CPBS?", false, PhonebookStorageQuery},
    {"AT+CPBS=", true, PhonebookStorageChoose},
    {"AT+CPBR=?", false, PhonebookReadRange},
    {"AT+CPBR=", true, PhonebookRead},
    {"AT+CPBW=?", false, PhonebookWriteRange},
    {"AT+CPBF=?", false, PhonebookFindRange},
    {"AT+RNGI", false, ToneInfo},
    {"AT+RNGR=", true, ToneRead},
    {"AT+RNGW=", true, ToneWrite},
    {"AT+IMGINF", false, ImageInfo},
    {"AT+IMGR=", true, FrameRead},
    {"AT+IMGW=", true, FrameWrite},
};

bool SameLetters(std::string_view text, std::string_view capitals) {
    if (text.size() != capitals.size()) return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (std::toupper(static_cast<unsigned char>(text[i])) != capitals[i]) return false;
    }
    return true;
}

}  // namespace

Reply PhoneModel::Answer(const std::string& line) {
    Reply reply;
    if (line.empty()) return reply;
    const CommandRow* match = nullptr;
    std::size_t matchLength = 0;
    for (const CommandRow& row : kCommands) {
        const std::string_view text(row.text);
        if (!row.isPrefix && SameLetters(line, text)) {
            match = &row;
            matchLength = text.size();
            break;
        }
        if (row.isPrefix && text.size() > matchLength && line.size() >= text.size() &&
            SameLetters(std::string_view(line).substr(0, text.size()), text)) {
            match = &row;
            matchLength = text.size();
        }
    }
    if (match == nullptr) {
        reply.push_back(kError);
        return reply;
    }
    match->handler(state_, std::string_view(line).substr(matchLength), reply);
    return reply;
}

}  // namespace velk::phonesim
