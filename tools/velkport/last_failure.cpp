#include "velkport/last_failure.h"

namespace velk::cli {

// The library does not tell the cause yet: every sentence then stands
// without it.
LibraryFailure LastFailure() {
    return {};
}

}  // namespace velk::cli
