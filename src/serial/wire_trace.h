// Three text files for a trace of what goes over the line, in the user's
// own temporary directory /tmp/velkport-<uid>:
//   TargetFile.txt  what the phone sent (must exist already; only read)
//   PcFile.txt      what the computer sent
//   LogFile.txt     both
// Opening writes a banner to the last two and empties them of anything
// older. Nothing of the library writes more to them: they are kept for a
// trace taken by hand. The directory has to be there, be the user's own and
// not writable by others (see private_files.h), or nothing is opened.
//
// Open and close may run on any thread; the files are process-wide.
#pragma once

#include <string>

namespace velk {

// 1 when all three files are open, else 0 with none open.
int OpenWireTrace();
// The same, in `directory` instead of /tmp/velkport-<uid>.
int OpenWireTraceIn(const std::string& directory);
// Closes the files that are open.
void CloseWireTrace();

}  // namespace velk
