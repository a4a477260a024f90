#include "host/cli/status_watch.h"

#include <windows.h>

#include <chrono>
#include <cstdio>
#include <ctime>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "host/cli/client.h"
#include "host/cli/interruption.h"
#include "host/cli/status_command.h"
#include "host/cli/status_screen.h"
#include "host/cli/terminal_text.h"
#include "platform/text.h"

namespace portwise {

using Json = nlohmann::json;
using Clock = std::chrono::steady_clock;

namespace {

constexpr int kPollMilliseconds = 250;
/// After which the table is redrawn, though it is the same: the time above it goes on, and the window may have changed.
constexpr std::chrono::milliseconds kRedraw{1000};
/// Jobs that are looked at for those that print; more are hardly worth the time.
constexpr int kJobPages = 4;

struct PrinterRow {
  std::string name, condition, jobs, printing, comment;

  bool operator==(const PrinterRow&) const = default;
};

/// What there is to see at one moment; without a spooler, nothing is known of printers.
struct Picture {
  bool spooler = false;
  std::vector<PrinterRow> printers;

  bool operator==(const Picture&) const = default;
};

std::string TimeText() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  localtime_r(&now, &parts);
  char text[16];
  return {text, std::strftime(text, sizeof text, "%H:%M:%S", &parts)};
}

/// "12 Order 4711 45 %".
std::string JobText(const Json& job) {
  const auto taken = job.value("taken", std::uint64_t{0}), size = job.value("size", std::uint64_t{0});
  const std::uint64_t percent =
      size == 0 ? 100 : static_cast<std::uint64_t>(100.0 * static_cast<double>(taken) / static_cast<double>(size));
  return std::to_string(job.value("job", 0u)) + " " + job.value("document", "") + " " + std::to_string(percent) + " %";
}

/// The jobs that print, by their printers.
std::map<std::string, std::string> PrintingJobs(Client& client, const std::string& printer) {
  std::map<std::string, std::string> printing;
  unsigned after = 0;
  bool more = true;
  for (int page = 0; more && page < kJobPages; ++page) {
    const platform::Message reply = client.Ask({{"op", "job-list"}, {"printer", printer}, {"after", after}});
    more = reply.head.value("more", false);
    after = reply.head.value("last", after);
    for (const Json& job : Json::parse(reply.body)) {
      if (job.value("state", "") == "printing") printing.emplace(job.value("printer", ""), JobText(job));
    }
  }
  return printing;
}

/// Asks the spooler for a picture, over and over.
class Source {
 public:
  explicit Source(const std::string& printer) : printer_(printer) {}

  Picture Take() {
    if (!client_) client_.emplace();
    platform::Message reply = printer_.empty() ? client_->Call({{"op", "printer-list"}})
                                               : client_->Call({{"op", "printer-get"}, {"name", printer_}});
    Picture picture{true, {}};
    const auto error = reply.head.value("error", DWORD{ERROR_SUCCESS});
    if (error == ERROR_INVALID_PRINTER_NAME && !printer_.empty()) {
      if (!known_) throw Unknown(reply.head.value("reason", ""));
      return picture;
    }
    known_ = true;
    if (error != ERROR_SUCCESS) throw CommandError(reply.head.value("reason", "the spooler refused the order"));
    const Json printers = printer_.empty() ? Json::parse(reply.body) : Json::array({reply.head});
    bool jobs = false;
    for (const Json& printer : printers) jobs = jobs || printer.value("jobs", 0u) > 0;
    const auto printing = jobs ? PrintingJobs(*client_, printer_) : std::map<std::string, std::string>();
    for (const Json& printer : printers) {
      const std::string name = printer.value("name", "");
      const auto job = printing.find(name);
      picture.printers.push_back({Harmless(name), PrinterCondition(printer), std::to_string(printer.value("jobs", 0u)),
                                  job == printing.end() ? "" : Harmless(job->second),
                                  Harmless(printer.value("comment", ""))});
    }
    return picture;
  }

  /// Whatever went wrong, the next picture is asked for over a new connection.
  void Forget() { client_.reset(); }

  /// There never was such a printer.
  class Unknown : public CommandError {
   public:
    explicit Unknown(const std::string& reason) : CommandError(reason) {}
  };

 private:
  const std::string printer_;
  std::optional<Client> client_;
  bool known_ = false;
};

std::vector<std::string> TableOf(const Picture& picture) {
  std::vector<std::vector<std::string>> rows{{"PRINTER", "STATUS", "JOBS", "PRINTING", "COMMENT"}};
  for (const PrinterRow& row : picture.printers)
    rows.push_back({row.name, row.condition, row.jobs, row.printing, row.comment});
  return FormatTable(rows);
}

/// A table in one place; the last one that a spooler gave stays behind on the terminal.
class TableView {
 public:
  ~TableView() { screen_.reset(); }

  void Show(const Picture& picture) {
    const Clock::time_point now = Clock::now();
    if (shown_ && picture == *shown_ && now - drawn_ < kRedraw) return;
    if (picture.spooler || !table_) table_ = TableOf(picture);
    std::vector<std::string> lines{
        TimeText() + (picture.spooler ? "  Ctrl-C ends" : "  waiting for the spooler, which does not answer"), ""};
    lines.insert(lines.end(), table_->begin(), table_->end());
    if (picture.spooler && picture.printers.empty()) lines.push_back("(no printer)");
    screen_->Show(lines);
    shown_ = picture;
    drawn_ = now;
  }

  void End() {
    screen_.reset();
    for (std::size_t i = 0; table_ && i < table_->size(); ++i) std::puts((*table_)[i].c_str());
  }

 private:
  std::optional<StatusScreen> screen_{std::in_place};
  std::optional<Picture> shown_;
  std::optional<std::vector<std::string>> table_;
  Clock::time_point drawn_;
};

/// A line for each change.
class LineView {
 public:
  explicit LineView(bool json) : json_(json) {}

  void Show(const Picture& picture) {
    const bool first = !shown_;
    if (first ? !picture.spooler : picture.spooler != shown_->spooler) ShowSpooler(picture.spooler);
    if (picture.spooler) {
      std::map<std::string, PrinterRow> now;
      for (const PrinterRow& row : picture.printers) {
        now[row.name] = row;
        const auto old = printers_.find(row.name);
        if (old == printers_.end() || !(old->second == row)) ShowPrinter(row);
      }
      for (const auto& [name, row] : printers_) {
        if (!now.contains(name)) ShowRemoved(name);
      }
      printers_ = std::move(now);
      if (first && picture.printers.empty() && !json_) Line("(no printer)");
    }
    shown_ = picture;
    FlushOutput();
  }

 private:
  static void Line(const std::string& text) { std::puts((TimeText() + "  " + text).c_str()); }
  static void JsonLine(const Json& json) {
    std::puts(json.dump(-1, ' ', false, Json::error_handler_t::replace).c_str());
  }

  void ShowSpooler(bool there) const {
    if (json_) return JsonLine(Json{{"spooler", there}});
    Line(there ? std::string("the spooler is there") : std::string("the spooler does not answer; waiting for it"));
  }
  void ShowRemoved(const std::string& name) const {
    if (json_) return JsonLine(Json{{"name", name}, {"removed", true}});
    Line(name + "  removed");
  }
  void ShowPrinter(const PrinterRow& row) const {
    if (json_) {
      return JsonLine(Json{{"name", row.name},
                           {"status", row.condition},
                           {"jobs", std::stoul(row.jobs)},
                           {"printing", row.printing},
                           {"comment", row.comment}});
    }
    std::string line = row.name + "  " + row.condition + "  jobs " + row.jobs;
    if (!row.printing.empty()) line += "  printing " + row.printing;
    if (!row.comment.empty()) line += "  (" + row.comment + ")";
    Line(line);
  }

  const bool json_;
  std::optional<Picture> shown_;
  std::map<std::string, PrinterRow> printers_;  ///< what the reader knows
};

/// Shows pictures until the interruption; a CommandError of the spooler counts as its absence.
template <class View>
void Follow(Source& source, const Interruption& interruption, View& view) {
  do {
    Picture picture;
    try {
      picture = source.Take();
    } catch (const Source::Unknown&) {
      throw;
    } catch (const CommandError&) {
      source.Forget();
    }
    view.Show(picture);
  } while (!interruption.WaitFor(kPollMilliseconds));
}

}  // namespace

void WatchStatus(const std::string& printer, bool json) {
  Source source(printer);
  if (!json && StatusScreen::IsPossible()) {
    const Interruption interruption(StatusScreen::kFarewell);
    TableView view;
    Follow(source, interruption, view);
    return view.End();
  }
  const Interruption interruption;
  LineView view(json);
  Follow(source, interruption, view);
}

}  // namespace portwise
