#include "platform/look_before_sleeping.h"

#include <sched.h>

namespace velk {

bool LookWindow::LookAgain() const {
    if (std::chrono::steady_clock::now() >= until_) return false;
    sched_yield();
    return true;
}

}  // namespace velk
