// The phone's side of the AT dialogue, without the line: a command line in,
// its reply lines out (the final line last). Commands are matched without
// regard to case, as a phone does; their arguments keep theirs. A command
// the phone does not know is answered "ERROR".
#pragma once

#include <string>

#include "phone_sim/phone_state.h"

namespace velk::phonesim {

class PhoneModel {
  public:
    explicit PhoneModel(PhoneStore& store) : state_(store) {}

    // The reply to one command line (without its CR); an empty line gets
    // no reply at all.
    Reply Answer(const std::string& line);

    // Whether the phone echoes the commands it gets (on until ATE0).
    bool Echo() const { return state_.echo; }
    PhoneStore& Store() { return state_.store; }

  private:
    PhoneState state_;
};

}  // namespace velk::phonesim
