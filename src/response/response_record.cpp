#include "response/response_record.h"

#include <utility>

namespace velk {
namespace {

// Nodes released on a thread wait on that thread for its next line, with the
// room of their text: the worker then reads reply after reply with no
// allocation for the parameters. The list is bounded in length and in the
// room a node may keep, so a hostile line cannot pin memory.
constexpr std::size_t kMaxSpareNodes = 256;
constexpr std::size_t kMaxSpareText = 512;

// Plain thread-local values, valid until the thread has ended: a record
// released after the list was emptied at thread exit deletes its nodes
// directly.
thread_local ATResponseParam* spareNodes = nullptr;
thread_local std::size_t spareCount = 0;
thread_local bool spareClosed = false;

void DeleteSpares() noexcept {
    while (spareNodes != nullptr) {
        ATResponseParam* node = spareNodes;
        spareNodes = node->next;
        delete node;
    }
    spareCount = 0;
}

// Empties the list when its thread ends.
struct SpareNodesCloser {
    SpareNodesCloser() = default;
    SpareNodesCloser(const SpareNodesCloser&) = delete;
    SpareNodesCloser& operator=(const SpareNodesCloser&) = delete;
    ~SpareNodesCloser() {
        DeleteSpares();
        spareClosed = true;
    }
};
thread_local SpareNodesCloser spareNodesCloser;

// A node in its reset state, taken from the thread's spares when it has one.
ATResponseParam* NewNode() {
    ATResponseParam* node = spareNodes;
    if (node == nullptr) return new ATResponseParam();
    spareNodes = node->next;
    --spareCount;
    ResetKeepingRoom(*node);
    return node;
}

void ReleaseNode(ATResponseParam* node) noexcept {
    if (spareClosed || spareCount >= kMaxSpareNodes || node->text.capacity() > kMaxSpareText) {
        delete node;
        return;
    }
    (void)&spareNodesCloser;  // registers the list's emptying at thread exit
    node->next = spareNodes;
    spareNodes = node;
    ++spareCount;
}

}  // namespace

ATResponseRecord::ATResponseRecord(ATResponseRecord&& other) noexcept
    : text(std::move(other.text)),
      lineLength(other.lineLength),
      kind(other.kind),
      responseCode(other.responseCode),
      firstParam(std::move(other.firstParam)),
      allLegal(other.allLegal),
      outOfTurn(other.outOfTurn) {
    other.firstParam.next = nullptr;
}

ATResponseRecord& ATResponseRecord::operator=(ATResponseRecord&& other) noexcept {
    if (this != &other) {
        ReleaseParams();
        text = std::move(other.text);
        lineLength = other.lineLength;
        kind = other.kind;
        responseCode = other.responseCode;
        firstParam = std::move(other.firstParam);
        other.firstParam.next = nullptr;
        allLegal = other.allLegal;
        outOfTurn = other.outOfTurn;
    }
    return *this;
}

ATResponseRecord::~ATResponseRecord() {
    ReleaseParams();
}

ATResponseParam* ATResponseRecord::AppendParam(ATResponseParam& after) {
    ATResponseParam* node = NewNode();
    node->next = after.next;
    after.next = node;
    return node;
}

void ATResponseRecord::ReleaseParams() noexcept {
    ATResponseParam* p = firstParam.next;
    firstParam.next = nullptr;
    while (p != nullptr) {
        ATResponseParam* following = p->next;
        ReleaseNode(p);
        p = following;
    }
}

void ResetKeepingRoom(ATResponseParam& param) {
    // Assigning from an empty text keeps the room that the text has.
    static const ATResponseParam kFresh;
    param = kFresh;
}

void ResetAllButText(ATResponseRecord& record) {
    record.ReleaseParams();
    record.lineLength = 0;
    record.kind = kindNone;
    record.responseCode = kNoResponseCode;
    ResetKeepingRoom(record.firstParam);
    record.allLegal = 1;
    record.outOfTurn = 0;
}

}  // namespace velk
