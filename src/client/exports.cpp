// The exported functions. They do almost no work of their own: they find the
// one CATTransferThread of the link, let it test its flags and post the
// request, and answer 1 or 0. No exception crosses into the application.
//
// Locks: `g_lifecycleLock` serialises the calls that build or tear down a
// link (begin, end, cancel); `g_linkGuard` lets every other export use the
// object while no link change swaps it. Neither is held over a wait for the
// library's own threads except the lifecycle lock, which only the
// lifecycle calls take.
#include <atomic>
#include <cerrno>
#include <mutex>
#include <shared_mutex>

#include "client/command_list.h"
#include "client/last_failure.h"
#include "client/notice_store.h"
#include "client/transfer_thread.h"
#include "platform/window_sink.h"
#include "serial/port_devices.h"
#include "serial/serial_link.h"
#include "velkport.h"

namespace velk {
namespace {

std::mutex g_lifecycleLock;
std::shared_mutex g_linkGuard;
std::atomic<int32_t> g_bThreadStarted{0};
// Written under both locks; read under either.
CATTransferThread* g_pTransferThread = nullptr;

// The arguments of the last good begin, for the restart of a cancel. The
// window lives on as the sink's own duplicate of the descriptor.
uint8_t g_nPort = 0;
uint32_t g_nBaud = 0;
int32_t g_nSoftwareFlow = 0;

// Made at the first begin rather than at load, and never destroyed, so that
// no thread of a link left standing at exit writes through a dead object.
WindowSink& ClientWindow() {
    static WindowSink* sink = new WindowSink();
    return *sink;
}

// One store for the process: whether notices are on outlives a link.
NoticeStore& ClientNotices() {
    static NoticeStore* store = new NoticeStore();
    return *store;
}

template <typename Call>
int32_t Guarded(Call call) {
    try {
        return call();
    } catch (...) {
        return 0;
    }
}

// Runs `call` on the link's object while the link stands, else answers 0.
template <typename Call>
int32_t WithLink(Call call) {
    return Guarded([&]() -> int32_t {
        std::shared_lock<std::shared_mutex> guard(g_linkGuard);
        if (!g_bThreadStarted.load() || !g_pTransferThread) return 0;
        return call(*g_pTransferThread);
    });
}

// With the lifecycle lock held. A start that fails records why.
bool TryStartLink(uint8_t port, uint32_t baudRate, int32_t softwareFlow) {
    ClientWindow().Rearm();
    auto link = std::make_unique<CATTransferThread>(ClientWindow(), &ClientNotices());
    if (!link->CreateThread()) {
        RecordLastFailure(EAGAIN, kNoThreadText);
        return false;
    }
    link->SetLinkParameters(port, baudRate, softwareFlow);
    g_nPort = port;
    g_nBaud = baudRate;
    g_nSoftwareFlow = softwareFlow;
    if (!link->StartWorkerLink()) {
        const CSerialLink& serial = CSerialLink::Instance();
        RecordLastFailure(CauseOfStartFault(serial.LastStartFault(), serial.LastStartError()));
        link->StopWorkerLink();
        return false;
    }
    {
        std::unique_lock<std::shared_mutex> guard(g_linkGuard);
        g_pTransferThread = link.release();
    }
    g_bThreadStarted = 1;
    return true;
}

bool StartLink(uint8_t port, uint32_t baudRate, int32_t softwareFlow) {
    try {
        return TryStartLink(port, baudRate, softwareFlow);
    } catch (...) {
        RecordLastFailure(ENOMEM, kOutOfMemoryText);
        return false;
    }
}

// With the lifecycle lock held. Once the object is off the shared pointer no
// export can reach it, so it is stopped and destroyed outside the guard.
void EndLink(bool keepWindow) {
    g_bThreadStarted = 0;
    CATTransferThread* link;
    {
        std::unique_lock<std::shared_mutex> guard(g_linkGuard);
        link = g_pTransferThread;
        g_pTransferThread = nullptr;
    }
    if (link) {
        link->StopWorkerLink();
        delete link;
    }
    if (!keepWindow) ClientWindow().Close();
}

// A run of `texts`, the one text with `body` when that is not null. A refusal
// is told through velk_GetLastError.
int32_t RunCommands(const char* const* texts, int count, const char* body) {
    return Guarded([&]() -> int32_t {
        CommandList commands;
        std::optional<FailureCause> refusal =
            ReadCommandList(texts, count, body != nullptr, commands);
        if (!refusal && body != nullptr) refusal = AttachBody(*commands.front(), body);
        FailureCause busy = CauseOfBusyLink();
        if (!refusal) {
            std::shared_lock<std::shared_mutex> guard(g_linkGuard);
            if (g_bThreadStarted.load() && g_pTransferThread &&
                g_pTransferThread->RequestCommands(std::move(commands), busy)) {
                return 1;
            }
            refusal = busy;
        }
        RecordLastFailure(*refusal);
        return 0;
    });
}

bool LinkStands() {
    return g_bThreadStarted.load() && g_pTransferThread && g_pTransferThread->LinkStands();
}

}  // namespace

}  // namespace velk

using velk::CATTransferThread;

extern "C" {

// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): the header's order
VELK_API int32_t velk_BeginThread(VelkWindow window, uint8_t port, uint32_t baudRate,
                                  int32_t softwareFlow) {
    return velk::Guarded([&]() -> int32_t {
        std::lock_guard<std::mutex> hold(velk::g_lifecycleLock);
        if (velk::LinkStands()) return 1;
        // A link that fell by itself is cleared away before a new one.
        if (velk::g_pTransferThread) velk::EndLink(false);
        velk::ClearLastFailure();
        if (!velk::ClientWindow().Open(window)) {
            velk::RecordLastFailure(EBADF, velk::kWindowRefusedText);
            return 0;
        }
        if (!velk::StartLink(port, baudRate, softwareFlow)) {
            velk::ClientWindow().Close();
            return 0;
        }
        return 1;
    });
}

VELK_API int32_t velk_EndThread(void) {
    return velk::Guarded([]() -> int32_t {
        std::lock_guard<std::mutex> hold(velk::g_lifecycleLock);
        velk::EndLink(false);
        return 1;
    });
}

VELK_API int32_t velk_CancelCurrentAction(void) {
    return velk::Guarded([]() -> int32_t {
        std::lock_guard<std::mutex> hold(velk::g_lifecycleLock);
        if (!velk::g_bThreadStarted.load() || !velk::g_pTransferThread ||
            !velk::g_pTransferThread->OperationRunning()) {
            return 0;
        }
        // A cancel tears the whole link down and builds it again; what the
        // phone took of a write stays in the phone. The phone still sends the
        // rest of the cancelled reply: the new link lets it pass before its
        // first command (serial_link.h), so the cancel itself waits for none of it.
        velk::EndLink(true);
        velk::ClearLastFailure();
        velk::CSerialLink& serial = velk::CSerialLink::Instance();
        serial.SettleAtNextStart(true);
        const bool started = velk::StartLink(velk::g_nPort, velk::g_nBaud, velk::g_nSoftwareFlow);
        serial.SettleAtNextStart(false);
        if (!started) velk::ClientWindow().Close();
        return 1;
    });
}

VELK_API int32_t velk_ReadMidInfo(void) {
    return velk::WithLink([](CATTransferThread& link) { return link.RequestMidInfo(); });
}

VELK_API int32_t velk_GetMidInfo(MidInfoRecord** info) {
    return velk::WithLink([&](CATTransferThread& link) { return link.FetchMidInfo(info); });
}

VELK_API int32_t velk_ReadMid(uint8_t slot) {
    return velk::WithLink([&](CATTransferThread& link) { return link.RequestMid(slot); });
}

VELK_API int32_t velk_GetMidData(MidRecord** record) {
    return velk::WithLink([&](CATTransferThread& link) { return link.FetchMidData(record); });
}

VELK_API int32_t velk_WriteMid(MidRecord record) {
    return velk::WithLink([&](CATTransferThread& link) { return link.RequestMidWrite(record); });
}

VELK_API int32_t velk_ReadAnimInfo(void) {
    return velk::WithLink([](CATTransferThread& link) { return link.RequestAnimInfo(); });
}

VELK_API int32_t velk_GetAnimInfo(AnimInfoRecord** info) {
    return velk::WithLink([&](CATTransferThread& link) { return link.FetchAnimInfo(info); });
}

VELK_API int32_t velk_ReadAnim(uint8_t id) {
    return velk::WithLink([&](CATTransferThread& link) { return link.RequestAnim(id); });
}

VELK_API int32_t velk_GetAnimData(AnimRecord** record) {
    return velk::WithLink([&](CATTransferThread& link) { return link.FetchAnimData(record); });
}

VELK_API int32_t velk_WriteAnim(AnimRecord record) {
    return velk::WithLink([&](CATTransferThread& link) { return link.RequestAnimWrite(record); });
}

VELK_API int32_t velk_SetPortDevice(uint8_t port, const char* devicePath) {
    return velk::Guarded([&]() -> int32_t { return velk::SetPortDevice(port, devicePath); });
}

VELK_API const char* velk_GetVersion(void) {
    return VELK_LIBRARY_VERSION;
}

VELK_API int velk_GetLastError(const char** text) {
    return velk::LastFailure(text);
}

VELK_API int velk_RunCommands(const char* const* texts, int count) {
    return velk::RunCommands(texts, count, nullptr);
}

VELK_API int velk_RunCommand(const char* text) {
    return velk::RunCommands(&text, 1, nullptr);
}

VELK_API int velk_RunCommandWithBody(const char* text, const char* body) {
    if (body == nullptr) {
        velk::RecordLastFailure(velk::kListRefused, "the message text is NULL");
        return 0;
    }
    return velk::RunCommands(&text, 1, body);
}

VELK_API int velk_GetCommandResult(const char** json) {
    return velk::WithLink([&](CATTransferThread& link) { return link.FetchCommandResult(json); });
}

VELK_API int velk_EnableNotices(int on) {
    return velk::Guarded([&]() -> int32_t {
        velk::ClientNotices().Enable(on != 0);
        return 1;
    });
}

VELK_API int velk_GetNotices(const char** json) {
    return velk::Guarded([&]() -> int32_t {
        if (json == nullptr) return 0;
        *json = velk::ClientNotices().Take();
        return 1;
    });
}

}  // extern "C"
