// A look at the link behind the exports, for tests and diagnostics: the
// state words of the one CATTransferThread, or an idle, fallen picture when
// no link exists.
#pragma once

#include "client/transfer_thread.h"

namespace velk {

CATTransferThread::StateSnapshot CurrentTransferState();

}  // namespace velk
