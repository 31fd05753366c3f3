// `velkport cleanup`: removes the shared-memory objects of the library's two
// queues that no process has open. A link leaves them in place when it
// ends, since the queues' other party may still hold them.
//
//   velkport cleanup
#pragma once

#include <string>

#include "velkport/command_io.h"

namespace velk::cli {

int RunCleanup(CommandArgs args, const CommandIo& io);

// The same on the objects in `directory` (where the system keeps shared
// memory); what any process has open is read from /proc.
int CleanupSharedObjects(const std::string& directory, const CommandIo& io);

}  // namespace velk::cli
