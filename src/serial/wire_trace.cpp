#include "serial/wire_trace.h"

#include <cstdio>
#include <cstring>
#include <mutex>

#include "platform/private_files.h"

namespace velk {
namespace {

constexpr char kPcBanner[] = "***ALL CONTENT WRITE FROM PC!***\n\n";
constexpr char kLogBanner[] = "***ALL CONTENT WRITE FROM PC AND READ FROM TARGET!***\n\n";

struct TraceFiles {
    std::mutex mutex;
    std::FILE* target = nullptr;
    std::FILE* pc = nullptr;
    std::FILE* log = nullptr;
};

TraceFiles& Files() {
    static TraceFiles files;
    return files;
}

void CloseLocked(TraceFiles& files) {
    for (std::FILE** file : {&files.target, &files.pc, &files.log}) {
        if (*file != nullptr) std::fclose(*file);
        *file = nullptr;
    }
}

// Opens a file for writing and puts its banner in, as one item without the
// terminator.
std::FILE* OpenWithBanner(const std::string& directory, const char* name, const char* banner) {
    std::FILE* file = OpenPrivateFile(directory, name, "w+");
    if (file != nullptr) std::fwrite(banner, std::strlen(banner), 1, file);
    return file;
}

}  // namespace

int OpenWireTraceIn(const std::string& directory) {
    TraceFiles& files = Files();
    std::lock_guard<std::mutex> hold(files.mutex);
    CloseLocked(files);
    files.target = OpenPrivateFile(directory, "TargetFile.txt", "r");
    if (files.target != nullptr) files.pc = OpenWithBanner(directory, "PcFile.txt", kPcBanner);
    if (files.pc != nullptr) files.log = OpenWithBanner(directory, "LogFile.txt", kLogBanner);
    if (files.log == nullptr) {
        CloseLocked(files);
        return 0;
    }
    return 1;
}

int OpenWireTrace() {
    return OpenWireTraceIn(UserTempDirectory());
}

void CloseWireTrace() {
    TraceFiles& files = Files();
    std::lock_guard<std::mutex> hold(files.mutex);
    CloseLocked(files);
}

}  // namespace velk
