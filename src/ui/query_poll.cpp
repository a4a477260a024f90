#include "ui/query_poll.h"

#include <algorithm>
#include <optional>

#include "locale/pm_locale.h"
#include "ui/printer_requests.h"
#include "ui/reply_fields.h"
#include "ui/status_request.h"

namespace portwise {
namespace {

constexpr UINT kOfflineText = 14004;
constexpr UINT kPowerOffText = 14063;
constexpr UINT kWaitingText = 14200;

/// The reply when it came whole.
std::optional<std::string> AskWhole(const OString& printer, const std::string& request) {
  std::optional<std::string> reply = AskPrinter(printer, request);
  return reply && IsWholeReply(*reply) ? reply : std::nullopt;
}

}  // namespace

QueryPoll::QueryPoll(const PrintJob& job, pmLocale& locale) : job_(job), locale_(locale) {
  view_.name = view_.status = locale_.LoadString(kWaitingText);
}

bool QueryPoll::CheckStatus() {
  locale_.EnsureLoaded();
  const std::optional<std::string> reply = AskPrinter(job_.Printer(), StatusTextRequest(locale_.Language()));
  const OString status(std::string_view(reply.value_or("")).substr(0, reply ? reply->find('\0') : 0));
  if (status.IsEmpty()) return false;
  if (status != locale_.LoadString(kPowerOffText) && status != locale_.LoadString(kOfflineText)) return true;
  view_.name = view_.status = status;
  return false;
}

void QueryPoll::Look() {
  if (CheckStatus() && SeeJobBegin() && LearnTotal() && LearnProgress() && !IsComplete()) LearnCurrent();
}

bool QueryPoll::SeeJobBegin() { return jobBegan_ = jobBegan_ || job_.HasBegun(); }

bool QueryPoll::LearnTotal() {
  if (view_.total != 0) return true;
  const auto reply = AskWhole(job_.Printer(), "<query value='total' action='get' />&#0;");
  if (reply) view_.total = std::max<LONG>(ReplyNumber(ReplyFields(*reply)[0]), 0);
  return reply.has_value();
}

bool QueryPoll::LearnProgress() {
  const auto reply = AskWhole(job_.Printer(),
                              "<query value='current' action='get' />;"
                              "<query value='complete' action='get' />&#0;");
  if (!reply) return false;
  const std::vector<OString> fields = ReplyFields(*reply);
  if (fields.size() == 2) {
    current_ = ReplyNumber(fields[0]);
    view_.complete = ReplyNumber(fields[1]);
  }
  return true;
}

void QueryPoll::LearnCurrent() {
  const auto reply = AskWhole(job_.Printer(), "<query value='name' index='" + std::to_string(current_) +
                                                  "' action='get' />;"
                                                  "<query value='display status' action='get' />;"
                                                  "<query value='bytes read' action='get' />;"
                                                  "<query value='bytes written' action='get' />&#0;");
  if (!reply) return;
  const std::vector<OString> fields = ReplyFields(*reply);
  if (fields.size() != 4) return;
  view_.name = fields[0];
  view_.status = fields[1];
  view_.bytesReceived = ReplyCount(fields[2]);
  view_.bytesSent = ReplyCount(fields[3]);
}

}  // namespace portwise
