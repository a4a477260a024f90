#pragma once

#include <windows.h>

#include <string>
#include <string_view>

#include "plugin/monitor_interface.h"
#include "query/query_host.h"

namespace portwise {

/// How a command is sent.
struct SendManner {
  bool throughProtocol;       ///< while the protocol plug-in is active, it takes the command
  bool takenWhole;            ///< what the protocol plug-in accepts once, it has taken to its end
  bool reopensTcp;            ///< a TCP connection that broke is opened at once, and the command begun anew
  bool failsWhenUnreachable;  ///< does not wait for a printer that cannot be reached
};

constexpr SendManner kSendRequest = {true, false, false, false};
constexpr SendManner kSendQueueQuery = {true, true, true, false};
constexpr SendManner kSendStatusRequest = {false, false, false, true};

/// What tells whether an answer is complete.
class AnswerJudge {
 public:
  virtual ~AnswerJudge() = default;
  /// Asked before every read; true gives up.
  virtual bool IsStopped() = 0;
  /// Bytes have arrived: `answer` is all of them, `count` how many the last read brought. Without a verdict, the answer
  /// is complete when the next read brings nothing.
  virtual PluginVerdict Judge(std::string_view answer, DWORD count) = 0;
};

/// One command to the printer and its answer. The plug-in remembers what was asked for as long as the object lives. The
/// status thread only, which holds the connection.
class QueryExchange {
 public:
  static constexpr DWORD kReadSize = 4096;

  /// `command` and `parameters`, which may be null, must outlive the object. Timeouts other than 0 replace the port's.
  QueryExchange(QueryHost& host, std::string_view command, const char* parameters, DWORD sendTimeout = 0,
                DWORD responseTimeout = 0);
  ~QueryExchange();
  QueryExchange(const QueryExchange&) = delete;
  QueryExchange& operator=(const QueryExchange&) = delete;

  /// Sends all of the command; tries again 100 ms after a failed write. False when writes fail and the printer has
  /// taken nothing for the send timeout or, where the connection is reopened, since the send timeout began. False also
  /// when a TCP connection that is not reopened broke after it had taken a part: nothing is sent twice.
  bool Send(const SendManner& manner);
  /// Collects the answer, and tells the plug-in of reads that bring nothing before the first byte. False when it was
  /// stopped, is bad or too long to be told, or was not complete within the response timeout; `answer` then holds what
  /// arrived.
  bool Receive(AnswerJudge& judge, std::string* answer);

 private:
  bool WriteOnce(const SendManner& manner, size_t* done);
  bool HasBroken(const SendManner& manner, DWORD error);
  bool Reopen(size_t* done);
  DWORD Read(char* buffer);

  QueryHost& host_;
  const std::string_view command_;
  const DWORD sendTimeout_;
  const DWORD responseTimeout_;
};

}  // namespace portwise
