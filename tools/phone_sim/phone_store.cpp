#include "phone_sim/phone_store.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <system_error>

#include "phone_sim/sample_set.h"
#include "phone_sim/store_index.h"

namespace velk::phonesim {
namespace {

namespace fs = std::filesystem;

constexpr const char* kIndexFile = "index.json";

std::string ToneFile(int slot) {
    return "tone-" + std::to_string(slot) + ".txt";
}
std::string FrameFile(int number) {
    return "frame-" + std::to_string(number) + ".txt";
}

bool ReadText(const fs::path& path, std::string& text) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    text.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return !in.bad();
}

// "frame-<n>.txt" gives n; anything else 0.
int FrameNumberOf(const std::string& file) {
    int number = 0;
    char tail[8] = {};
    if (std::sscanf(file.c_str(), "frame-%d%7s", &number, tail) != 2 ||
        std::string(tail) != ".txt" || number < 1 || number > PhoneStore::kFrameSlots) {
        return 0;
    }
    return FrameFile(number) == file ? number : 0;
}

}  // namespace

PhoneStore::PhoneStore(int entries) {
    SampleSet set = MakeSampleSet(entries);
    tones_ = std::move(set.tones);
    images_ = std::move(set.images);
    frames_ = std::move(set.frames);
    phonebooks_ = std::move(set.phonebooks);
    messages_ = std::move(set.messages);
}

bool PhoneStore::Open(const std::string& dir, std::string& error) {
    std::error_code failure;
    fs::create_directories(dir, failure);
    if (failure || !fs::is_directory(dir, failure)) {
        error = "cannot create the store directory " + dir +
                (failure ? ": " + failure.message() : std::string());
        return false;
    }
    dir_ = dir;
    if (fs::exists(fs::path(dir_) / kIndexFile, failure)) return Load(error);
    return SaveAll(error);
}

bool PhoneStore::Load(std::string& error) {
    const fs::path dir(dir_);
    std::string text;
    if (!ReadText(dir / kIndexFile, text)) {
        error = "cannot read " + (dir / kIndexFile).string();
        return false;
    }
    std::string why;
    const std::optional<StoreIndex> index = ReadStoreIndex(text, why);
    if (!index) {
        error = (dir / kIndexFile).string() + ": " + why;
        return false;
    }
    std::map<int, Tone> tones;
    for (const StoreIndex::ToneEntry& entry : index->tones) {
        Tone& tone = tones[entry.slot];
        tone.name = entry.name;
        if (!ReadText(dir / ToneFile(entry.slot), tone.text) || tone.text.size() > kMaxToneLength) {
            error = "cannot read " + (dir / ToneFile(entry.slot)).string();
            return false;
        }
    }
    std::map<int, std::string> frames;
    std::error_code failure;
    // Stepped with an error code: a directory that changes under the phone
    // must not throw out of it.
    for (fs::directory_iterator entry(dir, failure), end; !failure && entry != end;
         entry.increment(failure)) {
        const int number = FrameNumberOf(entry->path().filename().string());
        if (number != 0 && !ReadText(entry->path(), frames[number])) {
            error = "cannot read " + entry->path().string();
            return false;
        }
    }
    if (failure) {
        error = "cannot list " + dir_ + ": " + failure.message();
        return false;
    }
    tones_ = std::move(tones);
    images_ = index->images;
    frames_ = std::move(frames);
    return true;
}

bool PhoneStore::SaveAll(std::string& error) {
    bool saved = SaveIndex();
    for (const auto& [slot, tone] : tones_) saved = saved && SaveText(ToneFile(slot), tone.text);
    for (const auto& [number, text] : frames_) saved = saved && SaveText(FrameFile(number), text);
    if (!saved) error = "cannot write the store directory " + dir_;
    return saved;
}

bool PhoneStore::SaveIndex() const {
    StoreIndex index;
    for (const auto& [slot, tone] : tones_) index.tones.push_back({slot, tone.name});
    index.images = images_;
    return SaveText(kIndexFile, WriteStoreIndex(index));
}

// Written beside the file and renamed over it, so that a reader never sees
// half a file.
// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): where, then what
bool PhoneStore::SaveText(const std::string& file, const std::string& text) const {
    if (dir_.empty()) return true;
    const fs::path target = fs::path(dir_) / file;
    const fs::path temporary = fs::path(dir_) / ("." + file + ".new");
    {
        std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
        out.write(text.data(), static_cast<std::streamsize>(text.size()));
        if (!out.flush()) return false;
    }
    std::error_code failure;
    fs::rename(temporary, target, failure);
    return !failure;
}

const Tone* PhoneStore::FindTone(int slot) const {
    const auto found = tones_.find(slot);
    return found == tones_.end() ? nullptr : &found->second;
}

bool PhoneStore::PutTone(int slot, Tone tone) {
    tones_[slot] = std::move(tone);
    return SaveText(ToneFile(slot), tones_[slot].text) && SaveIndex();
}

const std::string* PhoneStore::Frame(int number) const {
    const auto found = frames_.find(number);
    return found == frames_.end() ? nullptr : &found->second;
}

// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): the order of the information line
bool PhoneStore::PutFrame(int number, const std::string& name, const std::string& param,
                          std::string text) {
    frames_[number] = std::move(text);
    bool indexChanged = false;
    for (std::size_t i = 0; i < images_.size(); ++i) {
        if (images_[i].first == number) {
            images_[i] = {name, 1, number, param};
            writingImage_ = i;
            indexChanged = true;
            break;
        }
    }
    if (!indexChanged) {
        if (writingImage_ &&
            images_[*writingImage_].first + images_[*writingImage_].frames == number) {
            ++images_[*writingImage_].frames;
            indexChanged = true;
        } else {
            writingImage_.reset();  // a frame of no image: kept, but counted nowhere
        }
    }
    return SaveText(FrameFile(number), frames_[number]) && (!indexChanged || SaveIndex());
}

}  // namespace velk::phonesim
