// Ring tones and images: their information, reading them in parts and
// taking them in checked chunks.
#include <algorithm>
#include <cctype>

#include "phone_sim/chunk_line.h"
#include "phone_sim/part_lines.h"
#include "phone_sim/phone_commands.h"

namespace velk::phonesim {
namespace {

constexpr const char* kToneInfoName = "Tones";
constexpr const char* kImageInfoName = "Images";
constexpr int kMaxChunkCount = 253;  // a tone below 32512 characters
constexpr std::size_t kMaxNameLength = 10;
constexpr std::size_t kMaxParamLength = 8;
constexpr int kFrameWidth = 96;
constexpr int kFrameHeight = 64;

bool Digits(const std::string& text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; });
}

// The image whose run of frames holds `frame`.
const Image* ImageOfFrame(const PhoneStore& store, int frame) {
    for (const Image& image : store.Images()) {
        if (frame >= image.first && frame < image.first + image.frames) return &image;
    }
    return nullptr;
}

// One chunk of a write. Chunk 1 (with the count and rest) starts the write
// anew; every other chunk must be the next one of the write under way, for
// the same target. The check value must fit the body. Answers the final
// line; true when the last chunk came and `write` is whole.
enum class ChunkOutcome { kTaken, kComplete, kRefused };

ChunkOutcome TakeChunk(std::optional<ChunkedWrite>& write, const ChunkLine& chunk,
                       std::size_t headLength) {
    if (ChunkCheck(chunk.body) != chunk.check || chunk.body.size() > kPartLength ||
        chunk.name.size() > kMaxNameLength) {
        write.reset();
        return ChunkOutcome::kRefused;
    }
    if (chunk.chunkIndex == 1) {
        if (!chunk.count || !chunk.rest || *chunk.count > kMaxChunkCount ||
            *chunk.rest >= static_cast<int>(kPartLength)) {
            write.reset();
            return ChunkOutcome::kRefused;
        }
        write = ChunkedWrite{chunk.target,
                             chunk.name,
                             chunk.param,
                             *chunk.count + 1,
                             static_cast<std::size_t>(*chunk.count) * kPartLength + *chunk.rest,
                             1,
                             std::string()};
    } else if (!write || write->target != chunk.target || write->nextChunk != chunk.chunkIndex) {
        write.reset();
        return ChunkOutcome::kRefused;
    }
    write->text += chunk.body;
    if (write->text.size() > write->size) {
        write.reset();
        return ChunkOutcome::kRefused;
    }
    if (write->nextChunk++ < write->chunks) return ChunkOutcome::kTaken;
    // A frame's head is part of its size on the line, not of the frame.
    if (write->text.size() < headLength) {
        write.reset();
        return ChunkOutcome::kRefused;
    }
    return ChunkOutcome::kComplete;
}

}  // namespace

// +RNGI: "<name>",<tones stored>,<slots>,<most chunks of a tone>
void ToneInfo(PhoneState& state, std::string_view, Reply& reply) {
    reply = {std::string("+RNGI: \"") + kToneInfoName + "\"," +
                 std::to_string(state.store.Tones().size()) + ',' +
                 std::to_string(PhoneStore::kToneSlots) + ',' + std::to_string(kMaxChunkCount),
             kOk};
}

void ToneRead(PhoneState& state, std::string_view arguments, Reply& reply) {
    int slot = 0;
    if (!ReadNumber(arguments, slot)) {
        reply.push_back(kError);
        return;
    }
    const Tone* tone = state.store.FindTone(slot);
    if (tone == nullptr) {
        reply.push_back(
            CmeError(slot < 1 || slot > PhoneStore::kToneSlots ? kInvalidIndex : kNotFound));
        return;
    }
    reply = TonePartLines(slot, tone->name, tone->text);
    reply.push_back(kOk);
}

void ToneWrite(PhoneState& state, std::string_view arguments, Reply& reply) {
    const std::optional<ChunkLine> chunk = ParseChunkLine(arguments, false);
    if (!chunk) {
        state.toneWrite.reset();
        reply.push_back(kError);
        return;
    }
    if (chunk->target < 1 || chunk->target > PhoneStore::kToneSlots) {
        state.toneWrite.reset();
        reply.push_back(CmeError(kInvalidIndex));
        return;
    }
    switch (TakeChunk(state.toneWrite, *chunk, 0)) {
        case ChunkOutcome::kRefused:
            reply.push_back(kError);
            return;
        case ChunkOutcome::kTaken:
            reply.push_back(kOk);
            return;
        case ChunkOutcome::kComplete:
            break;
    }
    ChunkedWrite done = std::move(*state.toneWrite);
    state.toneWrite.reset();
    const bool saved = state.store.PutTone(done.target, {done.name, std::move(done.text)});
    reply.push_back(saved ? kOk : CmeError(kMemoryFull));
}

// +IMGINF: "<name>",<images>,<frames stored>,<frame slots>,<width>,<height>{,<frames>,<first>}
void ImageInfo(PhoneState& state, std::string_view, Reply& reply) {
    const PhoneStore& store = state.store;
    std::string line = std::string("+IMGINF: \"") + kImageInfoName + "\"," +
                       std::to_string(store.Images().size()) + ',' +
                       std::to_string(store.FrameCount()) + ',' +
                       std::to_string(PhoneStore::kFrameSlots) + ',' + std::to_string(kFrameWidth) +
                       ',' + std::to_string(kFrameHeight);
    for (const Image& image : store.Images()) {
        line += ',' + std::to_string(image.frames) + ',' + std::to_string(image.first);
    }
    reply = {line, kOk};
}

void FrameRead(PhoneState& state, std::string_view arguments, Reply& reply) {
    int frame = 0;
    if (!ReadNumber(arguments, frame)) {
        reply.push_back(kError);
        return;
    }
    const std::string* text = state.store.Frame(frame);
    if (text == nullptr) {
        reply.push_back(
            CmeError(frame < 1 || frame > PhoneStore::kFrameSlots ? kInvalidIndex : kNotFound));
        return;
    }
    const Image* image = ImageOfFrame(state.store, frame);
    reply = FramePartLines(frame, image != nullptr ? image->name : std::string(),
                           image != nullptr ? image->param : std::string(), *text);
    reply.push_back(kOk);
}

void FrameWrite(PhoneState& state, std::string_view arguments, Reply& reply) {
    const std::optional<ChunkLine> chunk = ParseChunkLine(arguments, true);
    if (!chunk || chunk->param.size() > kMaxParamLength || !Digits(chunk->param)) {
        state.frameWrite.reset();
        reply.push_back(kError);
        return;
    }
    if (chunk->target < 1 || chunk->target > PhoneStore::kFrameSlots) {
        state.frameWrite.reset();
        reply.push_back(CmeError(kInvalidIndex));
        return;
    }
    const std::size_t headLength = std::char_traits<char>::length(kFrameHead);
    switch (TakeChunk(state.frameWrite, *chunk, headLength)) {
        case ChunkOutcome::kRefused:
            reply.push_back(kError);
            return;
        case ChunkOutcome::kTaken:
            reply.push_back(kOk);
            return;
        case ChunkOutcome::kComplete:
            break;
    }
    ChunkedWrite done = std::move(*state.frameWrite);
    state.frameWrite.reset();
    const bool saved =
        state.store.PutFrame(done.target, done.name, done.param, done.text.substr(headLength));
    reply.push_back(saved ? kOk : CmeError(kMemoryFull));
}

}  // namespace velk::phonesim
