#include "query/query_exchange.h"

#include <winsock2.h>

#include "xpml/text_buffer.h"

namespace portwise {
namespace {

constexpr DWORD kWritePause = 100;
/// Between reads that do not wait themselves.
constexpr DWORD kReadPause = 50;
/// More no client can be told.
constexpr size_t kLongestAnswer = TextBuffer::kMaxLength;

}  // namespace

QueryExchange::QueryExchange(QueryHost& host, std::string_view command, const char* parameters, DWORD sendTimeout,
                             DWORD responseTimeout)
    : host_(host),
      command_(command),
      sendTimeout_(sendTimeout != 0 ? sendTimeout : host.SendTimeout()),
      responseTimeout_(responseTimeout != 0 ? responseTimeout : host.ResponseTimeout()) {
  host_.Plugin().RememberRequest(command, parameters);
}

QueryExchange::~QueryExchange() { host_.Plugin().ForgetRequest(); }

bool QueryExchange::Send(const SendManner& manner) {
  size_t done = 0;
  bool reopened = false;
  DWORD begin = GetTickCount();
  while (done < command_.size()) {
    if (host_.IsStopping()) return false;
    if (manner.failsWhenUnreachable && host_.PrinterConnection().GetStatus(STATUS_DISCONNECTED) != 0) return false;
    if (WriteOnce(manner, &done)) {
      // Over a connection that breaks again and again there is always some progress.
      if (!manner.reopensTcp) begin = GetTickCount();
      continue;
    }
    // What is found out next must not hide why the write failed.
    const DWORD error = GetLastError();
    if (GetTickCount() - begin > sendTimeout_) return false;
    if (!manner.reopensTcp && done > 0 && HasBroken(manner, error)) return false;
    // A full connection is not a broken one.
    reopened = manner.reopensTcp && !reopened && error != WSAEWOULDBLOCK && Reopen(&done);
    if (!reopened) Sleep(kWritePause);
  }
  return true;
}

/// True when the printer's side has taken something.
bool QueryExchange::WriteOnce(const SendManner& manner, size_t* done) {
  const bool throughProtocol = manner.throughProtocol && host_.Protocol().IsActive();
  // The protocol plug-in makes something of its own of the command, and so is offered it whole each time.
  const std::string_view bytes = throughProtocol ? command_ : command_.substr(*done);
  const auto length = static_cast<DWORD>(bytes.size());
  DWORD written = 0;
  bool success;
  if (throughProtocol) {
    success = host_.Protocol().Write(bytes.data(), length, &written);
    if (!success) written = 0;
    if (success && manner.takenWhole) written = length;
  } else {
    success = host_.PrinterConnection().Write(bytes.data(), length, &written);
  }
  *done += written;
  return success && written > 0;
}

/// The rest of the command would be the beginning of what a new connection brings, and perhaps be printed.
bool QueryExchange::HasBroken(const SendManner& manner, DWORD error) {
  const bool throughProtocol = manner.throughProtocol && host_.Protocol().IsActive();
  return !throughProtocol && host_.PrinterConnection().IsTcp() && error != WSAEWOULDBLOCK;
}

/// What the printer took over the broken connection it has dropped.
bool QueryExchange::Reopen(size_t* done) {
  Connection& connection = host_.PrinterConnection();
  if (!connection.IsTcp() || !connection.Reopen()) return false;
  *done = 0;
  return true;
}

bool QueryExchange::Receive(AnswerJudge& judge, std::string* answer) {
  answer->clear();
  char buffer[kReadSize];
  PluginVerdict verdict = PluginVerdict::None;
  const DWORD begin = GetTickCount();
  while (!judge.IsStopped() && !host_.IsStopping()) {
    const DWORD readBegin = GetTickCount();
    const DWORD count = Read(buffer);
    if (count > 0) {
      answer->append(buffer, count);
      verdict = answer->size() <= kLongestAnswer ? judge.Judge(*answer, count) : PluginVerdict::Failed;
    } else if (answer->empty()) {
      host_.Plugin().Notify(PluginEvent::NothingRead);
    } else if (verdict != PluginVerdict::Incomplete) {
      verdict = PluginVerdict::Complete;
    }
    if (verdict == PluginVerdict::Complete || verdict == PluginVerdict::Failed) {
      return verdict == PluginVerdict::Complete;
    }
    const DWORD now = GetTickCount();
    if (now - begin > responseTimeout_) return false;
    if (count == 0 && now - readBegin < kReadPause) Sleep(kReadPause);
  }
  return false;
}

DWORD QueryExchange::Read(char* buffer) {
  DWORD count = 0;
  if (host_.Protocol().IsActive()) {
    host_.Protocol().Read(buffer, kReadSize, &count);
  } else {
    host_.PrinterConnection().Read(buffer, kReadSize, &count);
  }
  return count;
}

}  // namespace portwise
