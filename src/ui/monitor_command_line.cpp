#include "ui/monitor_command_line.h"

#include <algorithm>
#include <iterator>
#include <optional>

#include "ui/reply_fields.h"

namespace portwise {
namespace {

/// Takes the words off a command line.
class Words {
 public:
  explicit Words(const OString& text) : text_(text) {}

  /// Nothing at the end.
  std::optional<OString> Next() {
    while (text_[place_] == ' ') ++place_;
    if (place_ >= text_.Length()) return std::nullopt;
    const bool quoted = text_[place_] == '"';
    const int start = place_ + quoted;
    int end = text_.Find(WCHAR(quoted ? '"' : ' '), start);
    if (end < 0) end = text_.Length();
    place_ = end + 1;
    return text_.Mid(start, end - start);
  }

 private:
  const OString text_;
  int place_ = 0;
};

using Line = MonitorCommandLine;

template <MonitorVerb kVerb>
void SetVerb(Line& line, const OString& printer) {
  line.verb = kVerb;
  line.printer = printer;
}

constexpr struct {
  const char* word;
  bool takesNext;
  void (*apply)(Line& line, const OString& next);
} kWords[] = {
    {"open", true, SetVerb<MonitorVerb::Open>},
    {"init", true, SetVerb<MonitorVerb::Init>},
    {"close", true, SetVerb<MonitorVerb::Close>},
    {"cleanup", true, SetVerb<MonitorVerb::Cleanup>},
    {"show", true, SetVerb<MonitorVerb::Show>},
    {"hide", true, SetVerb<MonitorVerb::Hide>},
    {"-i", false, [](Line& line, const OString&) { line.hidden = true; }},
    {"-f", false, [](Line& line, const OString&) { line.newWindow = true; }},
    {"-ji", true, [](Line& line, const OString& next) { line.job = ReplyNumber(next); }},
    {"-jn", true, [](Line& line, const OString& next) { line.jobName = next; }},
};

}  // namespace

MonitorCommandLine::MonitorCommandLine(const OString& text) {
  Words words(text);
  while (const std::optional<OString> word = words.Next()) {
    const auto* row = std::find_if(std::begin(kWords), std::end(kWords),
                                   [&](const auto& each) { return word->EqualsNoCase(each.word); });
    if (row == std::end(kWords)) continue;
    row->apply(*this, row->takesNext ? words.Next().value_or(OString()) : OString());
  }
}

}  // namespace portwise
