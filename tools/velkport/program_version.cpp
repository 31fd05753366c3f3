#include "velkport/program_version.h"

#include "velkport.h"

namespace velk::cli {

// The program is built with the library and carries its version.
const char* ProgramVersion() {
    return velk_GetVersion();
}

}  // namespace velk::cli
