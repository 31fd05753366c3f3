#include "velkport/last_failure.h"

#include "velkport.h"

namespace velk::cli {

LibraryFailure LastFailure() {
    const char* text = nullptr;
    LibraryFailure failure;
    failure.code = velk_GetLastError(&text);
    if (text != nullptr) failure.text = text;
    // 0 with no text: nothing has failed since the last start or request.
    failure.known = failure.code != 0 || !failure.text.empty();
    return failure;
}

}  // namespace velk::cli
