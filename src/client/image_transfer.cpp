#include "client/image_transfer.h"

#include <algorithm>

namespace velk {
namespace {

constexpr uint16_t kMostFrames = 256;
constexpr char kFrameHead[] = "6040";

}  // namespace

bool ImageTransfer::Listed(uint8_t number) const {
    return info && number >= 1 && 2u * number <= info->frameRangeCount;
}

uint8_t ImageTransfer::FirstFrameOf(uint8_t number) const {
    return static_cast<uint8_t>(info->frameRanges[2 * number - 1] & 0xFF);
}

uint16_t ImageTransfer::FrameCountOf(uint8_t number) const {
    return std::min(info->frameRanges[2 * number - 2], kMostFrames);
}

void ImageTransfer::StartFrame() {
    frameText = kFrameHead + frames.front();
    frames.pop_front();
    frameChunks = static_cast<uint8_t>(frameText.size() / kImageChunkChars);
    frameRest = static_cast<uint8_t>(frameText.size() % kImageChunkChars);
}

std::string ImageTransfer::ChunkBody() {
    const std::size_t start = std::min<std::size_t>(
        static_cast<std::size_t>(chunkIndex - 1) * kImageChunkChars, frameText.size());
    std::string body = frameText.substr(start, kImageChunkChars);
    if (chunkIndex > frameChunks) frameText.clear();
    return body;
}

}  // namespace velk
