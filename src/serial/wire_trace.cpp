#include "serial/wire_trace.h"

#include <cstdio>
#include <cstring>
#include <iterator>
#include <mutex>

#include "platform/private_files.h"

namespace velk {
namespace {

struct TraceFileForm {
    const char* name;
    PrivateFileMode mode;
    const char* banner;  // null: none
};

// In the order they are opened; the first has to exist already.
constexpr TraceFileForm kTraceFiles[] = {
    {"TargetFile.txt", PrivateFileMode::kReadExisting, nullptr},
    {"PcFile.txt", PrivateFileMode::kWriteFresh, "***ALL CONTENT WRITE FROM PC!***\n\n"},
    {"LogFile.txt", PrivateFileMode::kWriteFresh,
     "***ALL CONTENT WRITE FROM PC AND READ FROM TARGET!***\n\n"},
};
constexpr std::size_t kTraceFileCount = std::size(kTraceFiles);

struct TraceFiles {
    std::mutex mutex;
    std::FILE* open[kTraceFileCount] = {};
};

TraceFiles& Files() {
    static TraceFiles files;
    return files;
}

void CloseLocked(TraceFiles& files) {
    for (std::FILE*& file : files.open) {
        if (file != nullptr) std::fclose(file);
        file = nullptr;
    }
}

}  // namespace

int OpenWireTraceIn(const std::string& directory) {
    TraceFiles& files = Files();
    std::lock_guard<std::mutex> hold(files.mutex);
    CloseLocked(files);
    for (std::size_t i = 0; i < kTraceFileCount; ++i) {
        const TraceFileForm& form = kTraceFiles[i];
        std::FILE* file = OpenPrivateFile(directory, form.name, form.mode);
        if (file == nullptr) {
            CloseLocked(files);
            return 0;
        }
        // The banner goes out as one item, without its terminator.
        if (form.banner != nullptr) std::fwrite(form.banner, std::strlen(form.banner), 1, file);
        files.open[i] = file;
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
