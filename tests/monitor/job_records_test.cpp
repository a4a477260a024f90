#include <gtest/gtest.h>
#include <windows.h>
#include <winspool.h>

#include <cstdio>
#include <fstream>
#include <thread>
#include <vector>

#include "monitor/job_status_document.h"
#include "platform/test_clock.h"
#include "tests/support/fake_spooler.h"
#include "tests/support/temporary_home.h"

namespace portwise {
namespace {

constexpr const char* kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n";

class JobRecordsTest : public testing::Test {
 protected:
  JobRecordsTest() { platform::SetTickCount(0xFFFFF000); }

  void Add(DWORD job, DWORD pagesSent = 0) {
    auto record = std::make_unique<StatusRecord_Job>();
    record->jobId = job;
    record->pagesSent = pagesSent;
    records_.Add(std::move(record));
  }
  bool Has(DWORD job) { return static_cast<bool>(JobRecords::Hold(records_, job)); }
  std::string Document(DWORD job, const JobStatusParts& parts) {
    return std::string(JobStatusDocument(records_, job, "Labels", parts).InCodePage(kCodePageUtf8));
  }

  FakeSpooler spooler_;
  JobRecords records_;
};

TEST_F(JobRecordsTest, MapTheSpoolersStatusByTheFirstThatMatches) {
  const std::pair<DWORD, const char*> cases[] = {
      {0x80 | 0x2, "completed"},   {0x1000, "completed"},        {0x200 | 0x1, "failed"},  {0x4 | 0x10, "failed"},
      {0x1 | 0x10, "paused"},      {0x800, "printing"},          {0x10 | 0x8, "printing"}, {0x8 | 0x40, "spooled"},
      {0x20, "user intervention"}, {0x400, "user intervention"}, {0x2000, "unknown"},      {0, "unknown"}};
  for (const auto& [status, name] : cases) EXPECT_STREQ(JobStateName(JobStateOf(status)), name) << status;
  EXPECT_STREQ(JobStateName(static_cast<JobState>(6)), "verified");
  EXPECT_STREQ(JobStateName(static_cast<JobState>(8)), "unknown");
}

TEST_F(JobRecordsTest, StayTenMinutesAfterTheirLastChange) {
  Add(3);
  Add(19);
  Add(35);
  platform::SetTickCount(0xFFFFF000 + 600000);
  Add(4);
  EXPECT_TRUE(Has(3) && Has(19)) << "ten minutes are not over";
  if (const JobRecords::Hold record(records_, 19); record) record->SetState(JobState::Completed);
  platform::SetTickCount(0xFFFFF000 + 614000);
  Add(5);
  EXPECT_TRUE(Has(3)) << "the last look was less than 15 seconds ago";
  platform::SetTickCount(0xFFFFF000 + 616000);
  Add(6);
  EXPECT_TRUE(!Has(3) && Has(19) && !Has(35) && Has(4) && Has(6));
  records_.Remove(19);
  EXPECT_FALSE(Has(19));
}

TEST_F(JobRecordsTest, CountInAnyThreadWithoutLosingOne) {
  Add(7);
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([this] {
      for (int n = 0; n < 1000; ++n) {
        records_.AddPagesSent(7, 2);
        records_.AddPagesVerified(7, 1);
        const JobRecords::Hold record(records_, 7);
        ++record->errorCount;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  records_.AddPagesSent(8, 1);  // nobody's
  const JobRecords::Hold record(records_, 7);
  EXPECT_TRUE(record->pagesSent == 8000 && record->pagesVerified == 4000 && record->errorCount == 4000);
  record->MarkVerified();
  record->pagesSent = 1;
  record->MarkVerified();
  EXPECT_EQ(record->pagesVerified, 8000u);
}

TEST_F(JobRecordsTest, AreToldAsOtherReadersOfXmlTakeThem) {
  const TemporaryHome home;
  spooler_.printers["Labels"] = {"FILE:", ""};
  const std::string reserved = "]]><a b=\"c\" d='e'>&amp;&#65;<!--%;\t\r\n \u00e4\U0001F4C4";
  spooler_.jobTexts = {{"document", reserved}, {"user", "\x01"}, {"machine", "&"}};
  const auto file = (home.Path() / "status.xml").string();
  std::ofstream(file, std::ios::binary) << Document(3, {true, true, true, true});
  const std::string command =
      "python3 -c \"import json, sys, xml.etree.ElementTree as x; "
      "print(json.dumps([[e.tag, e.attrib] for e in x.parse(sys.argv[1]).iter()]))\" " +
      file;
  FILE* const parser = popen(command.c_str(), "r");
  const auto read = nlohmann::json::parse(parser, nullptr, false);
  ASSERT_EQ(pclose(parser), 0);
  ASSERT_EQ(read.size(), 3u) << read;
  EXPECT_EQ(read[0], nlohmann::json::parse(R"(["job", {"id": "3"}])"));
  const nlohmann::json identity{{"name", reserved}, {"userName", "\uFFFD"}, {"machineName", "&"}};
  EXPECT_EQ(read[2], nlohmann::json::array({"jobIdentity", identity}));
}

TEST_F(JobRecordsTest, AreToldAsADocument) {
  spooler_.printers["Labels"] = {"FILE:", ""};
  spooler_.noJob = 99;
  spooler_.jobStatus = JOB_STATUS_PRINTING;
  spooler_.jobTexts = {{"document", "label"}, {"user", "\u00e4nne"}, {"machine", "DOCK"}};
  EXPECT_EQ(Document(3, {}), "");
  EXPECT_EQ(Document(3, {false, false, true, true}), kDeclaration);
  EXPECT_EQ(Document(99, {true, true, false, false}), kDeclaration);
  const std::string identity =
      "<jobIdentity\r\n   name=\"label\"\r\n   userName=\"\u00e4nne\"\r\n   machineName=\"DOCK\"\r\n/>\r\n";
  const std::string begin = kDeclaration + std::string("<job id=\"3\">\r\n");
  EXPECT_EQ(Document(3, {true, true, false, false}),
            begin +
                "<jobStatus\r\n   status=\"printing\"\r\n   errorCount=\"0\"\r\n   warningCount=\"0\"\r\n"
                "   pagesSent=\"0\"\r\n   pagesVerified=\"0\"\r\n/>\r\n" +
                identity + "</job>\r\n")
      << "from the spooler";
  EXPECT_FALSE(Has(3));
  auto record = std::make_unique<StatusRecord_Job>();
  ASSERT_TRUE(record->FillFromSpooler(3, "Labels"));
  record->pagesSent = 4;
  record->pagesVerified = 2;
  record->errorCount = 1;
  record->warningCount = 0xFFFFFFFF;
  record->SetState(JobState::Verified);
  records_.Add(std::move(record));
  EXPECT_EQ(Document(3, {true, false, false, false}),
            begin +
                "<jobStatus\r\n   status=\"verified\"\r\n   errorCount=\"1\"\r\n   warningCount=\"4294967295\"\r\n"
                "   pagesSent=\"4\"\r\n   pagesVerified=\"2\"\r\n/>\r\n</job>\r\n");
  EXPECT_EQ(Document(3, {false, true, true, false}), begin + identity + "</job>\r\n");
}

}  // namespace
}  // namespace portwise
