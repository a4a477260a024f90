#include "ui/status_request.h"

#include "ui/reply_fields.h"

namespace portwise {
namespace {

/// Attribute values are taken literally, so that a quote, which no language has, would end this one.
std::string StatusTextCommand(const OString& language) {
  OString code = language;
  code.Replace("'", OString());
  return std::string("<state name='Status' action='get' language='").append(code.NarrowView()).append("' />");
}

}  // namespace

std::string StatusRequest(const OString& language) {
  return StatusTextCommand(language) +
         ";<state name='Status Severity' action='get' />;<port name='name' action='get' />&#0;";
}

std::string StatusTextRequest(const OString& language) { return StatusTextCommand(language) + "&#0"; }

std::optional<StatusReply> ReadStatusReply(std::string_view reply) {
  const std::vector<OString> fields = ReplyFields(reply);
  if (fields.size() != 3) return std::nullopt;
  return StatusReply{fields[0], ReplyNumber(fields[1]), fields[2]};
}

}  // namespace portwise
