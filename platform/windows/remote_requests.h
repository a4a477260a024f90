#pragma once

#include "platform/spooler/message.h"

namespace portwise::platform {

/// Does with this process's windows what another process asks for, and answers. Any thread; returns when it is done,
/// which for a message that is sent is when its window has answered.
Message AnswerRequest(const Message& request);

}  // namespace portwise::platform
