#include <fcntl.h>
#include <gmock/gmock.h>
#include <pty.h>
#include <sys/stat.h>
#include <unistd.h>
#include <winspool.h>

#include <future>

#include "host/registry_key.h"
#include "platform/kernel/unique_fd.h"
#include "tests/support/fake_printer.h"
#include "tests/support/line_daemon.h"
#include "tests/support/read_slowly.h"
#include "tests/support/spooler_home.h"

namespace portwise::test {
namespace {

using platform::UniqueFd;
using Fault = LineDaemon::Fault;
using Json = nlohmann::json;

class Ports : public testing::Test {
 protected:
  Ports() : home_("portwise.dll") {}

  static Json Show(const std::string& port) { return RunJson("port show " + port); }
  SpoolerHome home_;
};

TEST_F(Ports, AreSetUpFromTheCommandLine) {
  ASSERT_TRUE(home_.Start()) << home_.Errors();
  const std::string file = home_.File("plain");
  close(open(file.c_str(), O_CREAT | O_WRONLY, 0600));
  mkfifo((file + ".pipe").c_str(), 0600);
  const std::pair<std::string, const char*> kBad[] = {
      {"", "needs a host, a device or a file"},
      {"--tcp h --file /x", "one place"},
      {"--tcp h:0", "1 to 65535"},
      {"--tcp h:9100x", "1 to 65535"},
      {"--tcp 1.2.3", "neither a host name"},
      {"--tcp ''", "--tcp is empty"},
      {"--tcp h --protocol ipp", "the protocols are raw and lpr"},
      {"--tcp h --queue q", "only a port with the protocol lpr"},
      {"--tcp h --protocol lpr --queue 'a b'", "holds a space"},
      {"--tcp h --protocol lpr --byte-counting yes", "on or off"},
      {"--tcp h --kind usb", "only a device has a kind"},
      {"--tcp h --serial 9600,n,8,1", "only a serial port"},
      {"--device /dev/null", "say what kind of device"},
      {"--device /dev/null --kind file", "the kinds are usb, parallel and serial"},
      {"--device /dev/usb/lp0 --protocol lpr", "only a port that leads to a host"},
      {"--device /dev/ttyS9 --serial 9600,n,9,1", "5 to 8 data bits"},
      {"--kind usb --device " + file, "is not a device that takes print data"},
  };
  for (const auto& [arguments, fault] : kBad) ExpectRun("port add bad " + arguments, 1, fault);
  EXPECT_EQ(Json::parse(Ask({{"op", "port-list"}}).body), Json::array());

  ExpectRun("port add net --tcp label.example");
  EXPECT_EQ(Show("net"), Json::parse(R"({"name": "net", "kind": "tcp", "host": "label.example", "port": 9100,
                                         "protocol": "raw", "printers": []})"));
  ExpectRun("port set net --protocol lpr --queue labels --byte-counting off");
  EXPECT_EQ(Show("NET")["port"], 515);
  ExpectRun("port set net --tcp 10.0.0.5:1515");
  ExpectRun("port set net --byte-counting on");
  EXPECT_EQ(Show("net"), Json::parse(R"({"name": "net", "kind": "tcp", "host": "10.0.0.5", "port": 1515,
                                         "protocol": "lpr", "queue": "labels", "byteCounting": true, "printers": []})"));
  const auto key =
      RegistryKey::Open(R"(SYSTEM\CurrentControlSet\Control\Print\Monitors\Standard TCP/IP Port\Ports\net)");
  EXPECT_EQ(key.GetText("HostName") + "|" + key.GetText("IPAddress") + "|" + key.GetText("Queue"), "|10.0.0.5|labels");
  EXPECT_TRUE(key.GetNumber("Protocol") == 2 && key.GetNumber("PortNumber") == 1515);
  ExpectRun("port add net --file /x", 1, "already");
  ExpectRun("port set net", 1, "say what to change");
  ExpectRun("port set net --file " + file + ".pipe", 1, "is a pipe");
  ExpectRun("port set net --protocol none", 1, "raw and lpr");
  ExpectRun("port set none --file /x", 1, "there is no port none");

  // A port that becomes another kind keeps nothing of what it was, and is in one place only.
  ExpectRun("port set net --device /dev/ttyS7 --serial 19200,e,7,1,rtscts");
  EXPECT_EQ(Show("net"), Json::parse(R"({"name": "net", "kind": "serial", "device": "/dev/ttyS7",
                                         "line": "19200,e,7,1,rtscts", "printers": []})"));
  ExpectRun("port set net --kind parallel");
  ExpectRun("port add USB001 --device /dev/usb/lp3");
  ExpectRun("port show net", 0, "kind:      parallel\nleads to:  /dev/ttyS7\n");
  ExpectRun("port set net --file " + file);
  ExpectRun("port list", 0, "USB001  usb   /dev/usb/lp3");
  EXPECT_EQ(Json::parse(Ask({{"op", "port-list"}}).body).size(), 2u);
  ExpectRun("port remove net");
  ExpectRun("port show net", 1, "there is no port net");
}

TEST_F(Ports, CarryJobsToEveryKindOfPrinter) {
  ASSERT_TRUE(home_.Start()) << home_.Errors();
  const std::string data = Payload(300000, 1);
  LineDaemon daemon({Fault::RefuseQueue, Fault::CloseAtEnd});
  ExpectRun("port add lpr --protocol lpr --queue labels --tcp 127.0.0.1:" + std::to_string(daemon.Port()));
  ExpectRun("printer add Spooled --port lpr");
  const unsigned doubtful = Submit("Spooled", data);
  ASSERT_TRUE(Eventually([&] { return HasState(doubtful, "held", "may have printed"); })) << GetJob(doubtful);
  EXPECT_EQ(Control(doubtful, JOB_CONTROL_RESUME), 0u);
  ASSERT_TRUE(Eventually([&] { return Gone(doubtful, "printed"); })) << GetJob(doubtful);
  ASSERT_EQ(daemon.Jobs().size(), 2u);
  EXPECT_TRUE(daemon.Jobs()[1].data == data && daemon.Jobs()[1].whole);

  // A job that waits for the daemon says so, can be cancelled, and is not lost when the spooler ends.
  FakePrinter printer;
  printer.Refuse();
  ExpectRun("port set lpr --tcp 127.0.0.1:" + std::to_string(printer.Port()));
  const unsigned cancelled = Submit("Spooled", data);
  ASSERT_TRUE(Eventually([&] { return HasState(cancelled, "printing", "127.0.0.1 cannot be reached"); }));
  ExpectRun("port set lpr --protocol raw", 1, "printer Spooled is printing");
  EXPECT_EQ(Control(cancelled, JOB_CONTROL_CANCEL), 0u);
  EXPECT_TRUE(Eventually([&] { return Gone(cancelled, "deleted"); })) << GetJob(cancelled);
  const unsigned waiting = Submit("Spooled", data);
  ASSERT_TRUE(Eventually([&] { return HasState(waiting, "printing", "cannot be reached"); }));
  EXPECT_EQ(home_.Stop(), 0);
  ASSERT_TRUE(home_.Start()) << home_.Errors();
  EXPECT_TRUE(HasState(waiting, "held", "was not sent before the spooler ended")) << GetJob(waiting);

  // An open port takes another protocol from the next job on.
  ExpectRun("port set lpr --protocol raw");
  printer.Listen();
  EXPECT_EQ(Control(waiting, JOB_CONTROL_RESUME), 0u);
  ASSERT_TRUE(printer.Accept(5000));
  EXPECT_TRUE(printer.Receive(data.size() + 1) == data);
  printer.Close();
  EXPECT_TRUE(Eventually([&] { return Gone(waiting, "printed"); }));

  const std::string pipe = home_.File("usb");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  int ends[2];
  char line[128];
  ASSERT_EQ(openpty(&ends[0], &ends[1], line, nullptr, nullptr), 0);
  const UniqueFd usb(open(pipe.c_str(), O_RDWR)), serial(ends[0]), far(ends[1]);
  ExpectRun("port add USB001 --kind usb --device " + pipe);
  ExpectRun("printer add 'Label USB001' --port USB001");
  ExpectRun("port add COM1 --device " + std::string(line));
  ExpectRun("printer add 'Label COM1' --port COM1");
  const unsigned job = Submit("Label COM1", data);
  EXPECT_TRUE(ReadSlowly(serial.Get(), data.size()) == data);
  EXPECT_TRUE(Eventually([&] { return Gone(job, "printed"); })) << GetJob(job);

  // A client whose request waits behind a job that the printer does not take keeps no spooler from ending.
  const unsigned stuck = Submit("Label USB001", "unread");
  ASSERT_TRUE(Eventually([&] { return HasState(stuck, "printing", "has not taken the end"); })) << GetJob(stuck);
  auto request = std::async(std::launch::async, [] {
    return RunProgram("portwise xpml 'Label USB001' '<xpml><packet>hello</packet></xpml>'");
  });
  EXPECT_EQ(request.wait_for(std::chrono::milliseconds(500)), std::future_status::timeout);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(home_.Stop(), 0);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(8));
  request.get();
  ASSERT_TRUE(home_.Start()) << home_.Errors();
  EXPECT_TRUE(HasState(stuck, "held", "the spooler ended")) << GetJob(stuck);
}

}  // namespace
}  // namespace portwise::test
