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
void SubscriberIdentity(PhoneState&, std::string_view, Reply&);
void OwnNumber(PhoneState&, std::string_view, Reply&);
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
void PhonebookFind(PhoneState&, std::string_view, Reply&);
void PhonebookWrite(PhoneState&, std::string_view, Reply&);

// message_commands.cpp: short messages in text mode.
void MessageFormat(PhoneState&, std::string_view, Reply&);
void MessageFormatQuery(PhoneState&, std::string_view, Reply&);
void MessageFormatList(PhoneState&, std::string_view, Reply&);
void MessageStorageQuery(PhoneState&, std::string_view, Reply&);
void MessageStorageList(PhoneState&, std::string_view, Reply&);
void MessageStorageChoose(PhoneState&, std::string_view, Reply&);
void MessageList(PhoneState&, std::string_view, Reply&);
void MessageListStates(PhoneState&, std::string_view, Reply&);
void MessageRead(PhoneState&, std::string_view, Reply&);
void MessageDelete(PhoneState&, std::string_view, Reply&);
void IndicationsChoose(PhoneState&, std::string_view, Reply&);
void IndicationsQuery(PhoneState&, std::string_view, Reply&);
void IndicationsList(PhoneState&, std::string_view, Reply&);
// These two answer nothing when they take the message: they leave it in
// state.pendingMessage, the phone sends its prompt, and the text that
// follows goes to TakeMessageText.
void MessageWrite(PhoneState&, std::string_view, Reply&);
void MessageSend(PhoneState&, std::string_view, Reply&);
void TakeMessageText(PhoneState&, std::string_view text, bool cancelled, Reply&);

// network_commands.cpp
void RegistrationQuery(PhoneState&, std::string_view, Reply&);
void RegistrationList(PhoneState&, std::string_view, Reply&);
void RegistrationChoose(PhoneState&, std::string_view, Reply&);
void OperatorQuery(PhoneState&, std::string_view, Reply&);
void OperatorList(PhoneState&, std::string_view, Reply&);
void OperatorChoose(PhoneState&, std::string_view, Reply&);
// The unsolicited registration report; nothing while AT+CREG=0.
std::optional<std::string> RegistrationReport(const PhoneState&);

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
