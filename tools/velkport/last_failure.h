// What the library knows of the cause of its latest failure: after a refused
// start, the step that failed and why; after an operation that ended badly,
// the phone's error number and its line. The program's sentences add it
// where it is known.
#pragma once

#include <string>

namespace velk::cli {

struct LibraryFailure {
    bool known = false;
    // The phone's error number (+CME ERROR or +CMS ERROR; 0 for a plain
    // ERROR; -1 for a time-out or a lost link), or the errno of a failed start.
    int code = 0;
    std::string text;  // the phone's line, or a sentence
};

// Asked right after a failed velk_BeginThread or the final message of a
// failed operation, before the next request.
LibraryFailure LastFailure();

}  // namespace velk::cli
