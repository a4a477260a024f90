#include <gmock/gmock.h>

#include <functional>
#include <tuple>

#include "tests/support/last_error.h"
#include "tests/support/spooler_home.h"

namespace portwise::test {
namespace {

using testing::HasSubstr;

std::vector<BYTE> buffer(8192);

JOB_INFO_1W ReadJob(HANDLE printer, DWORD job) {
  DWORD needed = 0;
  EXPECT_TRUE(GetJobW(printer, job, 1, buffer.data(), 8192, &needed));
  return *reinterpret_cast<JOB_INFO_1W*>(buffer.data());
}

PRINTER_INFO_2W ReadPrinter(HANDLE printer) {
  DWORD needed = 0;
  EXPECT_TRUE(GetPrinterW(printer, 2, buffer.data(), 8192, &needed));
  return *reinterpret_cast<PRINTER_INFO_2W*>(buffer.data());
}

template <class Info>
LPBYTE Bytes(Info& info) {
  return reinterpret_cast<LPBYTE>(&info);
}

LPBYTE Word(DWORD word) { return reinterpret_cast<LPBYTE>(ULONG_PTR{word}); }

TEST(HostStatus, MonitorsTellOfJobs) {
  SpoolerHome home;
  SpoolerHome::Set("Stop At", 70000);
  ASSERT_TRUE(home.Start("port", {"printer"}));
  const unsigned job = Submit("printer", Payload(200000, 7));
  ASSERT_TRUE(Eventually([&] { return SaysWhy(job); }));
  const std::string reason = GetJob(job).value("reason", "");
  const HANDLE printer = OpenPrinterOf(u"printer", PRINTER_ALL_ACCESS).Detach(),
               user = OpenPrinterOf(u"printer", PRINTER_ACCESS_USE).Detach();

  std::u16string text = u"Papier fehlt – 紙切れ", other = u"EMF", name = u"renamed", bad = u"a\nb";
  JOB_INFO_1W info = ReadJob(printer, job);
  EXPECT_EQ(info.Status, JOB_STATUS_PRINTING);
  info.Status = JOB_STATUS_PAPEROUT | JOB_STATUS_PAUSED | JOB_STATUS_DELETING;
  info.pStatus = text.data();
  info.Position = JOB_POSITION_UNSPECIFIED;
  ASSERT_TRUE(SetJobW(printer, job, 1, Bytes(info), 0));
  EXPECT_THAT(ExpectRun("jobs", 0, "printing  paper-out"), HasSubstr("Papier fehlt – 紙切れ; " + reason));
  info = ReadJob(printer, job);
  EXPECT_EQ(info.Status, JOB_STATUS_PAPEROUT);
  EXPECT_EQ(info.pStatus, text);
  EXPECT_EQ(info.pDocument, std::u16string(u"test"));

  const std::pair<std::function<void(JOB_INFO_1W&)>, LSTATUS> faults[] = {
      {[&](auto& wrong) { wrong.pDatatype = other.data(); }, ERROR_INVALID_DATATYPE},
      {[&](auto& wrong) { wrong.pStatus = bad.data(); }, ERROR_INVALID_NAME},
      {[](auto& wrong) { wrong.Priority = 2; }, ERROR_NOT_SUPPORTED},
      {[](auto& wrong) { wrong.Priority = 100; }, ERROR_INVALID_PRIORITY},
      {[](auto& wrong) { wrong.Position = 2; }, ERROR_ACCESS_DENIED}};
  for (const auto& [change, error] : faults) {
    JOB_INFO_1W wrong = ReadJob(user, job);
    change(wrong);
    EXPECT_EQ(ErrorOf(SetJobW(user, job, 1, Bytes(wrong), 0)), error);
  }
  info.Position = 2;
  for (auto [handle, number, level, bytes, error] : {std::tuple{printer, job, 1u, Bytes(info), ERROR_NOT_SUPPORTED},
                                                     {nullptr, job, 1u, Bytes(info), ERROR_INVALID_HANDLE},
                                                     {printer, job, 2u, Bytes(info), ERROR_INVALID_LEVEL},
                                                     {printer, job, 1u, nullptr, ERROR_INVALID_PARAMETER},
                                                     {printer, job, 0u, Bytes(info), ERROR_INVALID_PARAMETER},
                                                     {printer, job + 1, 1u, Bytes(info), ERROR_INVALID_PARAMETER}})
    EXPECT_EQ(ErrorOf(SetJobW(handle, number, level, bytes, 0)), error);
  EXPECT_EQ(ReadJob(printer, job).Status, JOB_STATUS_PAPEROUT) << "none of them changed it";

  info = ReadJob(user, job);
  info.pStatus = info.pDatatype = nullptr;
  info.pDocument = name.data();
  info.Status = 0;
  ASSERT_TRUE(SetJobW(user, job, 1, Bytes(info), JOB_CONTROL_PAUSE));
  info = ReadJob(printer, job);
  EXPECT_EQ(info.Status, JOB_STATUS_PAUSED);
  EXPECT_EQ(info.pDocument, name);
  EXPECT_TRUE(info.pStatus && info.pStatus != text) << "the queue's reason";

  info.Status = JOB_STATUS_OFFLINE;
  ASSERT_TRUE(SetJobW(printer, job, 1, Bytes(info), 0));
  EXPECT_EQ(home.Stop(), 0);
  ASSERT_TRUE(home.Start());
  info = ReadJob(printer, job);
  EXPECT_EQ(info.Status, JOB_STATUS_PAUSED | JOB_STATUS_ERROR) << "held; what the monitor said is over";
  EXPECT_EQ(info.pDocument, name);
}

TEST(HostStatus, MonitorsTellOfPrinters) {
  SpoolerHome home;
  ASSERT_TRUE(home.Start("port", {"printer", "quiet"}));
  const HANDLE printer = OpenPrinterOf(u"PRINTER", PRINTER_ALL_ACCESS).Detach(),
               user = OpenPrinterOf(u"printer", PRINTER_ACCESS_USE).Detach();
  ExpectRun("status", 0, "printer  unknown");
  ASSERT_TRUE(
      SetPrinterW(printer, 0, Word(PRINTER_STATUS_PAPER_OUT | PRINTER_STATUS_DOOR_OPEN), PRINTER_CONTROL_SET_STATUS));
  EXPECT_EQ(ReadPrinter(user).Status, PRINTER_STATUS_PAPER_OUT | PRINTER_STATUS_DOOR_OPEN);
  std::u16string comment = u"Ribbon Low;\u00a0Dock";
  PRINTER_INFO_2W info = ReadPrinter(printer);
  info.pComment = comment.data();
  info.Status = PRINTER_STATUS_PAPER_JAM;  // not in this way
  ASSERT_TRUE(SetPrinterW(printer, 2, Bytes(info), 0));
  for (auto [handle, level, bytes, command, error] :
       {std::tuple{HANDLE{}, 0u, LPBYTE{}, PRINTER_CONTROL_SET_STATUS, ERROR_INVALID_HANDLE},
        {user, 0u, nullptr, PRINTER_CONTROL_SET_STATUS, ERROR_ACCESS_DENIED},
        {user, 2u, Bytes(info), 0, ERROR_ACCESS_DENIED},
        {printer, 0u, nullptr, 0, ERROR_INVALID_PRINTER_COMMAND},
        {printer, 2u, Bytes(info), PRINTER_CONTROL_SET_STATUS, ERROR_INVALID_PRINTER_COMMAND},
        {printer, 2u, nullptr, 0, ERROR_INVALID_PARAMETER},
        {printer, 3u, Bytes(info), 0, ERROR_INVALID_LEVEL}})
    EXPECT_EQ(ErrorOf(SetPrinterW(handle, level, bytes, command)), error) << level << " " << command;
  EXPECT_EQ(ReadPrinter(printer).pComment, comment);
  ExpectRun("status printer", 0, "printer  paper-out,door-open  0     Ribbon Low;\u00a0Dock\n");
  ExpectRun("printer show printer", 0, "paper-out,door-open");
  const auto listed = RunJson("status");
  ASSERT_EQ(listed.size(), 2u);
  EXPECT_EQ(listed[0]["statusNames"], nlohmann::json({"paper-out", "door-open"}));
  EXPECT_FALSE(listed[1]["statusKnown"].get<bool>());
  ExpectRun("status none", 1);
  SetPrinterW(printer, 0, nullptr, PRINTER_CONTROL_SET_STATUS);
  ExpectRun("status printer", 0, "ready");

  ASSERT_TRUE(SetPrinterW(OpenPrinterOf(u"quiet", PRINTER_ALL_ACCESS).Detach(), 0, Word(0x80000000),
                          PRINTER_CONTROL_SET_STATUS));
  ExpectRun("status quiet", 0, "2147483648");
  Ask({{"op", "printer-remove"}, {"name", "quiet"}});
  Ask({{"op", "printer-add"}, {"name", "quiet"}, {"port", "port"}});
  ExpectRun("status quiet", 0, "unknown");

  EXPECT_EQ(home.Stop(), 0);
  ASSERT_TRUE(home.Start());
  EXPECT_THAT(ExpectRun("status printer", 0, "unknown"), HasSubstr("Ribbon Low;\u00a0Dock"));
}

}  // namespace
}  // namespace portwise::test
