// What the phone holds: ring tones by slot, images as runs of numbered
// frames with the table that says which run is which image, and phone books.
// In memory only, or kept in a directory so that what a write stored can be
// looked at:
//
//   DIR/index.json       the tones' slots and names, and the frame table
//   DIR/tone-<slot>.txt  each tone's text
//   DIR/frame-<n>.txt    each frame's 1536 characters
//
// A directory without index.json is seeded with the sample set. Phone books
// and short messages live in memory only.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace velk::phonesim {

struct Tone {
    std::string name;
    std::string text;
};

// One image: a run of `frames` frames from frame number `first` on.
struct Image {
    std::string name;
    int frames = 0;
    int first = 0;
    std::string param;  // the parameter digits each frame was written with
};

struct PhonebookEntry {
    std::string number;
    int type = 129;
    std::string text;
};

struct Phonebook {
    int size = 0;  // locations 1 to size
    std::map<int, PhonebookEntry> entries;
};

// A short message in text mode. Names and texts are UTF-8.
struct ShortMessage {
    std::string state;  // "REC UNREAD", "REC READ", "STO UNSENT" or "STO SENT"
    std::string address;
    std::string timestamp;  // "yy/MM/dd,hh:mm:ss+zz"; empty for a stored one
    std::string text;
};

class PhoneStore {
  public:
    static constexpr int kToneSlots = 10;    // slots 1 to 10
    static constexpr int kFrameSlots = 250;  // frames 1 to 250
    static constexpr std::size_t kFrameLength = 1536;
    static constexpr std::size_t kMaxToneLength = 32511;
    static constexpr int kDefaultEntries = 250;  // in the SIM's phone book
    static constexpr int kMessageSlots = 30;     // messages 1 to 30

    // The sample set, in memory, with `entries` names in the SIM's phone book.
    explicit PhoneStore(int entries = kDefaultEntries);

    // Keeps the store in `dir`: loads it, or creates and seeds it when it
    // holds no index.json yet. False with `error` set when that fails.
    bool Open(const std::string& dir, std::string& error);
    const std::string& Directory() const { return dir_; }

    const std::map<int, Tone>& Tones() const { return tones_; }
    const Tone* FindTone(int slot) const;
    // Stores a tone; false when it could not be saved.
    bool PutTone(int slot, Tone tone);

    const std::vector<Image>& Images() const { return images_; }
    const std::string* Frame(int number) const;
    int FrameCount() const { return static_cast<int>(frames_.size()); }
    // Stores a whole frame. A frame that is the first of an image starts that
    // image anew with one frame; each frame that follows it in order adds
    // one to its count. The name and parameter digits of the first frame
    // become the image's. False when it could not be saved.
    bool PutFrame(int number, const std::string& name, const std::string& param, std::string text);

    std::map<std::string, Phonebook>& Phonebooks() { return phonebooks_; }
    const std::map<std::string, Phonebook>& Phonebooks() const { return phonebooks_; }
    std::map<int, ShortMessage>& Messages() { return messages_; }
    const std::map<int, ShortMessage>& Messages() const { return messages_; }

  private:
    bool Load(std::string& error);
    bool SaveAll(std::string& error);
    bool SaveIndex() const;
    bool SaveText(const std::string& file, const std::string& text) const;

    std::string dir_;
    std::map<int, Tone> tones_;
    std::vector<Image> images_;
    std::map<int, std::string> frames_;
    std::map<std::string, Phonebook> phonebooks_;
    std::map<int, ShortMessage> messages_;
    std::optional<std::size_t> writingImage_;  // the image a run of frames goes to
};

}  // namespace velk::phonesim
