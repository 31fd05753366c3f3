#include "response/response_list.h"

namespace velk {

ATResponseRecord& CATResponseList::GetRecord(int32_t index) {
    const std::size_t at = index < 0 ? 0 : static_cast<std::size_t>(index);
    while (records_.size() <= at) records_.push_back(std::make_unique<ATResponseRecord>());
    return *records_[at];
}

CATResponseList::CATResponseList() {
    GetRecord(0);
}

void CATResponseList::Restart() noexcept {
    if (records_.empty()) return;
    records_.resize(1);
    // The text's room stays: the next line is copied into it without an
    // allocation of its own.
    ATResponseRecord& first = *records_[0];
    ResetKeepingRoom(first);
}

}  // namespace velk
