// The notices kept for velk_GetNotices: every block of the unsolicited
// decoder, as its JSON object, while the application has them on. One store
// serves the process, so the choice outlives the restart of a link.
//
// The transfer thread keeps; the application's threads enable and take. At
// most kKeptNotices wait, the oldest dropped first and counted. Of a run of
// notices the application has not taken, only the first is announced: it
// hears once, takes them all, and then hears of the next.
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>

namespace velk {

inline constexpr std::size_t kKeptNotices = 256;

class NoticeStore {
  public:
    // Off forgets what waits.
    void Enable(bool on);
    bool Enabled() const { return enabled_.load(); }

    // Keeps `json` when notices are on. `announce` runs, under the store's
    // lock, when nothing was announced since the last Take; it says whether
    // the application was told, else the next notice tries again.
    void Keep(std::string json, const std::function<bool()>& announce);

    // {"dropped":<n>,"notices":[...]} of all that waited, which are then
    // gone. The text lives until the next Take.
    const char* Take();

  private:
    std::atomic<bool> enabled_{false};
    std::mutex lock_;
    std::deque<std::string> kept_;
    uint64_t dropped_ = 0;
    bool announced_ = false;
    std::string handed_;
};

}  // namespace velk
