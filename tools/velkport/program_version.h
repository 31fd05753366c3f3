// The version of the program: that of the library it is built with.
#pragma once

namespace velk::cli {

// "1.1.0".
const char* ProgramVersion();

}  // namespace velk::cli
