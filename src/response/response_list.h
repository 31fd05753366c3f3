// CATResponseList: the reader's store of classified lines. Only record 0 is
// ever used (one line per read), but the store hands out any non-negative
// index, creating records on demand; it never hands out a missing record.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "response/response_record.h"

namespace velk {

class CATResponseList {
  public:
    // Holds record 0 from the start, so a read never needs to create one.
    CATResponseList();
    CATResponseList(const CATResponseList&) = delete;
    CATResponseList& operator=(const CATResponseList&) = delete;

    // The record at `index`, created if it does not exist yet. A negative
    // index is a caller's fault and is served with record 0.
    ATResponseRecord& GetRecord(int32_t index);

    // Drops every record and their parameter chains, leaving record 0 as a
    // fresh record. Record 0 keeps its allocation, so a read costs no more
    // than the line itself.
    void Restart() noexcept;

    std::size_t Size() const { return records_.size(); }

  private:
    std::vector<std::unique_ptr<ATResponseRecord>> records_;
};

}  // namespace velk
