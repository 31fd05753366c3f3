#include "velkport/cleanup_command.h"

#include <filesystem>
#include <fstream>
#include <map>
#include <ostream>
#include <string_view>
#include <system_error>
#include <vector>

#include "queues/queue_object_names.h"

namespace velk::cli {
namespace {

namespace fs = std::filesystem;

constexpr const char* kSharedMemoryDirectory = "/dev/shm";
// The queues a link creates or joins.
constexpr const char* kQueueNames[] = {"PB", "ATSPY"};

constexpr const char* kCleanupHelp =
    "usage: velkport cleanup\n"
    "\n"
    "Removes the shared-memory objects of the library's queues \"PB\" and\n"
    "\"ATSPY\" from /dev/shm (ATNEXUM_*, SWMRG*) that no process has open, and\n"
    "names those it leaves because a process holds them. A link leaves them in\n"
    "place when it ends, since the queues' other party may still use them.\n"
    "\n"
    "Exit status: 0 done; 1 an object could not be removed; 2 bad arguments.\n";

std::vector<std::string> ObjectNames() {
    std::vector<std::string> names;
    for (const char* queue : kQueueNames) {
        for (QueueObject object :
             {QueueObject::kMapping, QueueObject::kEmptyEvent, QueueObject::kEvent,
              QueueObject::kMutex, QueueObject::kSemaphore}) {
            names.push_back(QueueObjectName(object, queue));
        }
        for (GuardObject object : {GuardObject::kMutexNoWriter, GuardObject::kEventNoReaders,
                                   GuardObject::kSemNumReaders}) {
            names.push_back(GuardObjectName(object, queue));
        }
    }
    return names;
}

struct Holder {
    std::string pid;
    std::string command;
};

// The files under `directory` that a process has mapped or open, with one
// process that has. Processes of other users hide theirs, but the objects
// are the user's own (mode 0600): only the user's processes can hold them.
std::map<std::string, Holder> OpenFiles(const std::string& directory) {
    std::map<std::string, Holder> held;
    const std::string prefix = directory + '/';
    auto note = [&](std::string_view path, const fs::path& process) {
        if (!path.starts_with(prefix)) return;
        path.remove_prefix(prefix.size());
        path = path.substr(0, path.find(" (deleted)"));
        Holder holder{process.filename().string(), {}};
        std::ifstream comm(process / "comm");
        std::getline(comm, holder.command);
        held.emplace(std::string(path), std::move(holder));
    };
    std::error_code error;
    for (const fs::directory_entry& process : fs::directory_iterator("/proc", error)) {
        const std::string pid = process.path().filename().string();
        if (pid.find_first_not_of("0123456789") != std::string::npos) continue;
        // 7f0c2a000000-7f0c2a001000 rw-s 00000000 00:1a 42   /dev/shm/ATNEXUM_PB_FILEMAPPING
        std::ifstream maps(process.path() / "maps");
        for (std::string line; std::getline(maps, line);) {
            const std::size_t at = line.find(prefix);
            if (at != std::string::npos) note(std::string_view(line).substr(at), process.path());
        }
        std::error_code fdError;
        for (const fs::directory_entry& fd :
             fs::directory_iterator(process.path() / "fd", fdError)) {
            std::error_code linkError;
            const fs::path target = fs::read_symlink(fd.path(), linkError);
            if (!linkError) note(target.native(), process.path());
        }
    }
    return held;
}

}  // namespace

int CleanupSharedObjects(const std::string& directory, const CommandIo& io) {
    const std::map<std::string, Holder> held = OpenFiles(directory);
    unsigned removed = 0;
    unsigned left = 0;
    int code = kExitDone;
    for (const std::string& name : ObjectNames()) {
        const fs::path path = fs::path(directory) / name;
        std::error_code error;
        if (name.empty() || !fs::exists(fs::symlink_status(path, error))) continue;
        if (const auto holder = held.find(name); holder != held.end()) {
            const Holder& who = holder->second;
            io.out << "left " << path.native() << ": "
                   << (who.command.empty() ? "process " + who.pid
                                           : who.command + " (process " + who.pid + ")")
                   << " has it open\n";
            ++left;
            continue;
        }
        if (!fs::remove(path, error) && error) {
            io.err << "velkport cleanup: cannot remove " << path.native() << ": " << error.message()
                   << ".\n";
            code = kExitFailure;
            continue;
        }
        io.out << "removed " << path.native() << '\n';
        ++removed;
    }
    if (removed == 0 && left == 0 && code == kExitDone) {
        io.out << "The library has no shared-memory objects in " << directory << ".\n";
    }
    return code;
}

int RunCleanup(CommandArgs args, const CommandIo& io) {
    if (!args.empty() && (args[0] == "--help" || args[0] == "-h")) {
        io.out << kCleanupHelp;
        return kExitDone;
    }
    if (!args.empty()) {
        io.err << "velkport cleanup: it takes no arguments, not \"" << args[0]
               << "\".\nusage: velkport cleanup\n";
        return kExitUsage;
    }
    return CleanupSharedObjects(kSharedMemoryDirectory, io);
}

}  // namespace velk::cli
