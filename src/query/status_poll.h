#pragma once

#include <windows.h>

#include <functional>
#include <optional>
#include <string>

#include "query/printer_status.h"
#include "query/query_host.h"
#include "query/status_host.h"

namespace portwise {

/// One question to the printer for its status, in the language of its plug-in. The status thread's, which holds the
/// connection.
class StatusPoll {
 public:
  enum class Result {
    Nothing,   ///< no answer, of a printer that may never give one
    Offline,   ///< no answer, of a printer that has answered before or cannot be reached
    Answered,  ///< there was an answer; it need not hold a status
  };

  StatusPoll(StatusHost& host, QueryHost& traffic) : host_(host), traffic_(traffic) {}

  /// Asks, and waits at most `timeout` milliseconds after the last byte for an answer. `publish` is given the status
  /// that it holds, if any, before the plug-in learns that the exchange is over.
  Result Ask(DWORD timeout, const std::function<void(const std::optional<PrinterStatus>&)>& publish);
  /// The printer has answered before, so that its silence tells something.
  bool IsKnownBidirectional();

 private:
  std::string BuildRequest();
  bool Receive(DWORD timeout, std::optional<PrinterStatus>* status, bool* whole);
  bool TakeAnswers(std::string* received, std::optional<PrinterStatus>* status);
  bool IsDisconnected();
  void LearnBidirectional();

  StatusHost& host_;
  QueryHost& traffic_;
  OString printer_;  // of which the next tells
  bool known_ = false;
};

}  // namespace portwise
