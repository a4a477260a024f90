#pragma once

#include <string>

#include "platform/spooler/message.h"

/// Orders to the spooler, whoever it is.
namespace portwise::platform {

/// What carries out orders. Any thread may call; nothing is thrown.
class SpoolerService {
 public:
  virtual ~SpoolerService() = default;
  virtual Message Call(const Message& request) = 0;
};

/// Makes `service` the spooler of this process; null ends it, after the calls under way have returned. Must not be
/// called from inside a Call.
void SetLocalSpooler(SpoolerService* service);

/// One order to the spooler of this process, else over the socket to the one that serves Home(). The answer's "error"
/// is RPC_S_SERVER_UNAVAILABLE when there is none, or when it has gone away before it answered.
Message CallSpooler(const Message& request);

/// The answer that says only that an order failed.
Message Failure(unsigned error, const std::string& reason);

}  // namespace portwise::platform
