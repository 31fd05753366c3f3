#include "response/response_record.h"

#include <utility>

namespace velk {
namespace {

// Copies the chain behind `from` into fresh nodes behind `to`. A line can
// carry thousands of parameters, so the chain is walked, never recursed.
void CopyChain(const ATResponseParam& from, ATResponseParam& to) {
    to.next = nullptr;
    ATResponseParam* tail = &to;
    for (const ATResponseParam* p = from.next; p != nullptr; p = p->next) {
        auto* node = new ATResponseParam(*p);
        node->next = nullptr;
        tail->next = node;
        tail = node;
    }
}

}  // namespace

ATResponseRecord::ATResponseRecord(const ATResponseRecord& other)
    : text(other.text),
      lineLength(other.lineLength),
      kind(other.kind),
      responseCode(other.responseCode),
      firstParam(other.firstParam),
      allLegal(other.allLegal),
      outOfTurn(other.outOfTurn) {
    try {
        CopyChain(other.firstParam, firstParam);
    } catch (...) {
        ReleaseParams();
        throw;
    }
}

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

ATResponseRecord& ATResponseRecord::operator=(const ATResponseRecord& other) {
    if (this != &other) {
        ATResponseRecord copy(other);
        *this = std::move(copy);
    }
    return *this;
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
    auto* node = new ATResponseParam();
    node->next = after.next;
    after.next = node;
    return node;
}

void ATResponseRecord::ReleaseParams() noexcept {
    ATResponseParam* p = firstParam.next;
    firstParam.next = nullptr;
    while (p != nullptr) {
        ATResponseParam* following = p->next;
        delete p;
        p = following;
    }
}

std::size_t ATResponseRecord::ParamCount() const noexcept {
    std::size_t count = 0;
    for (const ATResponseParam* p = &firstParam; p != nullptr; p = p->next) ++count;
    return count;
}

}  // namespace velk
