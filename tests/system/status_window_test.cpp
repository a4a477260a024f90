#include <gtest/gtest.h>

#include <future>

#include "tests/support/spooler_home.h"

namespace portwise::test {
namespace {

TEST(StatusWindow, OutlivesItsSpoolerAndEndsWithItsPrinter) {
  SpoolerHome home("portwise.dll");
  ASSERT_TRUE(home.Start()) << home.Errors();
  home.AddPort("dock", {"Labels"});
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
