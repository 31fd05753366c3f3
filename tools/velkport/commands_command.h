// `velkport commands`: the catalogue of commands the engine can send and
// decode, with the ids that `velkport decode --id` takes.
//
//   velkport commands [--json]
#pragma once

#include "velkport/command_io.h"

namespace velk::cli {

int RunCommands(CommandArgs args, const CommandIo& io);

}  // namespace velk::cli
