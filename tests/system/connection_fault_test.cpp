#include <gmock/gmock.h>
#include <sys/stat.h>
#include <winspool.h>

#include <atomic>
#include <filesystem>
#include <random>
#include <thread>

#include "tests/support/fake_printer.h"
#include "tests/support/spooler_home.h"

namespace portwise::test {
namespace {

using Json = nlohmann::json;

constexpr std::size_t kEverything = std::size_t{1} << 30;

/// The whole host, with a printer that the test plays.
class ConnectionFaults : public testing::Test {
 protected:
  ConnectionFaults() : home_("portwise.dll") {
    EXPECT_TRUE(home_.Start()) << home_.Errors();
    Require({{"op", "port-add"}, {"name", "net"}, {"host", "127.0.0.1"}, {"port", printer_.Port()}});
    Require({{"op", "printer-add"}, {"name", "Labels"}, {"port", "net"}});
  }

  static bool Printed(unsigned job) { return Gone(job, "printed"); }
  /// Held, because nobody knows whether the printer has all of it.
  static bool Unconfirmed(unsigned job) { return HasState(job, "held", "did not confirm"); }
  /// Takes one connection to its end, as a printer does.
  std::string ReceiveJob(int patience = 5000) {
    if (!printer_.Accept(patience)) return "nothing came";
    std::string data = printer_.Receive(kEverything);
    printer_.Close();
    return data;
  }
  std::size_t Count(const char* what) const {
    const std::filesystem::directory_iterator entries("/proc/" + std::to_string(home_.ProcessId()) + "/" + what);
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
  }

  FakePrinter printer_{8192};
  SpoolerHome home_;
};

TEST_F(ConnectionFaults, JobsWaitForAPrinterThatIsNotThere) {
  const std::string data = Payload(100000, 1);
  printer_.Refuse();
  const unsigned job = Submit("Labels", data);
  ASSERT_TRUE(Eventually([&] { return SaysWhy(job, "refused the connection"); })) << GetJob(job);
  // The address may change while the port is open and a job waits.
  Require({{"op", "port-set"}, {"name", "net"}, {"host", "no-such-printer.invalid"}});
  ASSERT_TRUE(Eventually([&] { return SaysWhy(job, "name"); })) << GetJob(job);
  FakePrinter other;
  Require({{"op", "port-set"}, {"name", "net"}, {"host", "localhost"}, {"port", other.Port()}});
  std::this_thread::sleep_for(std::chrono::milliseconds(500));  // it is connected long before it is accepted
  ASSERT_TRUE(other.Accept(10000)) << GetJob(job);
  EXPECT_TRUE(other.Receive(kEverything) == data);
  other.Close();
  EXPECT_TRUE(Eventually([&] { return Printed(job); }));
}

TEST_F(ConnectionFaults, APrinterThatBreaksOffDoublesNothingAndTheNextJobIsWhole) {
  enum { kReset, kClose, kHalfClose };
  const std::string data = Payload(9000000, 2);
  for (const std::size_t after : {0u, 1u, 2u, 1000u, 4095u, 4096u, 65535u, 65536u, 65537u, 200000u, 4000000u}) {
    for (const int way : {kReset, kClose, kHalfClose}) {
      SCOPED_TRACE(testing::Message() << "after " << after << " bytes, way " << way);
      bool whole = way == kHalfClose;
      const unsigned job = Submit("Labels", data);
      const unsigned next = Submit("Labels", "next");
      ASSERT_TRUE(printer_.Accept(5000));
      const std::string first = printer_.Receive(after);
      ASSERT_TRUE(first == data.substr(0, after));
      if (way == kHalfClose) {
        printer_.EndSending();
        EXPECT_TRUE(printer_.Receive(kEverything) == data.substr(after));
        printer_.Close();
      } else {
        way == kReset ? printer_.Reset() : printer_.Close();
        // What comes over the next connection is the end of the job, without what the first one had.
        const std::string rest = ReceiveJob();
        EXPECT_FALSE(rest.empty());
        EXPECT_LE(rest.size(), data.size() - after);
        EXPECT_TRUE(data.ends_with(rest));
        // The first connection may have been gone before it had taken a byte.
        whole = rest == data;
      }
      EXPECT_EQ(ReceiveJob(), "next");
      EXPECT_TRUE(Eventually([&] { return Printed(next); }));
      EXPECT_TRUE(Eventually([&] { return whole ? Printed(job) : Unconfirmed(job); })) << GetJob(job);
      Control(job, JOB_CONTROL_CANCEL);
    }
  }
}

TEST_F(ConnectionFaults, APrinterThatStopsReadingGetsEveryByteLater) {
  const std::string data = Payload(20000000, 3);
  const unsigned job = Submit("Labels", data);
  ASSERT_TRUE(printer_.Accept(5000));
  // Longer than the send timeout of 30 seconds, by the clock of the spooler.
  ASSERT_TRUE(Eventually([&] { return SaysWhy(job); }));
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  EXPECT_TRUE(printer_.Receive(data.size()) == data);
  // The end of the job waits for the printer, and not for ever.
  EXPECT_TRUE(Eventually([&] { return Printed(job); }));
  printer_.Close();

  const unsigned deleted = Submit("Labels", data);
  ASSERT_TRUE(printer_.Accept(5000));
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  EXPECT_EQ(Control(deleted, JOB_CONTROL_CANCEL), 0u);
  EXPECT_TRUE(Eventually([&] { return Gone(deleted, "deleted"); }));
  EXPECT_TRUE(data.starts_with(printer_.Receive(kEverything)));
}

TEST_F(ConnectionFaults, WhatAPrinterSaysDoesNotDisturbAJob) {
  const std::string data = Payload(3000000, 4);
  for (const bool drips : {true, false}) {
    const unsigned job = Submit("Labels", data);
    ASSERT_TRUE(printer_.Accept(5000));
    // Megabytes that the monitor takes in only when the job ends, or a byte now and then.
    std::atomic<bool> received = false;
    // Who has delivered everything need not listen to the end.
    std::thread talker([&] {
      if (!drips) printer_.TrySend(Payload(8000000, 5));
      while (drips && !received && printer_.TrySend("x")) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    });
    EXPECT_TRUE(printer_.Receive(kEverything) == data);
    received = true;
    talker.join();
    printer_.Close();
    EXPECT_TRUE(Eventually([&] { return Printed(job); })) << GetJob(job);
  }
}

TEST_F(ConnectionFaults, AThousandJobsArriveInOrderWhateverHappensBetweenThem) {
  constexpr unsigned kJobs = 1000;
  std::mt19937 random(6);
  std::vector<std::string> jobs;
  for (unsigned number = 0; number < kJobs; ++number) {
    const std::size_t sizes[] = {0, 1, random() % 2000, 65536, random() % 150000};
    jobs.push_back(Payload(sizes[random() % 5], number));
  }
  std::thread client([&] {
    for (const std::string& data : jobs) EXPECT_NE(Submit("Labels", data), 0u);
  });
  const auto moment = [&] { std::this_thread::sleep_for(std::chrono::milliseconds(random() % 15)); };
  std::size_t unconfirmed = 0;
  for (unsigned number = 0; number < kJobs; ++number) {
    if (!printer_.Accept(20000)) {
      ADD_FAILURE() << "job " << number << " never came";
      break;
    }
    if (random() % 4 == 0) moment();
    EXPECT_TRUE(printer_.Receive(kEverything) == jobs[number]) << number;
    // The next job cannot have begun yet.
    switch (random() % 16) {
      case 0:
        printer_.Refuse();
        printer_.Close();
        moment();
        printer_.Listen();
        break;
      case 1:
        moment();
        printer_.Close();
        break;
      case 2:
        printer_.Reset();
        if (!jobs[number].empty()) ++unconfirmed;
        break;
      default:
        printer_.Close();
    }
  }
  client.join();
  // A printer that breaks off after the last byte may not have read it.
  EXPECT_GT(unconfirmed, 0u);
  EXPECT_TRUE(Eventually([&] { return JobCount() == unconfirmed; }));
  for (const Json& job : JobList()) EXPECT_TRUE(Unconfirmed(job["job"])) << job;
}

TEST_F(ConnectionFaults, NothingStaysOpenBehindPortsThatAreGone) {
  const std::string pipe = home_.File("device");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const Json places[] = {
      {{"host", "127.0.0.1"}, {"port", printer_.Port()}},
      {{"host", "127.0.0.1"}, {"port", printer_.Port()}, {"protocol", "lpr"}},
      {{"host", "127.0.0.1"}, {"port", 1}},
      {{"file", home_.File("out.prn")}},
      {{"device", "/dev/null"}, {"kind", "parallel"}},
      {{"device", pipe}, {"kind", "usb"}},
  };
  std::size_t files = 0, threads = 0;
  for (unsigned round = 0; round < 15; ++round) {
    for (const Json& place : places) {
      Json add{{"op", "port-add"}, {"name", "passing"}};
      add.update(place);
      Require(add);
      Require({{"op", "printer-add"}, {"name", "Passing"}, {"port", "passing"}});
      const unsigned job = Submit("Passing", "data");
      const bool isLpr = place.contains("protocol"), isRaw = place.value("port", 0u) == printer_.Port() && !isLpr;
      EXPECT_TRUE(!isRaw || ReceiveJob() == "data");
      if (isLpr && printer_.Accept(5000)) printer_.Close();
      EXPECT_TRUE(Eventually([&] { return HasState(job, "") || HasState(job, "waiting") || SaysWhy(job); }))
          << GetJob(job);
      Control(job, JOB_CONTROL_CANCEL);
      ASSERT_TRUE(Eventually([&] { return GetJob(job).value("error", 0u) != 0; })) << GetJob(job);
      Require({{"op", "printer-remove"}, {"name", "Passing"}});
      Require({{"op", "port-remove"}, {"name", "passing"}});
      // A queued connection of the last try, if any.
      while (isLpr && printer_.Accept(0)) printer_.Close();
    }
    if (round == 2) {
      files = Count("fd");
      threads = Count("task");
    }
  }
  EXPECT_TRUE(Eventually([&] { return Count("fd") <= files && Count("task") <= threads; }))
      << Count("fd") << " files after " << files << ", " << Count("task") << " threads after " << threads;
  EXPECT_EQ(home_.Stop(), 0);
}

}  // namespace
}  // namespace portwise::test
