#include "velkport/picture_files.h"

#include <algorithm>
#include <cctype>

namespace velk::cli {

FileKind KindOfFile(std::string_view path) {
    const std::size_t dot = path.rfind('.');
    const std::size_t slash = path.rfind('/');
    if (dot == std::string_view::npos || (slash != std::string_view::npos && dot < slash)) {
        return FileKind::kText;
    }
    std::string extension(path.substr(dot + 1));
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (extension == "png") return FileKind::kPng;
    if (extension == "gif") return FileKind::kGif;
    if (extension == "mid" || extension == "midi") return FileKind::kMidi;
    return FileKind::kText;
}

}  // namespace velk::cli
