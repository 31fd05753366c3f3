#include "platform/file_identity.h"

#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace velk {

std::optional<FileIdentity> IdentifyFile(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) return std::nullopt;
    return FileIdentity{major(status.st_dev), minor(status.st_dev),
                        static_cast<unsigned long>(status.st_ino)};
}

}  // namespace velk
