#include <gmock/gmock.h>

#include <random>

#include "core/exception.h"
#include "tests/support/api_function.h"
#include "tests/support/fake_printer.h"
#include "tests/support/monitor_fixture.h"

namespace portwise {
namespace {

using ::testing::ElementsAre;

using Monitor = MonitorFixture;

TEST_F(Monitor, CarriesAJobThroughThePortMonitorBelow) {
  EXPECT_EQ(MonitorTable()->cbSize, sizeof(void*) == 4 ? 76u : 152u);
  MonitorTable()->pfnShutdown(MonitorTable());
  spooler_.printers["Labels"] = {"FILE:", ""};
  const HANDLE port = Open("FILE:");
  ASSERT_TRUE(port);
  ASSERT_TRUE(Start(port, 7));
  EXPECT_EQ(static_cast<PortContext*>(port)->JobId(), 7u);
  DWORD written = 0;
  EXPECT_TRUE(Write(port, "ab<xp", &written));
  EXPECT_EQ(written, 5u);
  EXPECT_TRUE(Write(port, "ml><uppercase>x</uppercase></xpml>cd", &written));
  BYTE buffer[4];
  DWORD read = 0;
  EXPECT_TRUE(lmReadPortW(port, buffer, sizeof buffer, &read));
  EXPECT_EQ(read, 1u);
  EXPECT_TRUE(spooler_.jobCommands.empty());
  EXPECT_TRUE(lmEndDocPortW(port));
  EXPECT_EQ(static_cast<PortContext*>(port)->JobId(), 0u);
  EXPECT_TRUE(lmClosePortW(port));
  EXPECT_EQ(below_.output, "abXcd");
  EXPECT_THAT(below_.calls, ElementsAre("open FILE:", "start Labels 7 1", "end", "close"));
  EXPECT_THAT(spooler_.jobCommands, ElementsAre(std::pair(7u, 6u))) << "sent to printer";
  EXPECT_EQ(Ports()->Size(), 0);
}

TEST_F(Monitor, PrintsOverTcpEvenWhenThePortBelowRefuses) {
  FakePrinter printer;
  spooler_.printers["Labels"] = {"IP_1", ""};
  AddTcpPort("IP_1", printer.Port());
  below_.refuseOpen = true;
  const HANDLE port = Open("IP_1");
  ASSERT_TRUE(port);
  EXPECT_EQ(static_cast<PortContext*>(port)->PortHandle(), nullptr);
  ASSERT_TRUE(Start(port, 1));
  DWORD written = 0;
  EXPECT_TRUE(Write(port, "label<xpml></xpml>s", &written));
  EXPECT_EQ(written, 19u);
  ASSERT_TRUE(printer.Accept());
  EXPECT_EQ(printer.Receive(6), "labels");
  printer.Close();
  EXPECT_TRUE(lmEndDocPortW(port) && lmClosePortW(port));
  EXPECT_THAT(below_.calls, ElementsAre("open IP_1"));
  EXPECT_THAT(spooler_.jobCommands, ElementsAre(std::pair(1u, 5u))) << "deleted from the queue";
  EXPECT_EQ(ErrorOf(Open("LPT9:")), ERROR_INVALID_PRINT_MONITOR) << "another kind needs the port below";
  EXPECT_EQ(Ports()->Size(), 0);
}

TEST_F(Monitor, FindsPortsByPortPrinterAndShare) {
  spooler_.printers["Labels"] = {"out 1", ""};
  spooler_.printers["Boxes"] = {"OUT 2", "Boxes on the Net"};
  const HANDLE first = Open("Out 1"), again = Open("Out 1"), second = Open("Out 2");
  EXPECT_NE(first, again);
  EXPECT_EQ(Ports()->FindByPortName("OUT 1").Get(), first);
  EXPECT_EQ(Ports()->FindByPortName("*").Get(), first);
  EXPECT_EQ(Ports()->FindByPortName("Out").Get(), nullptr);
  EXPECT_EQ(Ports()->FindByPrinterName("*").Get(), first);
  EXPECT_EQ(Ports()->FindByPrinterName("Boxes").Get(), second);
  EXPECT_EQ(static_cast<PortContext*>(second)->PrinterName(), "Boxes") << "the port prints for the printer asked for";
  EXPECT_EQ(Ports()->FindByPrinterName("Nobody").Get(), nullptr);
  EXPECT_EQ(Ports()->FindByShareName("boxes ON THE net").Get(), second);
  EXPECT_EQ(Ports()->FindByShareName("").Get(), nullptr) << "a printer that is not shared has no share name";
  EXPECT_TRUE(lmClosePortW(first));
  EXPECT_EQ(Ports()->FindByPortName("Out 1").Get(), again);
  Ports()->Remove(static_cast<PortContext*>(first));  // gone already
  EXPECT_EQ(Ports()->Size(), 2);
}

TEST_F(Monitor, CountsNestedDocuments) {
  const HANDLE port = Open("FILE:");
  ASSERT_TRUE(Start(port, 3) && Start(port, 0));
  for (int end = 0; end < 3; ++end) EXPECT_TRUE(lmEndDocPortW(port)) << "one of them too many";
  ASSERT_TRUE(Start(port, 4) && Start(port, 4));
  EXPECT_TRUE(lmClosePortW(port));
  EXPECT_EQ(std::count(below_.calls.begin(), below_.calls.end(), "start Labels 3 1"), 1);
  const std::vector<std::string> tail(below_.calls.end() - 4, below_.calls.end());
  EXPECT_THAT(tail, ElementsAre("start Labels 4 1", "end", "end", "close")) << "both are ended before the close";
}

TEST_F(Monitor, LeavesARefusedDocumentUnbegun) {
  spooler_.printers["Labels"] = spooler_.printers["Boxes"] = {"FILE:", ""};
  const HANDLE port = Open("FILE:");
  below_.refuseStart = true;
  SetLastError(0);
  EXPECT_EQ(ErrorOf(Start(port, 3)), ERROR_NOT_READY) << "the port monitor's own error";
  PortContext& context = *static_cast<PortContext*>(port);
  EXPECT_EQ(context.Documents().Depth(), 0u);
  // A request has the port for another printer, while the job waits in its own queue.
  context.SetPrinterName("Boxes");
  context.Publish(PrinterStatus(0x10001));
  EXPECT_EQ(spooler_.printers["Boxes"].facts["status"], PRINTER_STATUS_PAPER_OUT);
  ASSERT_FALSE(spooler_.changes.empty());
  EXPECT_EQ(spooler_.changes[0]["op"], "job-set");
  EXPECT_EQ(spooler_.changes[0]["printer"], "Labels");
  below_.refuseStart = false;
  EXPECT_TRUE(Start(port, 3));
}

TEST_F(Monitor, AJobWhoseEndIsNotDeliveredDoesNotLeave) {
  spooler_.printers["Labels"] = {"FILE:", ""};
  platform::SetTimeScale(20);
  const HANDLE port = Open("FILE:");
  ASSERT_TRUE(Start(port, 4));
  EXPECT_TRUE(Write(port, "ab<xp"));  // the start of a section, perhaps
  below_.onWrite = [](DWORD, DWORD* taken) -> BOOL {
    *taken = 0;
    return FALSE;
  };
  EXPECT_TRUE(lmEndDocPortW(port));
  EXPECT_TRUE(spooler_.jobCommands.empty()) << "the spooler is not told that it has left";
  below_.onWrite = nullptr;
  EXPECT_TRUE(Print(port, 5, "cd"));
  EXPECT_THAT(spooler_.jobCommands, ElementsAre(std::pair(5u, 6u)));
  EXPECT_EQ(below_.output, "abcd");
  EXPECT_TRUE(lmClosePortW(port));
  below_.table.pfnEndDocPort = ApiFunction([](HANDLE) -> BOOL { return FALSE; });
  const HANDLE failing = Open("FILE:");
  ASSERT_TRUE(Start(failing, 6));
  lmEndDocPortW(failing);
  EXPECT_EQ(spooler_.jobCommands.size(), 1u);
}

TEST_F(Monitor, ReadsThePrintersSettingsAtItsOpenAndAtJobStarts) {
  platform::SetTimeScale(20);
  spooler_.printers["Labels"] = {"FILE:", ""};
  const OString timeout = Setting("Status/Send Timeout");
  ORegistry().SetDword(timeout, 5000);
  const HANDLE port = Open("FILE:");
  auto& context = *static_cast<PortContext*>(port);
  EXPECT_EQ(context.SendTimeout(), 5000u);
  ORegistry().SetDword(timeout, 6000);
  ASSERT_TRUE(Start(port, 1));
  EXPECT_EQ(context.SendTimeout(), 5000u) << "less than a second later";
  context.Settings().OverrideForJob().SetStatusMonitoringMode(3);
  EXPECT_TRUE(lmEndDocPortW(port));
  ASSERT_TRUE(Start(port, 2));
  EXPECT_EQ(context.SendTimeout(), 6000u);
  EXPECT_EQ(context.Settings().Values().GetStatusMonitoringMode(), 0) << "was for the job before";
  ORegistry().SetDword(timeout, 7000);
  EXPECT_TRUE(lmEndDocPortW(port));
  Sleep(1200);
  ASSERT_TRUE(Start(port, 3));
  EXPECT_EQ(context.SendTimeout(), 7000u);
}

TEST_F(Monitor, PassesDeviceRequestsDown) {
  const HANDLE port = Open("FILE:");
  WCHAR in[3] = {}, out[5] = {};
  DWORD returned = 0;
  EXPECT_TRUE(lmGetPrinterDataFromPortW(port, 0x220034, nullptr, in, 3, out, 5, &returned));
  EXPECT_EQ(returned, 4u);
  EXPECT_EQ(below_.calls.back(), "data 2228276");
  lmClosePortW(port);
  below_.table.pfnGetPrinterDataFromPort = nullptr;
  const HANDLE other = Open("FILE:");
  SetLastError(0);
  EXPECT_EQ(ErrorOf(lmGetPrinterDataFromPortW(other, 1, nullptr, in, 3, out, 5, &returned)), ERROR_INVALID_PARAMETER);
}

TEST_F(Monitor, LosesAndHoldsNothingWhenAWriteFails) {
  spooler_.printers["Labels"] = {"FILE:", ""};
  const HANDLE port = Open("FILE:");
  const auto fail = [](DWORD, DWORD* taken) -> BOOL {
    *taken = 0;
    throw OException(ERROR_GEN_FAILURE);
  };
  ASSERT_TRUE(Start(port, 11));
  below_.onWrite = fail;
  EXPECT_FALSE(Write(port, "x"));
  EXPECT_FALSE(Write(port, "x"));
  below_.onWrite = nullptr;
  EXPECT_TRUE(lmEndDocPortW(port));
  EXPECT_EQ(below_.output, "x") << "what was kept is delivered, once";

  ASSERT_TRUE(Start(port, 12));
  below_.onRead = [] { throw OException(ERROR_GEN_FAILURE); };
  BYTE buffer[4];
  DWORD count = 0;
  EXPECT_FALSE(lmReadPortW(port, buffer, sizeof buffer, &count));
  EXPECT_TRUE(static_cast<PortContext*>(port)->PrinterConnection().TryLock()) << "the connection is free again";
  static_cast<PortContext*>(port)->PrinterConnection().Unlock();
  below_.onWrite = fail;
  EXPECT_FALSE(Write(port, "x"));
  EXPECT_FALSE(lmEndDocPortW(port));
  EXPECT_EQ(below_.calls.back(), "end") << "the document is ended all the same";

  ASSERT_TRUE(Start(port, 13));
  EXPECT_EQ(below_.calls.back(), "start Labels 13 1");
  below_.onWrite = [](DWORD, DWORD* taken) -> BOOL {
    platform::SetTickCount(GetTickCount() + 40000);  // longer than the send timeout
    return *taken = 0;
  };
  EXPECT_EQ(ErrorOf(Write(port, "x")), ERROR_IO_DEVICE);
}

TEST_F(Monitor, StopsWritingWhenTheJobIsDeleted) {
  spooler_.printers["Labels"] = {"FILE:", ""};
  const HANDLE port = Open("FILE:");
  ASSERT_TRUE(Start(port, 5));
  int attempts = 0;
  below_.onWrite = [&](DWORD, DWORD* written) -> BOOL {
    *written = 1;
    if (++attempts == 3) spooler_.jobStatus = JOB_STATUS_DELETING;
    return TRUE;
  };
  EXPECT_TRUE(Write(port, "abcdefgh"));
  EXPECT_EQ(attempts, 3);
  below_.onWrite = nullptr;
  EXPECT_TRUE(lmEndDocPortW(port));
  EXPECT_EQ(below_.output, "abc") << "what was kept is not delivered at the end";
  spooler_.jobStatus = 0;
  below_.output.clear();
  EXPECT_TRUE(Print(port, 6, "next"));
  EXPECT_EQ(below_.output, "next") << "nothing of the deleted job is left";
}

TEST_F(Monitor, DeliversAtTheEndWhatMightHaveBeenASection) {
  const HANDLE port = Open("FILE:");
  const std::pair<const char*, const char*> jobs[] = {
      {"ABC<", "ABC<"},
      {"ABC<xpm", "ABC<xpm"},
      {"HEAD<xpml><a><b>x</a></xpml>tail<", "HEADxtail<"},  // an element that its section leaves open
      {"HEAD<xpml><a>never closed", "HEAD"},
      {"HEAD<xpml></xpml", "HEAD"},
  };
  DWORD job = 30;
  for (const auto& [data, expected] : jobs) {
    EXPECT_TRUE(Print(port, ++job, data));
    EXPECT_EQ(std::exchange(below_.output, ""), expected);
  }
}

/// The spooler's side of a job: it goes on behind what was taken, whatever the result, and follows with empty writes
/// when all was taken but not delivered.
void PrintAsTheSpoolerDoes(HANDLE port, const std::string& job, size_t bufferSize) {
  for (size_t at = 0; at < job.size();) {
    std::string buffer = job.substr(at, bufferSize);  // a fresh copy each time, as the spooler's
    DWORD written = 0;
    BOOL result =
        lmWritePortW(port, reinterpret_cast<LPBYTE>(buffer.data()), static_cast<DWORD>(buffer.size()), &written);
    ASSERT_LE(written, buffer.size());
    at += written;
    for (int empty = 0; !result && written == buffer.size() && empty < 100; ++empty) {
      result = lmWritePortW(port, nullptr, 0, &written);
      written = static_cast<DWORD>(buffer.size());
    }
  }
}

TEST_F(Monitor, NeitherLosesNorDoublesAByteWhateverThePrinterTakes) {
  spooler_.printers["Labels"] = {"FILE:", ""};
  const HANDLE port = Open("FILE:");
  std::mt19937 random(5);
  for (DWORD job = 1; job <= 300; ++job) {
    std::string data, expected;
    for (int part = static_cast<int>(random() % 12); part >= 0; --part) {
      std::string plain(random() % 50, '\0');
      for (char& byte : plain) byte = "ab<\0&;"[random() % 6];
      plain += '.';
      data += plain;
      expected += plain;
      switch (random() % 3) {
        case 0:
          data += "<xpml><job id='1'></job><push>&lt;</push></xpml>";
          break;
        case 1:  // what commands leave behind is print data too
          data += "<xpml><reverse>ba</reverse></xpml>";
          expected += "ab";
          break;
      }
    }
    below_.output.clear();
    below_.onWrite = [&](DWORD size, DWORD* written) -> BOOL {
      *written = random() % (size + 1);
      const unsigned fate = random() % 8;
      if (fate == 0) platform::SetTickCount(GetTickCount() + 40000);  // longer than the send timeout
      if (fate == 2) throw OException(ERROR_GEN_FAILURE);
      return fate > 1;
    };
    ASSERT_TRUE(Start(port, job));
    PrintAsTheSpoolerDoes(port, data, 1 + random() % 40);
    EXPECT_TRUE(lmEndDocPortW(port));
    ASSERT_EQ(below_.output, expected) << data;
  }
}

}  // namespace
}  // namespace portwise
