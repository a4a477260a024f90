#include <gmock/gmock.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <future>
#include <utility>

#include "tests/support/spooler_home.h"

namespace portwise::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;

/// "portwise status --watch ..." on a terminal of 40 columns and 6 rows, or with its output in a pipe.
class Watch {
 public:
  Watch(bool terminal, const char* more = nullptr) {
    winsize size{6, 40, 0, 0};
    int ends[2] = {};
    if (!terminal && pipe(ends) != 0) return;
    process_ = terminal ? forkpty(&output_, nullptr, nullptr, &size) : fork();
    if (process_ == 0) {
      if (!terminal) dup2(ends[1], STDOUT_FILENO);
      if (!terminal) close(ends[0]);
      setenv("TERM", "xterm", 1);
      execl((ProgramFolder() + "/portwise").c_str(), "portwise", "status", "--watch", more, nullptr);
      _exit(99);
    }
    if (!terminal) close(ends[1]);
    if (!terminal) output_ = ends[0];
  }
  ~Watch() {
    if (process_ > 0) End(SIGKILL);
    close(output_);
  }

  /// Reads until the text comes after what was found before; false when it does not.
  bool Shows(const std::string& text) {
    while (text_.find(text, read_) == std::string::npos) {
      if (!Read()) return false;
    }
    read_ = text_.find(text, read_) + text.size();
    return true;
  }
  void Type(char key) { EXPECT_EQ(write(output_, &key, 1), 1); }
  /// The exit code, or -1.
  int End(int signal = 0) {
    if (signal != 0) kill(process_, signal);
    while (Read()) {
    }
    int status = 0;
    waitpid(std::exchange(process_, 0), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  const std::string& Text() const { return text_; }

 private:
  bool Read() {
    char buffer[4096];
    pollfd readable{output_, POLLIN, 0};
    const ssize_t got = poll(&readable, 1, 20000) > 0 ? read(output_, buffer, sizeof buffer) : 0;
    if (got > 0) text_.append(buffer, static_cast<std::size_t>(got));
    return got > 0;
  }

  pid_t process_ = 0;
  int output_ = -1;
  std::size_t read_ = 0;
  std::string text_;
};

void SetStatus(const std::u16string& name, ULONG_PTR status) {
  const unique_printer printer = OpenPrinterOf(name, PRINTER_ACCESS_ADMINISTER);
  EXPECT_TRUE(SetPrinterW(printer.Get(), 0, reinterpret_cast<LPBYTE>(status), PRINTER_CONTROL_SET_STATUS));
}

TEST(StatusWatch, TellsEachChangeInALine) {
  SpoolerHome home;
  ASSERT_TRUE(home.Start("port", {"one", "two"}));
  Watch all(false), json(false, "--json"), one(false, "two");
  EXPECT_TRUE(all.Shows("two  unknown  jobs 0\n") && one.Shows("two  unknown"));
  SetStatus(u"one", PRINTER_STATUS_PAPER_OUT);
  EXPECT_TRUE(all.Shows("one  paper-out  jobs 0\n"));
  RunProgram("portwise printer remove two");
  RunProgram("portwise printer add three --port port --comment 'a b'");
  EXPECT_TRUE(all.Shows("three  unknown  jobs 0  (a b)\n"));
  EXPECT_THAT(all.Text(), HasSubstr("two  removed\n"));
  EXPECT_TRUE(one.Shows("two  removed\n"));
  EXPECT_EQ(home.Stop(), 0);
  EXPECT_TRUE(all.Shows("the spooler does not answer; waiting for it\n"));
  ASSERT_TRUE(home.Start());
  EXPECT_TRUE(all.Shows("one  unknown")) << "nobody knows what happened meanwhile";
  EXPECT_THAT(all.Text(), HasSubstr("the spooler is there\n"));
  EXPECT_TRUE(json.Shows("{\"spooler\":true}\n"));
  EXPECT_THAT(json.Text(), HasSubstr(R"("jobs":0,"name":"one","printing":"","status":"paper-out"})"));
  EXPECT_EQ(all.End(SIGTERM), 0);
  EXPECT_EQ(json.End(SIGINT), 0);
  EXPECT_EQ(one.Text().find("paper-out"), std::string::npos);
  ExpectRun("status --watch nobody", 1, "there is no printer nobody");
}

TEST(StatusWatch, RedrawsATerminal) {
  SpoolerHome home;
  ASSERT_TRUE(home.Start("port", {"one", "two"}));
  Watch watch(true);
  EXPECT_TRUE(watch.Shows("two      unknown"));
  EXPECT_THAT(watch.Text(), testing::StartsWith("\x1b[?1049h\x1b[?25l\x1b[H"));
  SetStatus(u"two", PRINTER_STATUS_DOOR_OPEN);
  EXPECT_TRUE(watch.Shows("two      door-open"));
  for (const char* name : {"three", "four", "five"})
    RunProgram(std::string("portwise printer add ") + name + " --port port --comment 'longer than the line'");
  EXPECT_TRUE(watch.Shows("\r\n... and 3 more\x1b[K\x1b[J")) << "higher than the terminal";
  EXPECT_EQ(watch.Text().find("longer than the line"), std::string::npos) << "wider than the terminal";
  EXPECT_EQ(home.Stop(), 0);
  EXPECT_TRUE(watch.Shows("waiting for the spooler"));
  watch.Type('\x03');
  EXPECT_EQ(watch.End(), 0);
  const std::string left = watch.Text().substr(watch.Text().rfind("\x1b["));
  EXPECT_THAT(left, testing::StartsWith("\x1b[?1049lPRINTER"));
  EXPECT_THAT(left, HasSubstr("\ntwo      door-open"));
}

TEST(StatusWindow, OutlivesItsSpoolerAndEndsWithItsPrinter) {
  SpoolerHome home("portwise.dll");
  ASSERT_TRUE(home.Start("dock", {"Labels"})) << home.Errors();
  auto window = std::async(std::launch::async, [&] {
    return RunProgram("portwise --version > /dev/null; PORTWISE_TIME_SCALE=20 " + ProgramFolder() +
                      "/portwise ui status Labels > " + home.File("window"));
  });
  const auto shows = [&](const char* text) {
    return Eventually([&] { return ReadFile(home.File("window")).find(text) != std::string::npos; });
  };
  EXPECT_TRUE(shows("Labels Status") && shows("Monitoring Disabled"));
  EXPECT_EQ(home.Stop(), 0);
  // Several of its ticks find nobody: that does not mean that the printer was deleted.
  EXPECT_EQ(window.wait_for(std::chrono::seconds(1)), std::future_status::timeout);
  ASSERT_TRUE(home.Start()) << home.Errors();
  EXPECT_EQ(window.wait_for(std::chrono::milliseconds(500)), std::future_status::timeout);
  ExpectRun("printer remove Labels");
  const ProgramResult ended = window.get();
  EXPECT_EQ(ended.code, 0) << ended.output;
}

}  // namespace
}  // namespace portwise::test
