// The commands of velk_RunCommands and velk_RunCommandWithBody, read from the
// texts a user writes into the blocks the transfer thread sends, or the
// refusal the export records for velk_GetLastError. Runs on the client's
// thread; nothing here touches the link.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "client/failure_causes.h"
#include "engine/command_block.h"

namespace velk {

struct CommandBlockFree {
    void operator()(ATCommandBlock* block) const { FreeCommandBlock(block); }
};
using CommandBlockPtr = std::unique_ptr<ATCommandBlock, CommandBlockFree>;
using CommandList = std::vector<CommandBlockPtr>;

// The most commands one operation runs.
inline constexpr int kMostCommands = 64;

// The numbers velk_GetLastError gives a refused request (velkport.h).
inline constexpr int32_t kTextRefused = -2;  // a text fits no command, or the wrong one
inline constexpr int32_t kListRefused = -3;  // no list, a null text, a count out of range
inline constexpr int32_t kBodyRefused = -4;  // the message text cannot be sent
inline constexpr int32_t kLinkBusy = -5;     // no link stands, or an operation runs

// The blocks of `texts[0..count)`, in order; the cause when any is refused.
// `withBody`: the one text must be a command that sends a message text, else
// none may be.
std::optional<FailureCause> ReadCommandList(const char* const* texts, int count, bool withBody,
                                            CommandList& out);

// Puts `body` behind the command of `block` (AT+CMGS= or AT+CMGW=).
std::optional<FailureCause> AttachBody(ATCommandBlock& block, const char* body);

FailureCause CauseOfBusyLink();

}  // namespace velk
