// Result forms: the payload of every result block that the worker posts to
// the transfer thread. The decoders fill them; the transfer thread reads the
// status forms and the tone and image forms and frees every other block
// unread.
//
// Field types follow what the phone sends: an int32_t holds a number read from
// a parameter (65535 when it was empty or no number), a uint8_t the low 8 bits
// of such a number (255 for the same failure), a text field the parameter's
// text without quotes, cut to the field. A "list" field holds a parenthesised
// list of a test-form reply, flattened into one text.
#pragma once

#include <cstdint>
#include <vector>

#include "engine/text_fields.h"

namespace velk {

using WordList = std::vector<uint16_t>;

// ---- Status forms ----

// 1 ResultDone, 2 ResultTimedOut: the command the result speaks of.
struct ResultCommandEnd {
    int32_t commandId;
};

// 3 ResultError.
struct ResultErrorForm {
    Text256 message;
    // The mark of the phone's error line the message was cut from ("+CME
    // ERROR:", "+CMS ERROR:" or "+CME:"); empty for a plain "ERROR" and for
    // a report of the library. Not printed: the message is the form.
    char mark[12];
};

// ---- Identification and line status ----

// 5 ResultManufacturer, 6 ResultModel, 7 ResultRevision: the whole reply line.
struct ResultLineText {
    Text256 text;
};

// 8 ResultSerial: the whole reply line.
struct ResultSerial {
    Text32 text;
};

// 9 ResultSignal. An empty parameter leaves its field 0.
struct ResultSignal {
    int32_t rssi;
    int32_t ber;
};

// 11 ResultBattery. An empty parameter leaves its field 0.
struct ResultBattery {
    int32_t connectionStatus;
    int32_t chargeLevel;
};

// 81 ResultImsi.
struct ResultImsi {
    Text32 imsi;
};

// 83 ResultPinState, 84 ReportPinState.
struct ResultPinState {
    Text256 code;
};

// ---- Phone book ----

// 12 ResultPhonebookReadRange: the index range keeps its dash, no commas.
struct ResultPhonebookReadRange {
    Text84 indexRange;
    int32_t numberLength;
    int32_t textLength;
};

// 14 ResultPhonebookEntry, 19 ResultPhonebookFound.
struct ResultPhonebookEntry {
    int32_t index;
    Text32 number;
    int32_t numberType;
    Text256 text;
};

// 15 ResultPhonebookStorages.
struct ResultPhonebookStorages {
    Text84 storages;
};

// 17 ResultPhonebookStorage.
struct ResultPhonebookStorage {
    Text84 storage;
    int32_t used;
    int32_t total;
};

// 20 ResultPhonebookFindRange.
struct ResultPhonebookFindRange {
    int32_t numberLength;
    int32_t textLength;
};

// 22 ResultPhonebookWriteRange.
struct ResultPhonebookWriteRange {
    Text84 indexRange;
    int32_t numberLength;
    Text84 numberTypes;
    int32_t textLength;
};

// ---- Short-message settings ----

// 25 ResultMessageServiceSet.
struct ResultMessageServiceSet {
    int32_t mobileTerminated;
    int32_t mobileOriginated;
    int32_t broadcast;
};

// 26 ResultMessageService.
struct ResultMessageService {
    int32_t service;
    int32_t mobileTerminated;
    int32_t mobileOriginated;
    int32_t broadcast;
};

// 27 ResultMessageServices.
struct ResultMessageServices {
    Text84 services;
};

// 34 ResultBroadcastModes.
struct ResultBroadcastModes {
    Text84 modes;
};

// 36 ResultSaveProfiles, 38 ResultRestoreProfiles: no commas added.
struct ResultProfiles {
    Text84 profiles;
};

// 43 ResultMessageFormats.
struct ResultMessageFormats {
    Text84 formats;
};

// 51 ResultShowHeaderValues.
struct ResultShowHeaderValues {
    Text84 values;
};

// 95 ResultListStates.
struct ResultListStates {
    Text84 states;
};

// 29 ResultMessageStoresSet.
struct ResultMessageStoresSet {
    int32_t used1;
    int32_t total1;
    int32_t used2;
    int32_t total2;
    int32_t used3;
    int32_t total3;
};

// 30 ResultMessageStores.
struct ResultMessageStores {
    Text84 store1;
    int32_t used1;
    int32_t total1;
    Text84 store2;
    int32_t used2;
    int32_t total2;
    Text84 store3;
    int32_t used3;
    int32_t total3;
};

// 31 ResultMessageStoreLists.
struct ResultMessageStoreLists {
    Text84 stores1;
    Text84 stores2;
    Text84 stores3;
};

// 33 ResultBroadcastSelection.
struct ResultBroadcastSelection {
    int32_t mode;
    Text84 messageIds;
    Text84 codings;
};

// 42 ResultMessageFormat.
struct ResultMessageFormat {
    int32_t format;
};

// 50 ResultShowHeader.
struct ResultShowHeader {
    int32_t show;
};

// 40 ResultCommandSent, 66 ResultMessageSent, 68 ResultStoredSent.
struct ResultMessageReference {
    int32_t reference;
};

// 70 ResultMessageWritten.
struct ResultMessageWritten {
    int32_t index;
};

// 46 ResultServiceCentre.
struct ResultServiceCentre {
    Text32 address;
    int32_t addressType;
};

// 48 ResultTextParameters.
struct ResultTextParameters {
    int32_t firstOctet;
    int32_t validity;
    int32_t protocolId;
    int32_t codingScheme;
};

// 53 ResultIndicationModes, 55 ReportIndicationModes.
struct ResultIndicationModes {
    int32_t mode;
    int32_t deliver;
    int32_t broadcast;
    int32_t statusReport;
    int32_t buffered;
};

// 54 ResultIndicationLists.
struct ResultIndicationLists {
    Text84 modes;
    Text84 delivers;
    Text84 broadcasts;
    Text84 statusReports;
    Text84 buffereds;
};

// ---- Short messages, read in text mode ----
// A message comes as a header line and a body line, so as two blocks: the
// header block, and a body block (ids 229, 230, 231, 233, 234, 235) that has
// only `body` filled, at the place it has in the header form.

// 62 ResultMessageHeader, deliver form; 231 ResultMessageBody.
struct ResultMessageDeliverHeader {
    Text84 state;
    Text32 originator;
    Text256 alpha;
    Text256 timestamp;
    int32_t originatorType;
    int32_t firstOctet;
    int32_t protocolId;
    int32_t codingScheme;
    Text32 serviceCentre;
    int32_t serviceCentreType;
    int32_t length;
    Text84 body;
};

// 62 ResultMessageHeader, submit form; 231 ResultMessageBody.
struct ResultMessageSubmitHeader {
    Text84 state;
    Text32 destination;
    Text256 alpha;
    Text256 timestamp;
    int32_t destinationType;
    int32_t firstOctet;
    int32_t protocolId;
    int32_t codingScheme;
    int32_t validity;
    Text32 serviceCentre;
    int32_t serviceCentreType;
    int32_t length;
    Text84 body;
};

// 64 ResultBroadcastHeader; 233 ResultBroadcastBody.
struct ResultBroadcastHeader {
    Text84 state;
    int32_t serial;
    int32_t messageId;
    int32_t codingScheme;
    int32_t page;
    int32_t pages;
    Text84 body;
};

// 96 ResultListHeader; 229 ResultListBody.
struct ResultListHeader {
    int32_t index;
    Text84 state;
    Text32 address;
    Text84 alpha;
    Text84 timestamp;
    int32_t addressType;
    int32_t length;
    Text84 body;
};

// 97 ResultListBroadcastHeader; 230 ResultListBroadcastBody.
struct ResultListBroadcastHeader {
    int32_t index;
    Text84 state;
    int32_t serial;
    int32_t messageId;
    int32_t page;
    int32_t pages;
    Text84 body;
};

// ---- Network and subscription ----

// 4 ResultOperatorSet, 77 ResultOperator.
struct ResultOperator {
    int32_t mode;
    int32_t format;
    Text32 operatorName;
};

// 73 ResultRegistration.
struct ResultRegistration {
    int32_t presentation;
    int32_t state;
};

// 80 ResultOwnNumber.
struct ResultOwnNumber {
    Text84 number;
    Text32 numberType;
    int32_t speed;
};

// 86 ResultCallMeter, 88 ResultCallMeterMaximum.
struct ResultCallMeter {
    Text32 value;
};

// 90 ResultPricePerUnit.
struct ResultPricePerUnit {
    Text84 currency;
    Text84 pricePerUnit;
};

// 78 ResultOperators: every group of the reply, one after the other.
struct ResultOperators {
    Text84 operators;
};

// 92 ResultCharacterSet.
struct ResultCharacterSet {
    Text256 characterSet;
};

// 93 ResultCharacterSets.
struct ResultCharacterSets {
    Text84 characterSets;
};

// ---- Forms of commands without a text of their own ----

// 98 ResultCallEntry, 79 ReportCallEntry.
struct ResultCallEntry {
    int32_t callId;
    int32_t direction;
    int32_t state;
    int32_t mode;
    int32_t multiparty;
    Text32 number;
    int32_t numberType;
    Text256 alpha;
};

// 103/116/117/118/126/132 ResultOneNumber, 104 ReportExaudio, 123 ReportAlarm,
// 139 ReportExhtrp.
struct ResultOneNumber {
    int32_t value;
};

// 101 ResultExatdst, 102 ReportNoCarrier, 124 ReportExchrst.
struct ResultThreeNumbers {
    int32_t values[3];
};

// 105/115 ResultTwoNumbers, 120 ReportExaccrp. 107 to 111 ResultServiceState:
// the second number stays 0 when the line has none.
struct ResultTwoNumbers {
    int32_t values[2];
};

// 106 ResultServiceList.
struct ResultServiceList {
    Text84 list;
};

// 112 ResultServiceDetail.
struct ResultServiceDetail {
    int32_t status;
    int32_t serviceClass;
    Text32 number;
    int32_t numberType;
};

// 113 ResultServiceLock.
struct ResultServiceLock {
    int32_t status;
};

// 114 ResultTenNumbers.
struct ResultTenNumbers {
    int32_t values[10];
};

// 121 ResultOneText.
struct ResultOneText {
    Text256 text;
};

// 125 ResultMixedLine.
struct ResultMixedLine {
    int32_t leading[3];
    Text84 text;
    int32_t trailing[6];
};

// 136 ResultTwoTexts.
struct ResultTwoTexts {
    Text84 first;
    Text32 second;
};

// ---- Tone, image and logo information ----
// Names are 10-byte fields with no terminator when full; every number is a
// single byte.

// 151 ResultToneInfo: one +RNGI line.
struct ResultToneInfo {
    char infoName[10];
    uint8_t infoNumber1;
    uint8_t infoNumber2;
    uint8_t nameLength;
    uint8_t infoNumber3;
};

// 153 ResultTonePart: one +RNGR line. `part` 1 is the first of several, 255
// the only part. sizeHigh * 128 + sizeLow is the whole size, filled by a
// first part; an only part states the size in textLength.
struct ResultTonePart {
    uint8_t index;
    char name[10];
    uint8_t nameLength;
    uint8_t part;
    uint8_t totalParts;
    uint8_t textLength;
    uint8_t sizeHigh;
    uint8_t sizeLow;
    char text[129];
    uint8_t partCheck;
};

// 156 ResultImageInfo: one +IMGINF line. The block owns `frameRanges`; the
// consumer deletes the list and nulls the pointer before freeing the block.
struct ResultImageInfo {
    char infoName[10];
    uint8_t nameLength;
    uint8_t infoNumber1;
    uint8_t infoNumber2;
    uint8_t infoNumber3;
    uint8_t infoNumber4;
    uint8_t infoNumber5;
    WordList* frameRanges;
};

// 158 ResultImagePart: one +IMGR line, the tone part's fields and the three
// numbers of the image's parameter text.
struct ResultImagePart {
    uint8_t index;
    char name[10];
    uint8_t nameLength;
    uint8_t part;
    uint8_t totalParts;
    uint8_t textLength;
    uint8_t sizeHigh;
    uint8_t sizeLow;
    char text[129];
    uint8_t partCheck;
    uint8_t animParam1;
    uint8_t animParam2;
    uint8_t animParam3;
};

// 160 ResultLogoInfo: one +LOGOINF line.
struct ResultLogoInfo {
    char infoName[10];
    uint8_t nameLength;
    uint8_t infoNumber1;
    uint8_t infoNumber2;
    uint8_t infoNumber3;
    uint8_t infoNumber4;
};

// 162 ResultLogoPart: one +LOGOR line.
struct ResultLogoPart {
    uint8_t index;
    char countryCode[10];
    char networkCode[10];
    uint8_t logoType;
    uint8_t part;
    uint8_t totalParts;
    uint8_t textLength;
    uint8_t sizeHigh;
    uint8_t sizeLow;
    char text[129];
    uint8_t partCheck;
};

// ---- Forms of lines the phone sends of its own accord ----

// 56 ReportMessageStored, 59 ReportBroadcastStored.
struct ReportMessageStored {
    Text84 store;
    int32_t index;
};

// 57 ReportMessageHeader; 235 ReportMessageBody.
struct ReportMessageHeader {
    Text32 originator;
    Text84 alpha;
    Text84 timestamp;
    int32_t originatorType;
    int32_t firstOctet;
    int32_t protocolId;
    int32_t codingScheme;
    Text32 serviceCentre;
    int32_t serviceCentreType;
    int32_t length;
    Text84 body;
};

// 57 ReportBroadcastHeader (the same id as ReportMessageHeader); 234
// ReportBroadcastBody.
struct ReportBroadcastHeader {
    int32_t serial;
    int32_t messageId;
    int32_t codingScheme;
    int32_t page;
    int32_t pages;
    Text84 body;
};

// 58 ReportStatus.
struct ReportStatus {
    int32_t firstOctet;
    int32_t reference;
    Text84 recipient;
    int32_t recipientType;
    Text84 timestamp;
    Text84 dischargeTime;
    int32_t status;
};

// 99 ReportRingType.
struct ReportRingType {
    int32_t type;
};

// 122 ReportClock.
struct ReportClock {
    Text256 time;
};

// 75 ReportRegistration.
struct ReportRegistration {
    int32_t state;
    int32_t cell;
};

// 100 ReportCallWaiting.
struct ReportCallWaiting {
    int32_t serviceClass;
    Text32 number;
    int32_t numberType;
    Text32 alpha;
};

// 137 ReportCharge.
struct ReportCharge {
    Text84 meter;
    Text84 second;
};

union ResultForms {
    // status
    ResultCommandEnd done;
    ResultCommandEnd timedOut;
    ResultErrorForm error;
    // tone and image transfers
    ResultToneInfo toneInfo;
    ResultTonePart tonePart;
    ResultImageInfo imageInfo;
    ResultImagePart imagePart;
    ResultLogoInfo logoInfo;
    ResultLogoPart logoPart;
    // identification and line status
    ResultLineText manufacturer;
    ResultLineText model;
    ResultLineText revision;
    ResultSerial serial;
    ResultSignal signal;
    ResultBattery battery;
    ResultImsi imsi;
    ResultPinState pinState;
    // phone book
    ResultPhonebookReadRange phonebookReadRange;
    ResultPhonebookEntry phonebookEntry;
    ResultPhonebookEntry phonebookFound;
    ResultPhonebookStorages phonebookStorages;
    ResultPhonebookStorage phonebookStorage;
    ResultPhonebookFindRange phonebookFindRange;
    ResultPhonebookWriteRange phonebookWriteRange;
    // short-message settings
    ResultMessageServiceSet messageServiceSet;
    ResultMessageService messageService;
    ResultMessageServices messageServices;
    ResultMessageStoresSet messageStoresSet;
    ResultMessageStores messageStores;
    ResultMessageStoreLists messageStoreLists;
    ResultBroadcastSelection broadcastSelection;
    ResultBroadcastModes broadcastModes;
    ResultProfiles saveProfiles;
    ResultProfiles restoreProfiles;
    ResultMessageFormat messageFormat;
    ResultMessageFormats messageFormats;
    ResultServiceCentre serviceCentre;
    ResultTextParameters textParameters;
    ResultShowHeader showHeader;
    ResultShowHeaderValues showHeaderValues;
    ResultIndicationModes indicationModes;
    ResultIndicationLists indicationLists;
    ResultListStates listStates;
    // short messages
    ResultMessageReference commandSent;
    ResultMessageDeliverHeader messageDeliverHeader;
    ResultMessageSubmitHeader messageSubmitHeader;
    ResultBroadcastHeader broadcastHeader;
    ResultMessageReference messageSent;
    ResultMessageReference storedSent;
    ResultMessageWritten messageWritten;
    ResultListHeader listHeader;
    ResultListBroadcastHeader listBroadcastHeader;
    // network and subscription
    ResultOperator operatorSet;
    ResultRegistration registration;
    ResultOperator operatorCurrent;
    ResultOperators operators;
    ResultOwnNumber ownNumber;
    ResultCallMeter callMeter;
    ResultCallMeter callMeterMaximum;
    ResultPricePerUnit pricePerUnit;
    ResultCharacterSet characterSet;
    ResultCharacterSets characterSets;
    // commands without a text of their own
    ResultCallEntry callEntry;
    ResultThreeNumbers exatdst;
    ResultOneNumber oneNumber;
    ResultTwoNumbers twoNumbers;
    ResultServiceList serviceList;
    ResultTwoNumbers serviceState;
    ResultServiceDetail serviceDetail;
    ResultServiceLock serviceLock;
    ResultTenNumbers tenNumbers;
    ResultOneText oneText;
    ResultMixedLine mixedLine;
    ResultTwoTexts twoTexts;
    // lines the phone sends of its own accord
    ResultIndicationModes reportIndicationModes;
    ReportMessageStored reportMessageStored;
    ReportMessageHeader reportMessageHeader;
    ReportRegistration reportRegistration;
    ResultCallEntry reportCallEntry;
    ResultPinState reportPinState;
    ReportRingType reportRingType;
    ReportCallWaiting reportCallWaiting;
    ResultThreeNumbers reportNoCarrier;
    ResultOneNumber reportExaudio;
    ResultTwoNumbers reportExaccrp;
    ReportClock reportClock;
    ResultOneNumber reportAlarm;
    ResultThreeNumbers reportExchrst;
    ReportCharge reportCharge;
    ResultOneNumber reportExhtrp;
    ReportMessageStored reportBroadcastStored;
    ReportBroadcastHeader reportBroadcastHeader;
    ReportStatus reportStatus;
};

}  // namespace velk
