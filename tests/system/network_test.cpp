#include <gmock/gmock.h>

#include "tests/support/files.h"
#include "tests/support/network_settings.h"
#include "tests/support/spooler_home.h"

namespace portwise::test {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;

/// The monitor's network service in the real spooler, asked by programs that others wrote.
TEST(NetworkService, ServesProgramsThatOthersWrote) {
  SpoolerHome home("portwise.dll");
  const unsigned port = FreePort();
  ConfigureNetworkService(port);
  ASSERT_TRUE(home.Start("dock", {"Big Labels"})) << home.Errors();
  const std::string place = "127.0.0.1:" + std::to_string(port);
  const std::string python = R"(python3 -c '
import http.client, sys
service = http.client.HTTPConnection("127.0.0.1", sys.argv[1])
body = sys.argv[4] if len(sys.argv) > 4 else None
service.request(sys.argv[2], sys.argv[3], body, {"Content-Type": "application/x-www-form-urlencoded"})
sys.stdout.buffer.write(service.getresponse().read())' )" +
                             std::to_string(port) + " ";
  const std::string requests[] = {"curl -sS http://" + place, "wget -nv -O- http://" + place, python + "GET "};
  const auto run = [](const std::string& command) { return RunProgram("portwise --help >/dev/null; " + command); };
  for (const std::string& request : requests) {
    EXPECT_THAT(run(request + "/tickcount").output, ContainsRegex("^[0-9]+"));
    EXPECT_THAT(run(request + "'/info?printer=Big%20Labels'").output, HasSubstr("\nPort: \t\t\tdock\r\n"));
    EXPECT_THAT(run(request + "'/xpml?printer=Big+Labels&xpml=%3Cuppercase%3Eabc%3C/uppercase%3E'").output,
                HasSubstr(std::string("ABC\0", 4)));
  }
  const std::string large(3000000, 'x');
  WriteBytes(home.File("request"), "<reverse>" + large + "y</reverse>");
  const ProgramResult posted =
      run("curl -sS http://" + place + "/xpml -d 'printer=Big Labels' --data-urlencode xpml@" + home.File("request"));
  EXPECT_TRUE(posted.output == "y" + large + std::string(1, '\0')) << posted.output.substr(0, 500);
  EXPECT_EQ(run(python + "POST /xpml 'printer=Big Labels&xpml=abc'").output, std::string("abc\0", 4));
  EXPECT_EQ(run("curl -sSo /dev/null -w '%{http_code}' http://" + place + "/info").output, "400");
  EXPECT_EQ(home.Stop(), 0) << home.Errors();
}

}  // namespace
}  // namespace portwise::test
