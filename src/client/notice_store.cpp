#include "client/notice_store.h"

namespace velk {

void NoticeStore::Enable(bool on) {
    std::lock_guard<std::mutex> hold(lock_);
    enabled_.store(on);
    if (on) return;
    kept_.clear();
    dropped_ = 0;
    announced_ = false;
}

void NoticeStore::Keep(std::string json, const std::function<bool()>& announce) {
    std::lock_guard<std::mutex> hold(lock_);
    if (!enabled_.load()) return;
    if (kept_.size() == kKeptNotices) {
        kept_.pop_front();
        ++dropped_;
    }
    kept_.push_back(std::move(json));
    if (!announced_) announced_ = announce();
}

const char* NoticeStore::Take() {
    std::lock_guard<std::mutex> hold(lock_);
    handed_ = "{\"dropped\":" + std::to_string(dropped_) + ",\"notices\":[";
    for (std::size_t i = 0; i < kept_.size(); ++i) {
        if (i != 0) handed_ += ',';
        handed_ += kept_[i];
    }
    handed_ += "]}";
    kept_.clear();
    dropped_ = 0;
    announced_ = false;
    return handed_.c_str();
}

}  // namespace velk
