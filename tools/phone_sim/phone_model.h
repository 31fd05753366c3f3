// The phone's side of the AT dialogue, without the line: a command line in,
// its reply lines out (the final line last). Commands are matched without
// regard to case, as a phone does; their arguments keep theirs. A command
// the phone does not know is answered "ERROR".
#pragma once

#include <optional>
#include <string>

#include "phone_sim/phone_state.h"

namespace velk::phonesim {

class PhoneModel {
  public:
    // With `reportRegistration` the phone starts as after AT+CREG=1.
    explicit PhoneModel(PhoneStore& store, bool reportRegistration = false);

    // The reply to one command line (without its CR); an empty line gets
    // no reply at all.
    Reply Answer(const std::string& line);

    // True after AT+CMGS= or AT+CMGW took the message: the phone answers with
    // its "> " prompt and takes the text up to Ctrl-Z (or Esc) as no command.
    bool AwaitingText() const { return state_.pendingMessage.has_value(); }
    // The reply to that text, or to its cancelling.
    Reply TakeText(const std::string& text, bool cancelled);
    // Unsolicited lines due after the last reply (a +CMTI), taken away.
    Reply TakeNotices();
    // The report sent between commands with --notify; nothing while the
    // reports are off (AT+CREG=0).
    std::optional<std::string> RegistrationNotice() const;

    // Whether the phone echoes the commands it gets (on until ATE0).
    bool Echo() const { return state_.echo; }
    PhoneStore& Store() { return state_.store; }

  private:
    PhoneState state_;
};

}  // namespace velk::phonesim
