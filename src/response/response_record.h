// One classified line from the phone and the parameters cut out of it.
//
// The decoders read a record like this:
//
//   for (const ATResponseParam* p = &record.firstParam; p != nullptr; p = p->next) {
//       // p->text, p->type, p->omitted, p->legal
//   }
//
// The first parameter is held in the record, so a line always has one node;
// the nodes behind it, one per parameter, belong to the record. Released
// nodes are kept for the thread's next line, so a steady stream of replies
// allocates none. The worker keeps one record and refills it line after
// line; moving a record hands its chain over, destroying it releases the
// chain, and a record is never copied.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

namespace velk {

// What a line was.
enum : uint32_t {
    kindPlainText = 0,  // a line with no "+" head
    kindHeadLine = 1,   // a "+" head found in the grammar, parameters walked
    kindOk = 2,         // "OK\r"
    kindError = 3,      // "ERROR\r" or an error line with a head
    kindNone = 4,       // nothing recognised
};

inline constexpr uint32_t kNoResponseCode = 83;  // no grammar row
inline constexpr uint32_t kParamTypeNone = 15;   // reset value of a parameter's type

// One parameter of a line. `next` is owned by the record the node belongs
// to; a node copied out of a record must not be used to release anything.
struct ATResponseParam {
    uint32_t omitted = 0;  // 1: empty between two commas
    uint32_t legal = 1;    // 0: passed none of its validators
    uint32_t rawLine = 0;  // first node only: 1 when the line is plain text
    uint32_t type = kParamTypeNone;
    std::string text;       // the value, quotes removed
    uint32_t start = 0;     // offset of the value in the normalised parameter text
    int32_t lastIndex = 0;  // length of text less 1
    ATResponseParam* next = nullptr;
};

struct ATResponseRecord {
    std::string text;  // the line
    uint32_t lineLength = 0;
    uint32_t kind = kindNone;
    uint32_t responseCode = kNoResponseCode;
    ATResponseParam firstParam;
    uint32_t allLegal = 1;
    uint32_t outOfTurn = 0;

    ATResponseRecord() = default;
    ATResponseRecord(const ATResponseRecord& other) = delete;
    ATResponseRecord(ATResponseRecord&& other) noexcept;
    ATResponseRecord& operator=(const ATResponseRecord& other) = delete;
    ATResponseRecord& operator=(ATResponseRecord&& other) noexcept;
    ~ATResponseRecord();

    // Allocates a node in its reset state and links it behind `after`, which
    // must be a node of this record. Returns the new node.
    ATResponseParam* AppendParam(ATResponseParam& after);

    // Releases every node behind firstParam; firstParam.next becomes null.
    void ReleaseParams() noexcept;
};

// Puts a parameter back to its reset state but keeps the room of its text, so
// that the next line is read without an allocation. Every node of every line
// passes here, so it builds no fresh node to move from.
void ResetKeepingRoom(ATResponseParam& param);

// Puts every field of a record but its text back to its reset state and
// releases its chain; the text stays as it is, with its room.
void ResetAllButText(ATResponseRecord& record);

}  // namespace velk
