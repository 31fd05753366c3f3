// The phone's contents before anything is written: three ring tones (small
// MIDI files, as hexadecimal text), three images of 96 by 64 dots (one bit a
// dot, as hexadecimal text: 1536 characters a frame) with one, three and two
// frames, two phone books (the SIM's with names, the phone's own empty) and
// a few short messages.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "phone_sim/phone_store.h"

namespace velk::phonesim {

struct SampleSet {
    std::map<int, Tone> tones;
    std::vector<Image> images;
    std::map<int, std::string> frames;
    std::map<std::string, Phonebook> phonebooks;
    std::map<int, ShortMessage> messages;
};

// `entries` names in the SIM's phone book.
SampleSet MakeSampleSet(int entries);

// sample_contents.cpp: the names and messages.
Phonebook SampleSimPhonebook(int entries);
std::map<int, ShortMessage> SampleMessages();

}  // namespace velk::phonesim
