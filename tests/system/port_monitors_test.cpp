#include <winsock2.h>  // before the kernel's names for the same requests

#include <fcntl.h>
#include <gmock/gmock.h>
#include <linux/lp.h>
#include <pty.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <termios.h>
#include <unistd.h>
#include <winspool.h>

#include <cerrno>
#include <cstdarg>
#include <filesystem>
#include <fstream>
#include <future>
#include <thread>

#include "host/monitors/find_port_monitor.h"
#include "host/monitors/line_settings.h"
#include "host/ports.h"
#include "platform/kernel/unique_fd.h"
#include "platform/test_clock.h"
#include "platform/text.h"
#include "tests/support/fake_printer.h"
#include "tests/support/fake_spooler.h"
#include "tests/support/last_error.h"
#include "tests/support/line_daemon.h"
#include "tests/support/read_slowly.h"
#include "tests/support/spooler_home.h"
#include "tests/support/temporary_home.h"

namespace {

/// What the kernel's printer drivers answer in place of the device that a test has not got.
struct FakeDriver {
  int lines = 0;
  std::string deviceId;
  int error = 0;
  int resets = 0;
} driver;

}  // namespace

extern "C" int ioctl(int device, unsigned long request, ...) noexcept {
  va_list arguments;
  va_start(arguments, request);
  void* argument = va_arg(arguments, void*);
  va_end(arguments);
  const bool ours = request == LPGETSTATUS || _IOC_TYPE(request) == 'P';
  if (!ours) return static_cast<int>(syscall(SYS_ioctl, device, request, argument));
  if (driver.error != 0) {
    errno = driver.error;
    return -1;
  }
  if (request == LPGETSTATUS) *static_cast<int*>(argument) = driver.lines;
  if (_IOC_NR(request) == 7) ++driver.resets;
  if (_IOC_NR(request) == 1) driver.deviceId.copy(static_cast<char*>(argument), _IOC_SIZE(request));
  return 0;
}

namespace portwise::test {
namespace {

using platform::ClockMilliseconds;
using platform::UniqueFd;
using testing::ElementsAre;
using testing::HasSubstr;
using Fault = LineDaemon::Fault;
using namespace std::string_literals;

/// A registered port, opened at its monitor.
class OpenPort {
 public:
  explicit OpenPort(Port port) {
    port.name = port.name.empty() ? "port" : port.name;
    EXPECT_TRUE(SavePort(port));
    const auto monitor = FindPortMonitor(port.name);
    functions_ = monitor->functions;
    EXPECT_TRUE(functions_->pfnOpenPort(monitor->handle, platform::ToUtf16(port.name).data(), &handle_));
  }
  ~OpenPort() { Close(); }

  void Close() {
    if (handle_) functions_->pfnClosePort(handle_);
    handle_ = nullptr;
  }
  bool Start(const std::string& document = "doc") { return StartFor(++job_, document); }
  bool StartFor(DWORD job, const std::string& document) {
    std::u16string printer = u"Labels", name = platform::ToUtf16(document);
    DOC_INFO_1W info{name.data(), nullptr, nullptr};
    return functions_->pfnStartDocPort(handle_, printer.data(), job, 1, reinterpret_cast<LPBYTE>(&info));
  }
  /// One call; what was taken counts.
  bool Write(std::string_view data, DWORD* written) {
    return functions_->pfnWritePort(handle_, reinterpret_cast<LPBYTE>(const_cast<char*>(data.data())),
                                    static_cast<DWORD>(data.size()), written);
  }
  /// As monitors do: until all is written, the job is deleted or ten calls in a row failed.
  bool WriteAll(std::string_view data) {
    for (int failures = 0; !data.empty() && failures < 10;) {
      DWORD written = 0;
      failures = Write(data.substr(0, 65536), &written) ? 0 : failures + 1;
      if (failures > 0 && GetLastError() == ERROR_PRINT_CANCELLED) break;
      data.remove_prefix(written);
    }
    return data.empty();
  }
  /// Writes until it takes no more; what is left. The call that failed has `error`, after `wait` milliseconds.
  std::string_view WriteUntilFull(std::string_view data, DWORD error, long long wait) {
    while (!data.empty()) {
      DWORD written = 0;
      const long long begin = ClockMilliseconds();
      const bool took = Write(data, &written);
      data.remove_prefix(written);
      if (took) continue;
      EXPECT_EQ(GetLastError(), error);
      EXPECT_THAT(ClockMilliseconds() - begin, testing::AllOf(testing::Ge(wait), testing::Lt(wait + 5000)));
      return data;
    }
    ADD_FAILURE() << "it was never full";
    return data;
  }
  bool Read(std::string* data) {
    DWORD read = 0;
    data->resize(4096);
    const bool result = functions_->pfnReadPort(handle_, reinterpret_cast<LPBYTE>(data->data()), 4096, &read);
    data->resize(read);
    return result;
  }
  bool End() { return functions_->pfnEndDocPort(handle_); }
  bool Print(const std::string& data) { return Start() && WriteAll(data) && End(); }
  void SetTimeouts(COMMTIMEOUTS timeouts) { functions_->pfnSetPortTimeOuts(handle_, &timeouts, 0); }

  /// The answer to a device request with so much room; the error as a number when it failed.
  std::string Control(DWORD control, std::size_t room, std::string in = {}) {
    std::string out(room, '~');
    DWORD returned = 0;
    const bool done = functions_->pfnGetPrinterDataFromPort(
        handle_, control, nullptr, in.empty() ? nullptr : reinterpret_cast<LPWSTR>(in.data()),
        static_cast<DWORD>(in.size()), reinterpret_cast<LPWSTR>(out.data()), static_cast<DWORD>(room), &returned);
    return done ? out.substr(0, returned) : "error " + std::to_string(GetLastError());
  }
  const MONITOR2& Functions() const { return *functions_; }

 private:
  MONITOR2* functions_ = nullptr;
  HANDLE handle_ = nullptr;
  DWORD job_ = 41;
};

class PortMonitors : public testing::Test {
 protected:
  PortMonitors() {
    signal(SIGPIPE, SIG_IGN);
    platform::SetTimeScale(20);
    driver = {};
  }
  ~PortMonitors() override { platform::SetTimeScale(1); }

  std::string MakePipe() {
    const std::string path = (home_.Path() / "device").string();
    EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
    return path;
  }
  static Port Device(PortKind kind, const std::string& path, const std::string& line = {}) {
    Port port;
    port.kind = kind;
    port.path = path;
    port.line = line;
    return port;
  }
  static Port Tcp(unsigned number) {
    Port port;
    port.host = "127.0.0.1";
    port.portNumber = number;
    return port;
  }
  static Port Lpr(unsigned number, bool byteCounting) {
    Port port = Tcp(number);
    port.protocol = PortProtocol::Lpr;
    port.queue = "raw";
    port.byteCounting = byteCounting;
    return port;
  }
  /// Milliseconds of the clock that `call` takes.
  template <class Call>
  static long long TimeOf(Call call) {
    const long long begin = ClockMilliseconds();
    call();
    return ClockMilliseconds() - begin;
  }
  /// Runs `call`, which must be waiting for long, until the job is deleted.
  template <class Call>
  void ExpectDeletionEnds(OpenPort& port, Call call) {
    port.SetTimeouts({0, 0, 0, 0, 60000});
    auto result = std::async(std::launch::async, call);
    EXPECT_EQ(result.wait_for(std::chrono::milliseconds(150)), std::future_status::timeout);
    spooler_.jobStatus = JOB_STATUS_DELETING;
    EXPECT_LT(TimeOf([&] { EXPECT_FALSE(result.get()); }), 10000);
    spooler_.jobStatus = 0;
  }

  TemporaryHome home_;
  FakeSpooler spooler_;
};

TEST_F(PortMonitors, RawTcpOutlivesWhatPrintersDo) {
  FakePrinter printer(8192);
  OpenPort port(Tcp(printer.Port()));
  printer.Refuse();
  EXPECT_EQ(ErrorOf(port.Start()), WSAECONNREFUSED);
  printer.Listen();

  // A printer that does not read takes nothing after a while, and then has every byte once.
  const std::string data = Payload(16000000, 1);
  ASSERT_TRUE(port.Start() && printer.Accept());
  port.SetTimeouts({0, 0, 300, 0, 2000});
  const std::string_view rest = port.WriteUntilFull(data, WSAETIMEDOUT, 2000);
  ExpectDeletionEnds(port, [&] { return port.WriteAll(rest); });
  auto all = std::async(std::launch::async, [&] { return printer.Receive(data.size() - rest.size()); });
  EXPECT_TRUE(all.get() == data.substr(0, data.size() - rest.size()));
  EXPECT_TRUE(port.Print("") && printer.Accept());
  ASSERT_TRUE(port.Start() && printer.Accept());

  // What the printer says comes through; nothing is no failure, and its end of the talk is one that takes time.
  std::string answer;
  EXPECT_TRUE(port.Read(&answer) && answer.empty());
  printer.Send("ready");
  EXPECT_TRUE(port.Read(&answer) && answer == "ready");
  printer.EndSending();
  EXPECT_FALSE(port.Read(&answer));
  EXPECT_TRUE(port.WriteAll("more") && printer.Receive(4) == "more");

  // A new connection does not go on with a job of which the printer has a part; the next job gets one.
  spooler_.TakeReports();
  printer.Reset();
  EXPECT_FALSE(port.WriteAll("the rest"));
  EXPECT_FALSE(printer.Accept(50));
  EXPECT_FALSE(port.End());
  EXPECT_EQ(spooler_.TakeReports(),
            "undelivered: the printer broke the connection off after 4 bytes; the printer may have printed a part of "
            "the job\n");
  ASSERT_TRUE(port.Start() && printer.Accept());
  printer.Reset();
  DWORD written = 0;
  EXPECT_FALSE(port.Write("again", &written));
  EXPECT_TRUE(port.WriteAll("again") && printer.Accept()) << "nothing was lost";
  EXPECT_EQ(printer.Receive(5), "again");
  printer.Close();
  EXPECT_TRUE(port.End());

  // Broken off before the end of the job is a loss, and so is what stays unacknowledged; other silence is not.
  for (const bool breaksOff : {true, false}) {
    ASSERT_TRUE(port.Start() && port.WriteAll("unread") && printer.Accept());
    if (breaksOff) printer.Reset();
    EXPECT_EQ(port.End(), !breaksOff);
    EXPECT_EQ(spooler_.TakeReports().find("undelivered: the printer broke") == 0, breaksOff);
  }
  ASSERT_TRUE(port.Start() && port.WriteAll(Payload(100000, 2)) && printer.Accept());
  EXPECT_FALSE(port.End());
  EXPECT_THAT(spooler_.TakeReports(), testing::HasSubstr("undelivered: the printer has not acknowledged the last"));
}

TEST_F(PortMonitors, LprJobsArriveWholeAfterEveryRefusal) {
  const std::string data = Payload(200001, 2) + "\0\0"s;
  for (const bool counting : {true, false}) {
    LineDaemon daemon({Fault::RefuseQueue, Fault::RefuseControl, Fault::RefuseData});
    OpenPort port(Lpr(daemon.Port(), counting));
    const std::string document = "a\nUdfA000x ü" + std::string(200, 'n');
    // Without byte counting it is the spooler that tries again.
    for (int refused = 0; !counting && refused < 3; ++refused)
      EXPECT_EQ(ErrorOf(port.Start(document)), ERROR_PRINTQ_FULL);
    ASSERT_TRUE(port.Start(document));
    EXPECT_TRUE(port.WriteAll(data) && port.End());
    EXPECT_TRUE(Eventually([&] { return daemon.Jobs().size() == 2; }));
    const LineDaemon::Job job = daemon.Jobs().back();
    EXPECT_TRUE(job.whole && job.data == data) << job.data.size();
    EXPECT_EQ(job.queue, "raw");
    const std::string file = counting ? "dfA042" : "dfA045";
    EXPECT_THAT(job.control, testing::MatchesRegex("H[^\n]+\nPann\nJa_UdfA000x_ü" + std::string(86, 'n') + "\nl" +
                                                   file + "[^\n]+\nU" + file + "[^\n]+\nN[^\n]+\n"));
    EXPECT_EQ(spooler_.TakeReports(), !counting ? ""
                                                : "reason: 127.0.0.1 refused the queue raw (answer 1)\n"
                                                  "reason: 127.0.0.1 refused the job's control file (answer 1)\n"
                                                  "reason: 127.0.0.1 refused the job's data (answer 1)\n");
    EXPECT_TRUE(port.Print({}));  // an empty job is none for a daemon that is told the size
  }
}

TEST_F(PortMonitors, LprJobsThatMayHavePrintedAreNotSentTwice) {
  for (const bool counting : {true, false}) {
    for (const Fault fault : {Fault::CloseInData, Fault::RefuseAtEnd, Fault::CloseAtEnd}) {
      // A daemon that ends the connection after data that ends with it may well have the job.
      const bool delivered = fault == Fault::CloseAtEnd && !counting;
      LineDaemon daemon({fault});
      OpenPort port(Lpr(daemon.Port(), counting));
      EXPECT_EQ(port.Print(Payload(900000, 3)), delivered) << static_cast<int>(fault);
      port.End();
      const std::string reports = spooler_.TakeReports();
      EXPECT_EQ(reports.find("may have printed") == std::string::npos, delivered) << reports;
      EXPECT_TRUE(Eventually([&] { return daemon.Jobs().size() == 1; }));
      EXPECT_TRUE(port.Print("next"));
      EXPECT_TRUE(Eventually([&] { return daemon.Jobs().back().whole; }));
    }
    LineDaemon daemon({Fault::None, Fault::StallInData});
    OpenPort port(Lpr(daemon.Port(), counting));
    const std::string data = Payload(6000000, 4);
    // A job that was cut short must not look whole.
    ASSERT_TRUE(port.Start() && port.WriteAll("half a label"));
    spooler_.jobStatus = JOB_STATUS_DELETING;
    EXPECT_FALSE(port.End());
    spooler_.jobStatus = 0;
    EXPECT_TRUE(counting || (Eventually([&] { return daemon.Jobs().size() == 1; }) && !daemon.Jobs()[0].whole));
    EXPECT_TRUE(!counting || port.Print("whole"));
    ASSERT_TRUE(port.Start());
    ExpectDeletionEnds(port, [&] { return port.WriteAll(data) && port.End(); });
  }
  FakePrinter refusing;
  refusing.Refuse();
  OpenPort port(Lpr(refusing.Port(), true));
  ASSERT_TRUE(port.Start() && port.WriteAll("x"));
  ExpectDeletionEnds(port, [&] { return port.End(); });
}

TEST_F(PortMonitors, DevicesMayBeSlowFullAbsentOrTaken) {
  const std::string path = MakePipe();
  OpenPort port(Device(PortKind::Usb, path));
  EXPECT_EQ(ErrorOf(port.Start()), ERROR_NOT_READY);
  UniqueFd reader(open(path.c_str(), O_RDONLY | O_NONBLOCK));
  for (const std::string& data : {Payload(500000, 5), Payload(70000, 6)}) {
    auto received = std::async(std::launch::async, [&] { return ReadSlowly(reader.Get(), data.size()); });
    EXPECT_TRUE(port.Print(data));
    EXPECT_TRUE(received.get() == data);
  }
  Port second = Device(PortKind::Parallel, path);
  second.name = "second";
  OpenPort taken(second);
  EXPECT_EQ(ErrorOf(taken.Start()), ERROR_BUSY);

  // Full and never read: a bounded wait; the end of the document waits for the rest.
  port.SetTimeouts({0, 0, 0, 0, 3000});
  ASSERT_TRUE(port.Start());
  const std::string data = Payload(200000, 7);
  const std::size_t taking = data.size() - port.WriteUntilFull(data, ERROR_SEM_TIMEOUT, 3000).size();
  ExpectDeletionEnds(port, [&] { return port.End(); });
  EXPECT_TRUE(ReadSlowly(reader.Get(), taking) == data.substr(0, taking));

  // Unplugged in mid-job, and back: what it had taken may be lost, so the rest is not for it, but the next job is.
  spooler_.TakeReports();
  DWORD written = 0;
  for (const std::string begin : {"begin", ""}) {
    ASSERT_TRUE(port.Start() && port.WriteAll(begin));
    EXPECT_EQ(ReadSlowly(reader.Get(), begin.size()), begin);
    reader = UniqueFd();
    EXPECT_FALSE(port.Write("lost", &written));
    EXPECT_EQ(written, 0u);
    reader = UniqueFd(open(path.c_str(), O_RDONLY | O_NONBLOCK));
    EXPECT_EQ(port.WriteAll("the rest"), begin.empty());
    EXPECT_EQ(ReadSlowly(reader.Get(), begin.empty() ? 8 : 0), begin.empty() ? "the rest" : "");
    EXPECT_EQ(port.End(), begin.empty());
    EXPECT_EQ(spooler_.TakeReports().find("undelivered: the device went away after 5 bytes") == 0, !begin.empty());
  }
  ASSERT_TRUE(port.Start() && port.WriteAll("unread"));
  UniqueFd().operator=(std::move(reader));
  EXPECT_FALSE(port.End());
  EXPECT_THAT(spooler_.TakeReports(), HasSubstr("undelivered: the device went away"));

  port.Close();
  OpenPort full(Device(PortKind::Parallel, "/dev/full"));
  ASSERT_TRUE(full.Start());
  EXPECT_EQ(ErrorOf(full.Write("x", &written)), ERROR_OUT_OF_PAPER);
  full.Close();
  const std::string file = (home_.Path() / "file").string();
  std::ofstream(file) << "mine";
  OpenPort wrong(Device(PortKind::Usb, file));
  EXPECT_FALSE(wrong.Start());
  EXPECT_EQ(ReadFile(file), "mine");
}

TEST_F(PortMonitors, DocumentsWithoutAJobDoNotHoldThePort) {
  const std::string path = MakePipe();
  const UniqueFd reader(open(path.c_str(), O_RDONLY | O_NONBLOCK));
  FakePrinter refusing;
  refusing.Refuse();
  LineDaemon stalling({Fault::StallInData}), stallingToo({Fault::StallInData});
  const struct {
    Port port;
    std::size_t size;
  } kRows[] = {
      {Device(PortKind::Usb, path), 10},
      {Lpr(refusing.Port(), true), 10},
      {Lpr(stalling.Port(), true), 6000000},
      {Lpr(stallingToo.Port(), false), 10},
  };
  for (const auto& [registered, size] : kRows) {
    SCOPED_TRACE(registered.host + " " + std::to_string(size));
    OpenPort port(registered);
    ASSERT_TRUE(port.StartFor(0, "status") && port.WriteAll(std::string(size, 'x')));
    EXPECT_LT(TimeOf([&] { EXPECT_FALSE(port.End()); }), 15000);
    DWORD written = 0;
    const bool spools = registered.protocol == PortProtocol::Lpr && !registered.byteCounting;
    EXPECT_FALSE(spools && port.Write("outside of a document", &written));
  }
}

TEST_F(PortMonitors, SerialLinesGetTheirSettingsAndKeepTheirOwn) {
  int ends[2];
  char name[128];
  ASSERT_EQ(openpty(&ends[0], &ends[1], name, nullptr, nullptr), 0);
  UniqueFd printer(ends[0]), line(ends[1]);
  termios before{}, during{}, after{};
  tcgetattr(ends[1], &before);
  OpenPort port(Device(PortKind::Serial, name, "19200,e,7,2,xonxoff"));
  ASSERT_TRUE(port.Start());
  tcgetattr(ends[1], &during);
  EXPECT_EQ(cfgetospeed(&during), speed_t{B19200});
  EXPECT_EQ(during.c_iflag & (IXON | IXOFF | ICRNL), tcflag_t{IXON | IXOFF});
  EXPECT_EQ(during.c_lflag & (ICANON | ECHO | ISIG), tcflag_t{0});
  EXPECT_EQ(during.c_oflag & OPOST, tcflag_t{0});

  // The printer stops the line in mid-job and lets it go on.
  const std::string data = Payload(100000, 8);
  ASSERT_EQ(write(printer.Get(), "\x13", 1), 1);
  port.SetTimeouts({100, 0, 1000, 0, 1000});
  std::string probes;
  for (DWORD written = 0; probes.size() < 1000 && port.Write("p", &written); Sleep(20)) probes += "p";
  EXPECT_LT(probes.size(), 1000u) << "it never stopped";
  EXPECT_EQ(port.WriteUntilFull(data, ERROR_SEM_TIMEOUT, 1000).size(), data.size());
  ASSERT_EQ(write(printer.Get(), "\x11", 1), 1);
  auto received =
      std::async(std::launch::async, [&] { return ReadSlowly(printer.Get(), probes.size() + data.size()); });
  EXPECT_TRUE(port.WriteAll(data));
  EXPECT_TRUE(received.get() == probes + data);
  EXPECT_TRUE(port.End());

  // An answer in drips is gathered as long as its gaps are short.
  auto answering = std::async(std::launch::async, [&] {
    for (const char* drip : {"st", "at", "us"}) EXPECT_EQ(write(printer.Get(), drip, 2), 2);
  });
  std::string answer;
  EXPECT_TRUE(port.Read(&answer));
  EXPECT_EQ(answer, "status");
  answering.get();
  EXPECT_TRUE(port.Read(&answer) && answer.empty());
  port.Close();
  tcgetattr(ends[1], &after);
  EXPECT_EQ(std::memcmp(&before, &after, offsetof(termios, c_cc)), 0);

  // By a name of its own, since the system gives the terminal's away as soon as it is free.
  const std::string link = home_.Path() / "line";
  std::filesystem::create_symlink(name, link);
  OpenPort gone(Device(PortKind::Serial, link, "9600,n,8,1"));
  ASSERT_TRUE(gone.Start() && gone.WriteAll("x"));
  auto reading = std::async(std::launch::async, [&] {
    std::string nothing;
    for (int count = 0; count < 10; ++count) gone.Read(&nothing);
  });
  std::filesystem::remove(link);
  line = UniqueFd();
  printer = UniqueFd();
  EXPECT_FALSE(gone.WriteAll(data));
  reading.get();
  EXPECT_FALSE(gone.Read(&answer));
  EXPECT_FALSE(gone.End());
  EXPECT_FALSE(gone.Start());
  OpenPort noLine(Device(PortKind::Serial, "/dev/null", "9600,n,8,1"));
  EXPECT_FALSE(noLine.Start());
}

TEST(LineSettingsTest, AreWhatTheTextSays) {
  constexpr tcflag_t kLine = CSIZE | CSTOPB | PARENB | PARODD | CMSPAR | CRTSCTS;
  constexpr struct {
    const char* text;
    speed_t speed;
    tcflag_t line, flow;
  } kRows[] = {
      {"9600,n,8,1", B9600, CS8, 0},
      {"115200,E,7,2,xonxoff", B115200, CS7 | CSTOPB | PARENB, IXON | IXOFF},
      {"300, o, 5, 1, p", B300, CS5 | PARENB | PARODD | CRTSCTS, 0},
      {"1200,m,6,1,none", B1200, CS6 | PARENB | PARODD | CMSPAR, 0},
      {"38400,s,8,1,x", B38400, CS8 | PARENB | CMSPAR, IXON | IXOFF},
  };
  LineSettings settings;
  std::string why;
  for (const auto& row : kRows) {
    ASSERT_TRUE(LineSettings::Parse(row.text, &settings, &why)) << why;
    termios terminal;
    std::memset(&terminal, 0xff, sizeof terminal);
    settings.ApplyTo(&terminal);
    EXPECT_TRUE((terminal.c_cflag & kLine) == row.line && cfgetospeed(&terminal) == row.speed &&
                (terminal.c_iflag & (IXON | IXOFF | IXANY)) == row.flow)
        << row.text;
  }
  for (const char* text : {"", "9600", "9600,n,8", "9601,n,8,1", "9600,n,9,1", "9600,n,8,3", "9600,z,8,1", "-1,n,8,1",
                           "9600,n,8,1,", "9600,n,8,1,xon,x", "9600,n,88,1", ",,,,"})
    EXPECT_FALSE(LineSettings::Parse(text, &settings, &why)) << text;
}

TEST_F(PortMonitors, DeviceRequestsReachTheDriver) {
  constexpr DWORD kUsbId = 0x220034, kUsbReset = 0x220040, kUsbVendor = 0x22003C;
  constexpr DWORD kParallelStatus = 0x160004, kParallelId = 0x16000C, kParallelModes = 0x160024;
  OpenPort usb(Device(PortKind::Usb, "/dev/null"));
  driver.deviceId = "\0\x0cMFG:A;CLS:"s;
  EXPECT_EQ(usb.Control(kUsbId, 100), "\0\x0cMFG:A;CLS:"s);
  EXPECT_EQ(usb.Control(kUsbId, 6), "\0\x0cMFG:"s);
  EXPECT_EQ(usb.Control(kUsbReset, 0), "");
  EXPECT_EQ(driver.resets, 1);
  EXPECT_EQ(usb.Control(kUsbVendor, 10, "abc"), "error 50");
  EXPECT_EQ(usb.Control(kParallelStatus, 1), "error 1");
  driver.error = ENODEV;
  EXPECT_EQ(usb.Control(kUsbId, 100), "error 21");
  driver = {};
  EXPECT_EQ(usb.Control(kUsbId, 100), "error 13");  // an id without a length
  usb.Close();

  OpenPort parallel(Device(PortKind::Parallel, "/dev/null"));
  driver.deviceId = "\0\x0cMFG:A;CLS:"s;
  EXPECT_EQ(parallel.Control(kParallelId, 100), "MFG:A;CLS:\0"s);
  // Ready, busy, no paper, off line, that with an error, off, that seen through a cable, and a USB printer, which has
  // three lines.
  for (const auto& [lines, status] : std::initializer_list<std::pair<int, int>>{
           {0xD8, 0x80}, {0x58, 0xC0}, {0xF8, 0x84}, {0xC8, 8}, {0x40, 0x48}, {0, 0x10}, {0x80, 0x10}, {0x18, 0xC0}}) {
    driver.lines = lines;
    EXPECT_EQ(parallel.Control(kParallelStatus, 1), std::string(1, static_cast<char>(status))) << lines;
  }
  EXPECT_EQ(parallel.Control(kParallelStatus, 0), "error 122");
  EXPECT_EQ(parallel.Control(kParallelModes, 2, "\xfa\xff"), "\2\0"s);
  EXPECT_EQ(parallel.Control(kParallelModes, 2, "\xff\xff"), "\7\0"s);

  // Kinds without an answer have no function for it.
  EXPECT_NE(usb.Functions().pfnReadPort, nullptr);
  for (const Port& port : {Lpr(1, true), Device(PortKind::File, "/x")}) {
    const OpenPort opened(port);
    EXPECT_EQ(opened.Functions().pfnReadPort, nullptr);
    EXPECT_EQ(opened.Functions().pfnGetPrinterDataFromPort, nullptr);
  }
}

}  // namespace
}  // namespace portwise::test
