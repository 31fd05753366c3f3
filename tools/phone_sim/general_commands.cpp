// The commands every phone answers: the line itself, who it is, how it is,
// and its character set. Enough for the generic AT tools to get going.
#include <charconv>

#include "phone_sim/character_set.h"
#include "phone_sim/phone_commands.h"

namespace velk::phonesim {

bool ReadNumber(std::string_view text, int& value) {
    if (text.empty() || text.size() > 5) return false;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size();
}

void AnswerOk(PhoneState&, std::string_view, Reply& reply) {
    reply.push_back(kOk);
}

void EchoOff(PhoneState& state, std::string_view, Reply& reply) {
    state.echo = false;
    reply.push_back(kOk);
}

void EchoOn(PhoneState& state, std::string_view, Reply& reply) {
    state.echo = true;
    reply.push_back(kOk);
}

// ATZ and AT&F: back to the profile, where echo is on.
void ResetProfile(PhoneState& state, std::string_view, Reply& reply) {
    state.echo = true;
    state.characterSet = kDefaultCharacterSet;
    reply.push_back(kOk);
}

void Manufacturer(PhoneState&, std::string_view, Reply& reply) {
    reply = {"Velkport", kOk};
}

void Model(PhoneState&, std::string_view, Reply& reply) {
    reply = {"VP-1 phone simulator", kOk};
}

void Revision(PhoneState&, std::string_view, Reply& reply) {
    reply = {"1.0.0", kOk};
}

void SerialNumber(PhoneState&, std::string_view, Reply& reply) {
    reply = {"350000000000017", kOk};
}

void SubscriberIdentity(PhoneState&, std::string_view, Reply& reply) {
    reply = {"001010123456789", kOk};
}

// +CNUM: "<alpha>","<number>",<type>
void OwnNumber(PhoneState&, std::string_view, Reply& reply) {
    reply = {std::string("+CNUM: \"Own\",\"") + kOwnNumber + "\",145", kOk};
}

// +CSQ: <rssi>,<ber>
void SignalQuality(PhoneState&, std::string_view, Reply& reply) {
    reply = {"+CSQ: 24,99", kOk};
}

// +CBC: <connection>,<charge>
void BatteryCharge(PhoneState&, std::string_view, Reply& reply) {
    reply = {"+CBC: 0,85", kOk};
}

// +CSMS: <service>,<mobile terminated>,<mobile originated>,<broadcast>
void MessageService(PhoneState&, std::string_view, Reply& reply) {
    reply = {"+CSMS: 0,1,1,1", kOk};
}

// +CSCS: "<set>"
void CharacterSetQuery(PhoneState& state, std::string_view, Reply& reply) {
    reply = {"+CSCS: \"" + state.characterSet + "\"", kOk};
}

// +CSCS: ("<set>",...)
void CharacterSetList(PhoneState&, std::string_view, Reply& reply) {
    std::string line = "+CSCS: (";
    for (const char* set : kCharacterSets) {
        if (line.back() != '(') line += ',';
        line += '"' + std::string(set) + '"';
    }
    reply = {line + ")", kOk};
}

void CharacterSetChoose(PhoneState& state, std::string_view arguments, Reply& reply) {
    for (const char* set : kCharacterSets) {
        if (arguments == '"' + std::string(set) + '"') {
            state.characterSet = set;
            reply.push_back(kOk);
            return;
        }
    }
    reply.push_back(CmeError(kNotAllowed));
}

}  // namespace velk::phonesim
