#include <gmock/gmock.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>
#include <winspool.h>

#include <atomic>
#include <filesystem>
#include <map>
#include <mutex>
#include <random>
#include <thread>

#include "host/job_store.h"
#include "host/names.h"
#include "tests/support/fake_printer.h"
#include "tests/support/files.h"
#include "tests/support/last_error.h"
#include "tests/support/spooler_home.h"

namespace portwise::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;
using Json = nlohmann::json;

std::string Taken(const SpoolerHome& home, unsigned job) {
  return ReadFile(home.File("fake." + std::to_string(job) + ".out"));
}

/// What the spool folder holds besides the last id.
std::size_t SpoolFiles(const SpoolerHome& home) {
  std::size_t count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(home.File("spool")))
    count += entry.path().filename() != "last-id";
  return count;
}

TEST(Host, EveryMixOfPartialResultsDeliversEachByteOnce) {
  for (DWORD seed : {1u, 2u, 3u}) {
    SpoolerHome home;
    SpoolerHome::Set("Mix", seed);
    ASSERT_TRUE(home.Start("shared", {"one", "Zwei – 二"})) << home.Errors();
    std::map<unsigned, std::string> jobs;
    std::string starts;
    unsigned number = 0;
    for (std::size_t size : {1u, 0u, 65536u, 65537u, 300001u}) {
      std::string printer = ++number % 2 ? "one" : "Zwei – 二";
      std::string data = Payload(size, seed * 100 + number);
      unsigned job = Submit(printer, data);
      ASSERT_EQ(job, number);
      jobs[job] = data;
      starts += "start " + std::to_string(job) + " " + printer + "\n" + "end " + std::to_string(job) + " " +
                std::to_string(size) + "\n";
    }
    ASSERT_TRUE(Eventually([] { return JobCount() == 0; })) << JobList();
    for (const auto& [job, data] : jobs) EXPECT_TRUE(Taken(home, job) == data) << "job " << job << " seed " << seed;
    // One document at a time, in the order of the jobs, over a port that was opened once.
    EXPECT_EQ(ReadFile(home.File("fake.log")), "open shared\n" + starts);
    EXPECT_EQ(SpoolFiles(home), 0u);
    EXPECT_EQ(home.Stop(), 0);
    EXPECT_THAT(ReadFile(home.File("fake.log")), testing::EndsWith("close shared\n"));
  }
}

TEST(Host, RefusalsShowTheirReasonAndAreTriedAgain) {
  SpoolerHome home;
  SpoolerHome::Set("Refuse Open", 1);
  ASSERT_TRUE(home.Start("port", {"printer"}));
  unsigned job = Submit("printer", "data");
  ASSERT_TRUE(Eventually([&] { return HasState(job, "waiting"); }));
  EXPECT_THAT(GetJob(job).value("reason", ""), StartsWith("the port port cannot be opened: "));
  SpoolerHome::Set("Refuse Start", 1);
  SpoolerHome::Set("Refuse Open", 0);
  ASSERT_TRUE(Eventually([&] { return HasState(job, "waiting", "not ready"); })) << GetJob(job);
  SpoolerHome::Set("Stubborn", 3);
  SpoolerHome::Set("Refuse Start", 0);
  ASSERT_TRUE(Eventually([&] { return Gone(job, "printed"); }));
  EXPECT_EQ(Taken(home, job), "data");
  EXPECT_THAT(ReadFile(home.File("fake.log")), HasSubstr("empty\nempty\nempty\nend"));
}

TEST(Host, OrdersReachJobsInEveryState) {
  SpoolerHome home;
  SpoolerHome::Set("Stop At", 70000);
  ASSERT_TRUE(home.Start("port", {"printer"}));
  home.AddPort("other", {"second"});
  std::string data = Payload(200000, 7);
  unsigned stuck = Submit("printer", data);
  unsigned queued = Submit("printer", "queued");
  ASSERT_TRUE(Eventually([&] { return SaysWhy(stuck); }));
  EXPECT_EQ(GetJob(stuck).value("taken", 0), 65536);

  // Another port prints while this one is stuck.
  unsigned other = Submit("second", "other");
  EXPECT_TRUE(Eventually([&] { return Gone(other, "printed"); }));

  EXPECT_EQ(Control(queued, JOB_CONTROL_CANCEL), 0u);
  EXPECT_TRUE(Gone(queued, "deleted"));
  const auto error = [](const Json& order) { return Ask(order).head["error"]; };
  EXPECT_EQ(error({{"op", "printer-remove"}, {"name", "printer"}}), ERROR_PRINTER_HAS_JOBS_QUEUED);
  EXPECT_EQ(error({{"op", "port-remove"}, {"name", "PORT"}}), ERROR_BUSY);
  EXPECT_EQ(error({{"op", "printer-set"}, {"name", "printer"}, {"port", "other"}}), ERROR_BUSY);

  EXPECT_EQ(Control(stuck, JOB_CONTROL_PAUSE), 0u);
  EXPECT_TRUE(HasState(stuck, "paused"));
  SpoolerHome::Set("Delay", 4000);
  EXPECT_EQ(Control(stuck, JOB_CONTROL_RESUME), 0u);
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_EQ(Control(stuck, JOB_CONTROL_CANCEL), 0u);
  EXPECT_TRUE(Eventually([&] { return Gone(stuck, "deleted"); }));
  EXPECT_THAT(ReadFile(home.File("fake.log")), HasSubstr("deleting\nend 1 65536\n"));
  EXPECT_EQ(SpoolFiles(home), 0u);
  EXPECT_EQ(error({{"op", "printer-remove"}, {"name", "printer"}}), 0u);
  EXPECT_EQ(error({{"op", "port-remove"}, {"name", "port"}}), 0u);
  EXPECT_TRUE(Eventually([&] { return ReadFile(home.File("fake.log")).find("close port") != std::string::npos; }));
}

TEST(Host, WhatWasSaidOfAnAttemptDoesNotCountForTheNext) {
  SpoolerHome home;
  std::string why;
  const auto store = JobStore::Open(home.Path(), &why);
  Job job;
  job.printer = "printer";
  ASSERT_TRUE(store->Begin(job, &why)->Commit(0, &why)) << why;
  const std::set<std::u16string> printers{NameKey(job.printer)};
  store->Release(store->Claim(printers)->id, [](Job& tried) { tried.left = true; });
  EXPECT_FALSE(store->Claim(printers)->left) << "it would count as printed if it were cut off now";
}

TEST(Host, StoppingHoldsWhatHadBegun) {
  SpoolerHome home;
  SpoolerHome::Set("Stop At", 100000);
  ASSERT_TRUE(home.Start("port", {"printer"}));
  std::string data = Payload(150000, 9);
  unsigned job = Submit("printer", data);
  unsigned next = Submit("printer", "next");
  unsigned cancelled = Submit("printer", "cancelled");
  Control(next, JOB_CONTROL_PAUSE);
  Control(cancelled, JOB_CONTROL_CANCEL);
  ASSERT_TRUE(Eventually([&] { return GetJob(job).value("taken", 0) == 65536; }));
  EXPECT_EQ(home.Stop(), 0);
  EXPECT_FALSE(std::filesystem::exists(home.File("spooler.sock")));
  EXPECT_THAT(ReadFile(home.File("fake.log")), testing::EndsWith("end 1 65536\nclose port\n"));

  SpoolerHome::Set("Stop At", 0);
  ASSERT_TRUE(home.Start());
  EXPECT_TRUE(HasState(job, "held", "interrupted after 65536 of 150000 bytes"));
  EXPECT_TRUE(HasState(next, "paused"));
  EXPECT_EQ(JobCount(), 2u);
  std::filesystem::remove(home.File("fake.1.out"));
  Control(job, JOB_CONTROL_RESUME);
  Control(next, JOB_CONTROL_RESUME);
  ASSERT_TRUE(Eventually([] { return JobCount() == 0; }));
  EXPECT_TRUE(Taken(home, job) == data);
  EXPECT_EQ(Submit("printer", "new"), 4u);
}

TEST(Host, KillAtAnyMomentLosesAndDoublesNothing) {
  SpoolerHome home;
  SpoolerHome::Set("Mix", 5);
  ASSERT_TRUE(home.Start("port", {"one", "two"}));
  std::mutex mutex;
  std::map<unsigned, std::string> jobs;
  std::atomic<bool> done = false;
  std::thread client([&] {
    for (unsigned number = 0; !done && number < 400; ++number) {
      std::string data = Payload(number * 7919 % 200000, number);
      if (unsigned job = Submit(number % 2 ? "one" : "two", data)) {
        std::lock_guard lock(mutex);
        EXPECT_TRUE(jobs.emplace(job, data).second) << "id " << job << " was given twice";
      } else {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
      }
    }
  });
  std::mt19937 random(11);
  const auto jobCount = [&] {
    std::lock_guard lock(mutex);
    return jobs.size();
  };
  // A busy machine lets few jobs through in a round.
  for (int round = 0; round < 15 || (round < 150 && jobCount() <= 15); ++round) {
    std::this_thread::sleep_for(std::chrono::milliseconds(random() % 150));
    home.Signal(SIGKILL);
    home.Wait();
    ASSERT_TRUE(home.Start()) << home.Errors();
  }
  done = true;
  client.join();
  SpoolerHome::Set("Mix", 0);
  ASSERT_TRUE(Eventually([] {
    const Json left = JobList();
    return std::all_of(left.begin(), left.end(), [](const Json& job) { return job["state"] == "held"; });
  }));
  std::size_t held = 0;
  for (const auto& [job, data] : jobs) {
    Json state = GetJob(job);
    if (state.value("state", "") != "held") {
      EXPECT_TRUE(Taken(home, job) == data) << "job " << job;
      continue;
    }
    ++held;
    EXPECT_THAT(state.value("reason", ""), StartsWith("interrupted after ")) << state;
    // What the monitor has is a beginning of the data, of one run only.
    EXPECT_TRUE(data.starts_with(Taken(home, job))) << "job " << job;
    std::filesystem::remove(home.File("fake." + std::to_string(job) + ".out"));
    EXPECT_EQ(Control(job, JOB_CONTROL_RESUME), 0u);
    ASSERT_TRUE(Eventually([job = job] { return Gone(job, "printed"); }));
    EXPECT_TRUE(Taken(home, job) == data) << "job " << job;
  }
  // A job may be on disk although a kill came before its acknowledgement; it is held like the others.
  for (const Json& job : JobList()) {
    const auto id = job["job"].get<unsigned>();
    EXPECT_FALSE(jobs.contains(id)) << id;
    EXPECT_EQ(Control(id, JOB_CONTROL_CANCEL), 0u);
  }
  EXPECT_EQ(SpoolFiles(home), 0u);
  EXPECT_GT(jobs.size(), 15u);
  EXPECT_GT(held, 0u);
}

TEST(Host, RefusesToStartWhereItWouldDoHarm) {
  SpoolerHome home;
  ASSERT_TRUE(home.Start());
  const auto expectRefusal = [](const char* why) {
    const ProgramResult result = RunProgram("portwise-spooler");
    EXPECT_EQ(result.code, 1) << why;
    EXPECT_THAT(result.output, HasSubstr(why));
  };
  expectRefusal("another spooler serves");
  home.Stop();

  std::filesystem::remove_all(home.File("spool"));
  std::filesystem::copy(home.File("registry.db"), home.File("spool"));
  expectRefusal("/spool cannot be used");
  std::filesystem::remove(home.File("spool"));

  const std::string damage = Payload(8192, 1);
  for (const char* rest : {"registry.db-wal", "registry.db-shm"}) std::filesystem::remove(home.File(rest));
  WriteBytes(home.File("registry.db"), damage);
  expectRefusal("registry.db");
  EXPECT_TRUE(ReadFile(home.File("registry.db")) == damage);
}

int ConnectRaw(const SpoolerHome& home) {
  platform::SpoolerAddress address(home.Path());
  int raw = socket(AF_UNIX, SOCK_STREAM, 0);
  EXPECT_EQ(connect(raw, reinterpret_cast<const sockaddr*>(&address.Get()), sizeof(sockaddr_un)), 0);
  return raw;
}

TEST(Host, BadClientsHarmNobodyElse) {
  SpoolerHome home;
  ASSERT_TRUE(home.Start("port", {"printer"}));
  using namespace std::string_literals;
  std::string deep = "{\"op\":"s + std::string(500, '[') + std::string(500, ']') + "}";
  std::string frames[] = {
      "GET / HTTP/1.1\r\n\r\n"s,
      "\xff\xff\xff\xff\0\0\0\0"s,
      "\x02\0\0\0\xff\xff\xff\x7f{}"s,
      "\x02\0\0\0\0\0\0\0[]"s,
      "\x02\0\0\0\0\0\0\0{\xff"s,
      std::string{static_cast<char>(deep.size()), static_cast<char>(deep.size() >> 8)} + "\0\0\0\0\0\0"s + deep,
  };
  for (const std::string& frame : frames) {
    int raw = ConnectRaw(home);
    EXPECT_EQ(send(raw, frame.data(), frame.size(), MSG_NOSIGNAL), static_cast<ssize_t>(frame.size()));
    char answer;
    EXPECT_LE(recv(raw, &answer, 1, 0), 0) << frame;
    close(raw);
  }
  for (const Json& order : {Json{{"op", 5}}, Json{{"op", "job-get"}, {"job", "x"}},
                            Json{{"op", "job-get"}, {"job", -1}}, Json{{"op", "submit-data"}}, Json{{"op", "no such"}},
                            Json::object(), Json{{"op", "port-add"}, {"name", "a\\b"}, {"file", "/x"}},
                            Json{{"op", "port-add"}, {"name", "t"}, {"host", "h"}, {"port", 65536}}})
    EXPECT_NE(Ask(order).head.value("error", 0u), 0u) << order;

  for (bool wrongSize : {false, true}) {
    platform::SpoolerConnection connection;
    ASSERT_EQ(connection.Call({{{"op", "submit-begin"}, {"printer", "printer"}}, {}}).head["error"], 0u);
    connection.Call({{{"op", "submit-data"}}, Payload(100000, 3)});
    EXPECT_TRUE(Eventually([] { return JobCount() == 1; }));
    if (wrongSize) {
      EXPECT_NE(connection.Call({{{"op", "submit-end"}, {"size", 5u}}, {}}).head["error"], 0u);
    }
  }
  EXPECT_TRUE(Eventually([&] { return JobCount() == 0 && SpoolFiles(home) == 0; }));
  std::vector<int> crowd;
  for (int client = 0; client < 300; ++client) crowd.push_back(ConnectRaw(home));
  EXPECT_EQ(Ask({{"op", "port-list"}}).head["error"], ERROR_BUSY);
  for (int raw : crowd) close(raw);
  EXPECT_TRUE(Eventually([] { return Ask({{"op", "port-list"}}).head["error"] == 0u; }));
  EXPECT_EQ(home.Stop(), 0);
}

TEST(Host, SpoolFolderThatCannotBeWrittenRefusesTheJob) {
  SpoolerHome home;
  SpoolerHome::Set("Mix", 0);
  ASSERT_TRUE(home.Start(1 << 20));
  home.AddPort("port", {"printer"});
  ExpectRun("print printer " + ProgramFolder() + "/portwise-spooler", 1, "File too large");
  EXPECT_EQ(SpoolFiles(home), 0u);
  unsigned small = Submit("printer", "small");
  EXPECT_TRUE(Eventually([&] { return Gone(small, "printed"); }));
  std::filesystem::remove_all(home.File("spool"));
  EXPECT_EQ(Submit("printer", "nowhere to go"), 0u);
}

TEST(Host, WinspoolCallsOfOtherProcesses) {
  SpoolerHome home;
  HANDLE printer = nullptr;
  EXPECT_EQ(ErrorOf(OpenPrinterW(std::u16string(u"printer").data(), &printer, nullptr)), RPC_S_SERVER_UNAVAILABLE);
  SpoolerHome::Set("Refuse Start", 1);
  ASSERT_TRUE(home.Start("port", {"Printer", "quiet"}));
  Ask({{"op", "printer-set"}, {"name", "printer"}, {"share", "Anteil"}, {"comment", "Lager ü"}});
  const unsigned job = Submit("printer", "123");

  EXPECT_EQ(ErrorOf(OpenPrinterW(std::u16string(u"none").data(), &printer, nullptr)), ERROR_INVALID_PRINTER_NAME);
  printer = OpenPrinterOf(u"PRINTER").Detach();
  DWORD needed = 0, count = 0;
  EXPECT_EQ(ErrorOf(GetPrinterW(printer, 2, nullptr, 0, &needed)), ERROR_INSUFFICIENT_BUFFER);
  std::vector<BYTE> buffer(needed + 1, 0xee);
  EXPECT_FALSE(GetPrinterW(printer, 2, buffer.data(), needed - 1, &needed));
  ASSERT_TRUE(GetPrinterW(printer, 2, buffer.data(), needed, &needed));
  EXPECT_EQ(buffer[needed], 0xee);
  const auto& info = *reinterpret_cast<PRINTER_INFO_2W*>(buffer.data());
  EXPECT_EQ(std::u16string(info.pPrinterName) + u"|" + info.pShareName + u"|" + info.pComment,
            u"Printer|Anteil|Lager ü");
  EXPECT_EQ(info.cJobs, 1u);
  EXPECT_EQ(ErrorOf(GetPrinterW(printer, 3, buffer.data(), needed, &needed)), ERROR_INVALID_LEVEL);

  buffer.resize(4096);
  for (auto [flags, printers] : {std::pair{PRINTER_ENUM_LOCAL, 2u}, {PRINTER_ENUM_LOCAL | PRINTER_ENUM_SHARED, 1u}})
    EXPECT_TRUE(EnumPrintersW(flags, nullptr, 2, buffer.data(), 4096, &needed, &count) && count == printers) << flags;
  ASSERT_TRUE(GetJobW(printer, job, 1, buffer.data(), 4096, &needed));
  const auto& told = *reinterpret_cast<JOB_INFO_1W*>(buffer.data());
  EXPECT_TRUE(told.JobId == job && told.Position == 1 && told.Submitted.wYear >= 2024);
  EXPECT_EQ(ErrorOf(GetJobW(printer, job + 1, 1, buffer.data(), 4096, &needed)), ERROR_INVALID_PARAMETER);
  EXPECT_FALSE(SetJobW(printer, job, 0, nullptr, 99));
  EXPECT_TRUE(SetJobW(printer, job, 0, nullptr, JOB_CONTROL_DELETE));
  EXPECT_TRUE(Eventually([&] { return Gone(job, "deleted"); }));
  EXPECT_TRUE(ClosePrinter(printer));
  for (HANDLE wrong : {printer, HANDLE{nullptr}, INVALID_HANDLE_VALUE}) {
    EXPECT_FALSE(ClosePrinter(wrong));
    EXPECT_EQ(ErrorOf(GetJobW(wrong, job, 1, buffer.data(), 4096, &needed)), ERROR_INVALID_HANDLE);
  }
}

TEST(Host, CommandLineAndPortMonitors) {
  SpoolerHome home("portwise.dll");
  ExpectRun("jobs", 1, "start portwise-spooler");
  ASSERT_TRUE(home.Start());
  FakePrinter device;
  ExpectRun("port add", 106, "NAME");
  ExpectRun("port add net --tcp 127.0.0.1:" + std::to_string(device.Port()));
  ExpectRun("port add file --file " + home.File("out.prn"));
  ExpectRun("port add gone --file " + home.File("no/such/folder"));
  ExpectRun("printer add nowhere --port other", 1, "there is no port other");
  ExpectRun("printer add 'Label 二' --port net --comment 'first floor' --driver /d/zl.dll --data-file ABCDE.DAT");
  ExpectRun("printer add copy --port file");
  ExpectRun("printer add lost --port gone");
  ExpectRun("printer show 'label 二'", 0, "first floor");
  ExpectRun(R"(registry get 'HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet\Control\Print\Environments\Windows x64\)"
            R"(Drivers\Version-3\zl\Data File')",
            0, "ABCDE.DAT");

  std::string received;
  std::thread printer([&] { received = device.Accept(20000) ? device.Receive(std::size_t{1} << 30) : ""; });
  ExpectRun("print 'Label 二' " + ProgramFolder() + "/portwise --wait --name doc", 0, "job 1\n");
  printer.join();
  EXPECT_TRUE(received == ReadFile(ProgramFolder() + "/portwise"));
  for (const char* text : {"a longer text", "short"}) {
    RunProgram("portwise print copy --wait - <<EOF\n" + std::string(text) + "\nEOF\n");
    EXPECT_EQ(ReadFile(home.File("out.prn")), std::string(text) + "\n");
  }
  ExpectRun("print lost " + home.File("out.prn"), 0, "job 4\n");
  EXPECT_TRUE(Eventually([] { return HasState(4, "waiting"); }));
  ExpectRun("jobs lost", 0, "waiting");
  ExpectRun("cancel copy 4", 1, "there is no job 4 on printer copy");
  ExpectRun("cancel lost 4");
  ExpectRun("printer remove lost");
  ExpectRun("port remove gone");
  home.Stop();

  ExpectRun("registry set LOCAL:Test/Number 42 --type dword");
  ExpectRun("registry set LOCAL:Test/List 'one' 'two' --type multi");
  ExpectRun("registry set LOCAL:Test/Deep/Flag true --type bool");
  ExpectRun("registry set LOCAL:Test/Number 4294967296 --type dword", 1, "32 bits");
  ExpectRun("registry get 'HKEY_LOCAL_MACHINE\\SOFTWARE\\Corvane\\Drivers\\Test\\Deep\\Flag'", 0, "01\n");
  ExpectRun("registry list LOCAL:Test", 0, "Deep/\nList = multi: [\"one\",\"two\"]\nNumber = dword: 42\n");
  ExpectRun("registry delete LOCAL:Test", 1, "--recursive");
  ExpectRun("registry delete LOCAL:Test --recursive");
  ExpectRun("registry get LOCAL:Test/Number", 1, "no value");
}

}  // namespace
}  // namespace portwise::test
