// The version of the programs, the project's version at build time.
#pragma once

namespace velk::cli {

// "1.1.0".
const char* ProgramVersion();

}  // namespace velk::cli
