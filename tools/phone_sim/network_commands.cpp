// The network the phone is on: its registration, reported on its own with
// AT+CREG=1, and its operator.
#include <iterator>

#include "phone_sim/command_arguments.h"
#include "phone_sim/phone_commands.h"

namespace velk::phonesim {
namespace {

constexpr int kRegisteredHome = 1;

// An operator by its long name, short name and numeric code (the order of
// the formats of AT+COPS=3,<format>), and its state in AT+COPS=? (2 is the
// current one, 1 one that could be chosen).
struct Operator {
    const char* names[3];
    int state;
};

constexpr Operator kOperators[] = {
    {{"Velkport Mobile", "Velkport", "00101"}, 2},
    {{"Other Mobile", "Other", "00102"}, 1},
};

}  // namespace

// +CREG: <n>,<stat>
void RegistrationQuery(PhoneState& state, std::string_view, Reply& reply) {
    reply = {"+CREG: " + std::to_string(state.registrationReports) + ',' +
                 std::to_string(kRegisteredHome),
             kOk};
}

void RegistrationList(PhoneState&, std::string_view, Reply& reply) {
    reply = {"+CREG: (0,1)", kOk};
}

// AT+CREG=<n>: 1 turns the unsolicited +CREG: <stat> reports on, 0 off. The
// phone knows no cell to report, so 2 (with the cell) is not supported.
void RegistrationChoose(PhoneState& state, std::string_view arguments, Reply& reply) {
    int reports = 0;
    if (!ReadNumber(arguments, reports)) {
        reply.push_back(kError);
        return;
    }
    if (reports != 0 && reports != 1) {
        reply.push_back(CmeError(kNotSupported));
        return;
    }
    state.registrationReports = reports;
    reply.push_back(kOk);
}

std::optional<std::string> RegistrationReport(const PhoneState& state) {
    if (state.registrationReports == 0) return std::nullopt;
    return "+CREG: " + std::to_string(kRegisteredHome);
}

// +COPS: <mode>,<format>,"<operator>", the mode always automatic (0)
void OperatorQuery(PhoneState& state, std::string_view, Reply& reply) {
    reply = {"+COPS: 0," + std::to_string(state.operatorFormat) + ",\"" +
                 kOperators[0].names[state.operatorFormat] + '"',
             kOk};
}

// +COPS: (<stat>,"<long>","<short>","<numeric>"),...,,(<modes>),(<formats>)
void OperatorList(PhoneState&, std::string_view, Reply& reply) {
    std::string line = "+COPS: ";
    for (const Operator& op : kOperators) {
        line += '(' + std::to_string(op.state);
        for (const char* name : op.names) line += ",\"" + std::string(name) + '"';
        line += "),";
    }
    reply = {line + ",(0,1,3,4),(0,1,2)", kOk};
}

// AT+COPS=0 (automatic, as it is) and AT+COPS=3,<format>, which sets only
// the format and passes over an <oper> behind it as 27.007 has it; choosing
// an operator by hand is not supported.
void OperatorChoose(PhoneState& state, std::string_view arguments, Reply& reply) {
    const auto split = SplitArguments(arguments);
    int mode = 0;
    int format = 0;
    if (!split || split->empty() || !NumberAt(*split, 0, mode)) {
        reply.push_back(kError);
        return;
    }
    if (mode == 0 && split->size() == 1) {
        reply.push_back(kOk);
        return;
    }
    if (mode == 3 && (split->size() == 2 || split->size() == 3) && NumberAt(*split, 1, format) &&
        format >= 0 && format < static_cast<int>(std::size(kOperators[0].names))) {
        state.operatorFormat = format;
        reply.push_back(kOk);
        return;
    }
    reply.push_back(CmeError(kNotSupported));
}

}  // namespace velk::phonesim
