#pragma once

#include <windows.h>

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

  /// Asks, and waits at most `timeout` milliseconds after the last byte for an answer. Its codes, if it holds any,
  /// replace `*status`.
  Result Ask(DWORD timeout, PrinterStatus* status);

  /// Another printer's answers are not known.
  void ForgetPrinter() { known_ = Known::NotLoaded; }

 private:
  enum class Known { NotLoaded, No, Yes };

  std::string BuildRequest();
  bool Receive(DWORD timeout, PrinterStatus* status);
  bool TakeAnswers(std::string* received, PrinterStatus* status);
  bool IsDisconnected();
  bool IsKnownBidirectional();
  void LearnBidirectional();

  StatusHost& host_;
  QueryHost& traffic_;
  Known known_ = Known::NotLoaded;
};

}  // namespace portwise
