// The subcommands of `velkport` that talk to the phone: reading and writing
// its ring tones and images, running catalogue commands, its status and its
// notices, through the library's exports, as an application does.
//
//   velkport [LINK OPTIONS] tones [--slots N]
//   velkport [LINK OPTIONS] tone-get SLOT [-o FILE]
//   velkport [LINK OPTIONS] tone-put SLOT NAME FILE
//   velkport [LINK OPTIONS] images
//   velkport [LINK OPTIONS] image-get N [-o FILE] [--frame K] [--frame-ms MS]
//   velkport [LINK OPTIONS] image-put N NAME FILE [--param-first X --param-last Y]
//   velkport [LINK OPTIONS] image-show N [--frame K]
//   velkport [LINK OPTIONS] at TEXT...
//   velkport [LINK OPTIONS] status [--json]
//   velkport [LINK OPTIONS] watch [--json]
//   velkport [LINK OPTIONS] messages [--json]
//   velkport [LINK OPTIONS] message-get INDEX [--json]
//   velkport [LINK OPTIONS] message-delete INDEX
//   velkport [LINK OPTIONS] message-send NUMBER TEXT [--json]
//   velkport [LINK OPTIONS] contacts [--memory M] [--json|--vcard] [--find TEXT]
//   velkport [LINK OPTIONS] contact-put INDEX NUMBER NAME [--memory M]
//   velkport [LINK OPTIONS] contact-delete INDEX [--memory M]
//   velkport [LINK OPTIONS] contacts-restore FILE.vcf [--memory M] [--json]
#pragma once

#include <string_view>

#include "phone_sim/simulator_options.h"
#include "velkport/command_io.h"

namespace velk::cli {

int RunTones(CommandArgs args, const CommandIo& io);
int RunToneGet(CommandArgs args, const CommandIo& io);
int RunTonePut(CommandArgs args, const CommandIo& io);
int RunImages(CommandArgs args, const CommandIo& io);
int RunImageGet(CommandArgs args, const CommandIo& io);
int RunImagePut(CommandArgs args, const CommandIo& io);
int RunImageShow(CommandArgs args, const CommandIo& io);
int RunAt(CommandArgs args, const CommandIo& io);
int RunStatus(CommandArgs args, const CommandIo& io);
int RunWatch(CommandArgs args, const CommandIo& io);
int RunMessages(CommandArgs args, const CommandIo& io);
int RunMessageGet(CommandArgs args, const CommandIo& io);
int RunMessageDelete(CommandArgs args, const CommandIo& io);
int RunMessageSend(CommandArgs args, const CommandIo& io);
int RunContacts(CommandArgs args, const CommandIo& io);
int RunContactPut(CommandArgs args, const CommandIo& io);
int RunContactDelete(CommandArgs args, const CommandIo& io);
int RunContactsRestore(CommandArgs args, const CommandIo& io);

// Runs the transfer subcommand `name` with the built-in phone (when it
// serves) behaving as `simulated` says; the exit code. Unknown names: 2.
int RunTransferCommand(std::string_view name, CommandArgs args, const CommandIo& io,
                       const phonesim::SimulatorOptions& simulated = {});

}  // namespace velk::cli
