#include <gmock/gmock.h>
#include <winspool.h>

#include "tests/support/printer_program.h"
#include "tests/support/spooler_home.h"

namespace portwise::test {
namespace {

constexpr char kId[] = "ID portwise-printer 1;";

/// A printer that is asked through the reference plug-in.
class Query : public testing::Test {
 protected:
  Query() : home_("portwise.dll") {
    EXPECT_TRUE(home_.Start()) << home_.Errors();
    Ask({{"op", "port-add"}, {"name", "dock"}, {"host", "127.0.0.1"}, {"port", device_.Port()}, {"protocol", "raw"}});
    ExpectRun("printer add Dock --port dock --driver " + ProgramFolder() + "/reference.dll --data-file SIMPR.DAT");
  }

  PrinterProgram device_{"--page-time 1"};
  SpoolerHome home_;
};

TEST_F(Query, BringsTheAnswersBytes) {
  // All bytes reach the printer, which passes over those before the request, whatever they are to XPML.
  ExpectRun(R"(query Dock '<a b="&amp;">\x00\xff]]>\\\e?ID\r\n')", 0, std::string("\x02") + kId);
  ExpectRun(R"(query dock '\e?ID\r\n' --pattern '^[<\x02]ID .*?;[0-9A-F]{2}(?=["\x03])')", 0, kId);
  ExpectRun(R"(--help >/dev/null; printf '\033?ID\r\n' | ")" + ProgramFolder() + R"(/portwise" query Dock -)", 0, kId);
  device_.Order("pieces 3");
  ExpectRun(R"(query Dock '\e?ID\r\n')", 0, kId);
  EXPECT_EQ(ExpectRun(R"(query Dock '\e?ID\r\n' --no-answer)"), "");
}

TEST_F(Query, SaysWhatWentWrong) {
  ExpectRun(R"(query Dock '\q')", 1, "there is no escape \\q");
  ExpectRun(R"(query Dock 'a\x1')", 1, "two hexadecimal digits");
  ExpectRun(R"(query Dock 'a\')", 1, "there is no escape \\;");
  ExpectRun("query Dock ''", 1, "the command is empty");
  for (const char* command : {"query Nobody x", "ui status Nobody", "ui query Nobody --job 1"})
    ExpectRun(command, 1, "there is no printer Nobody");
  device_.Order("silent 1");
  ExpectRun(R"(query Dock '\e?ID\r\n' --timeout 1)", 2, "no complete answer");
  ExpectRun(R"(query Dock '\e?ID\r\n' --pattern 'ID [^p]' --timeout 1)", 2, "no complete answer");

  // Ctrl-C ends it, and the monitor gives the printer to the next one.
  device_.Order("silent 1");
  ExpectRun(R"(query Dock '\e?ID\r\n' --timeout 60 & until grep -q 'SigCgt:.*[4-7c-f]...$' /proc/$!/status; )"
            "do sleep 0.1; done; sleep 0.3; kill -TERM $!; wait $!",
            130, "interrupted");
  ExpectRun(R"(query Dock '\e?ID\r\n' --timeout 20)", 0, kId);

  ExpectRun("printer set Dock --attributes local");
  ExpectRun("query Dock x", 1, "not bidirectional");
  home_.Stop();
  ExpectRun("query Dock x", 1, "no spooler answers");
}

TEST_F(Query, LeavesNoRequestBehind) {
  const std::string list = R"(portwise xpml Dock "<query id='*' get='requests'/>")";
  ExpectRun(
      "printer set Dock --setting 'Status/Status Monitoring Mode=2' --setting 'Status/Idle Polling Interval=200'");
  ExpectRun(R"(query Dock '\e?ID\r\n' --timeout 3)", 0, kId);
  EXPECT_EQ(RunProgram(list).output, "1\r\n");
  EXPECT_TRUE(Eventually([&] { return RunProgram(list).output.empty(); })) << "it does not expire";
}

}  // namespace
}  // namespace portwise::test
