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
    // Power on: taken, as a phone that is on takes it.
    {"AT+CFUN=", true, AnswerOk},
    {"AT+CSMS?", false, MessageService},
    {"ATI", false, Model},
    {"AT+CGMI", false, Manufacturer},
    {"AT+CGMM", false, Model},
    {"AT+CGMR", false, Revision},
    {"AT+CGSN", false, SerialNumber},
    {"AT+CIMI", false, SubscriberIdentity},
    {"AT+CNUM", false, OwnNumber},
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
    {"AT+CPBW=", true, PhonebookWrite},
    {"AT+CPBF=?", false, PhonebookFindRange},
    {"AT+CPBF=", true, PhonebookFind},
    {"AT+CMGF?", false, MessageFormatQuery},
    {"AT+CMGF=?", false, MessageFormatList},
    {"AT+CMGF=", true, MessageFormat},
    {"AT+CPMS?", false, MessageStorageQuery},
    {"AT+CPMS=?", false, MessageStorageList},
    {"AT+CPMS=", true, MessageStorageChoose},
    {"AT+CMGL", false, MessageList},
    {"AT+CMGL=?", false, MessageListStates},
    {"AT+CMGL=", true, MessageList},
    {"AT+CMGR=", true, MessageRead},
    {"AT+CMGD=", true, MessageDelete},
    {"AT+CMGW", false, MessageWrite},
    {"AT+CMGW=", true, MessageWrite},
    {"AT+CMGS=", true, MessageSend},
    {"AT+CNMI?", false, IndicationsQuery},
    {"AT+CNMI=?", false, IndicationsList},
    {"AT+CNMI=", true, IndicationsChoose},
    {"AT+CREG?", false, RegistrationQuery},
    {"AT+CREG=?", false, RegistrationList},
    {"AT+CREG=", true, RegistrationChoose},
    {"AT+COPS?", false, OperatorQuery},
    {"AT+COPS=?", false, OperatorList},
    {"AT+COPS=", true, OperatorChoose},
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

PhoneModel::PhoneModel(PhoneStore& store, bool reportRegistration) : state_(store) {
    state_.registrationReports = reportRegistration ? 1 : 0;
}

Reply PhoneModel::Answer(const std::string& line) {
    Reply reply;
    state_.pendingMessage.reset();  // a command line instead of the text drops the message
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

Reply PhoneModel::TakeText(const std::string& text, bool cancelled) {
    Reply reply;
    TakeMessageText(state_, text, cancelled, reply);
    return reply;
}

Reply PhoneModel::TakeNotices() {
    Reply notices;
    notices.swap(state_.notices);
    return notices;
}

std::optional<std::string> PhoneModel::RegistrationNotice() const {
    return RegistrationReport(state_);
}

}  // namespace velk::phonesim
