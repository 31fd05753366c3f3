#include "velkport/program_version.h"

namespace velk::cli {

const char* ProgramVersion() {
    return VELK_PROGRAM_VERSION;
}

}  // namespace velk::cli
