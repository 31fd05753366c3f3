// The handlers of the commands the phone knows, one family a file.
#pragma once

#include "phone_sim/phone_state.h"

namespace velk::phonesim {

// general_commands.cpp: the line, identification, character set.
void AnswerOk(PhoneState&, std::string_view, Reply&);
void EchoOff(PhoneState&, std::string_view, Reply&);
void EchoOn(PhoneState&, std::string_view, Reply&);
void ResetProfile(PhoneState&, std::string_view, Reply&);
void Manufacturer(PhoneState&, std::string_view, Reply&);
void Model(PhoneState&, std::string_view, Reply&);
void Revision(PhoneState&, std::string_view, Reply&);
void SerialNumber(PhoneState&, std::string_view, Reply&);
void SignalQuality(PhoneState&, std::string_view, Reply&);
void BatteryCharge(PhoneState&, std::string_view, Reply&);
void MessageService(PhoneState&, std::string_view, Reply&);
void CharacterSetQuery(PhoneState&, std::string_view, Reply&);
void CharacterSetList(PhoneState&, std::string_view, Reply&);
void CharacterSetChoose(PhoneState&, std::string_view, Reply&);

// phonebook_commands.cpp
void PhonebookStorageList(PhoneState&, std::string_view, Reply&);
void PhonebookStorageQuery(PhoneState&, std::string_view, Reply&);
void PhonebookStorageChoose(PhoneState&, std::string_view, Reply&);
void PhonebookReadRange(PhoneState&, std::string_view, Reply&);
void PhonebookRead(PhoneState&, std::string_view, Reply&);
void PhonebookWriteRange(PhoneState&, std::string_view, Reply&);
void PhonebookFindRange(PhoneState&, std::string_view, Reply&);

// transfer_commands.cpp: ring tones and images.
void ToneInfo(PhoneState&, std::string_view, Reply&);
void ToneRead(PhoneState&, std::string_view, Reply&);
void ToneWrite(PhoneState&, std::string_view, Reply&);
void ImageInfo(PhoneState&, std::string_view, Reply&);
void FrameRead(PhoneState&, std::string_view, Reply&);
void FrameWrite(PhoneState&, std::string_view, Reply&);

// A whole decimal number of at most five digits and nothing else.
bool ReadNumber(std::string_view text, int& value);

}  // namespace velk::phonesim
