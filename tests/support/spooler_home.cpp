#include "tests/support/spooler_home.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <thread>

#include "host/registry_key.h"
#include "tests/support/files.h"
#include "tests/support/network_settings.h"

namespace portwise::test {

using Json = nlohmann::json;

SpoolerHome::SpoolerHome(const std::string& driver) {
  char path[] = "/tmp/portwise-host-XXXXXX";
  path_ = mkdtemp(path);
  setenv("PORTWISE_HOME", path_.c_str(), 1);
  setenv("PORTWISE_TIME_SCALE", "20", 1);
  RegistryKey::Create(R"(SYSTEM\CurrentControlSet\Control\Print\Monitors\Corvane Network Monitor)")
      .SetText("Driver", driver);
  ConfigureNetworkService(0);
}

SpoolerHome::~SpoolerHome() {
  if (process_ > 0) kill(process_, SIGKILL);
  if (process_ > 0) Wait();
  std::filesystem::remove_all(path_);
}

bool SpoolerHome::Start(unsigned long fileLimit) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return false;
  std::string program = ProgramFolder() + "/portwise-spooler";
  std::string errors = File("errors");
  process_ = fork();
  if (process_ == 0) {
    dup2(ends[1], STDOUT_FILENO);
    dup2(open(errors.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600), STDERR_FILENO);
    rlimit limit{fileLimit, fileLimit};
    if (fileLimit > 0) setrlimit(RLIMIT_FSIZE, &limit);
    execl(program.c_str(), program.c_str(), nullptr);
    _exit(127);
  }
  close(ends[1]);
  char line[16] = {};
  ssize_t size = read(ends[0], line, sizeof(line) - 1);
  close(ends[0]);
  return size > 0 && std::string(line) == "ready\n";
}

bool SpoolerHome::Start(const std::string& port, const std::vector<std::string>& printers) {
  const bool started = Start();
  AddPort(port, printers);
  return started;
}

std::string SpoolerHome::Errors() const { return ReadFile(File("errors")); }

void SpoolerHome::Signal(int signal) { kill(process_, signal); }

int SpoolerHome::Wait() {
  int status = 0;
  waitpid(process_, &status, 0);
  process_ = 0;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

int SpoolerHome::Stop() {
  Signal(SIGTERM);
  return Wait();
}

void SpoolerHome::Set(const char* name, DWORD value) {
  RegistryKey::Create(R"(SOFTWARE\Fake Monitor)").SetNumber(name, value);
}

void SpoolerHome::AddPort(const std::string& port, const std::vector<std::string>& printers) {
  Ask({{"op", "port-add"}, {"name", port}, {"file", File(port + ".prn")}});
  for (const std::string& printer : printers) Ask({{"op", "printer-add"}, {"name", printer}, {"port", port}});
}

platform::Message Ask(const Json& order) { return platform::SpoolerConnection().Call({order, {}}); }

unsigned Submit(const std::string& printer, const std::string& data, const std::string& document) {
  platform::SpoolerConnection connection;
  connection.Call({{{"op", "submit-begin"}, {"printer", printer}, {"document", document}}, {}});
  constexpr std::size_t kChunk = 100000;
  for (std::size_t start = 0; start < data.size(); start += kChunk)
    connection.Call({{{"op", "submit-data"}}, data.substr(start, kChunk)});
  platform::Message reply = connection.Call({{{"op", "submit-end"}, {"size", data.size()}}, {}});
  return reply.head["error"] == 0u ? reply.head.value("job", 0u) : 0;
}

Json GetJob(unsigned job) { return Ask({{"op", "job-get"}, {"job", job}}).head; }

Json JobList() { return Json::parse(Ask({{"op", "job-list"}, {"after", 0u}}).body); }

void Require(const Json& order) {
  const Json answer = Ask(order).head;
  EXPECT_EQ(answer.value("error", 1u), 0u) << order << answer;
}

unsigned Control(unsigned job, unsigned command) {
  return Ask({{"op", "job-control"}, {"job", job}, {"command", command}}).head.value("error", 1u);
}

bool HasState(unsigned job, const std::string& state, const std::string& reason) {
  const Json found = GetJob(job);
  return found.value("state", "") == state && found.value("reason", "").find(reason) != std::string::npos;
}

bool SaysWhy(unsigned job, const std::string& reason) {
  const std::string told = GetJob(job).value("reason", "");
  return !told.empty() && told.find(reason) != told.npos;
}

bool Gone(unsigned job, const std::string& outcome) { return GetJob(job).value("outcome", "") == outcome; }

unique_printer OpenPrinterOf(const std::u16string& name, DWORD access) {
  unique_printer printer;
  PRINTER_DEFAULTSW defaults{nullptr, nullptr, access};
  EXPECT_TRUE(OpenPrinterW(std::u16string(name).data(), printer.Put(), &defaults));
  return printer;
}

std::string ReadFile(const std::string& path) { return ReadBytes(path); }

bool Eventually(const std::function<bool()>& condition) {
  auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > limit) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return true;
}

std::string Payload(std::size_t size, unsigned seed) {
  std::mt19937 random(seed);
  std::string data(size, '\0');
  for (char& byte : data) byte = static_cast<char>(random());
  return data;
}

std::string ProgramFolder() { return std::filesystem::read_symlink("/proc/self/exe").parent_path().string(); }

ProgramResult RunProgram(const std::string& commandLine) {
  FILE* pipe = popen(("(" + ProgramFolder() + "/" + commandLine + "\n) 2>&1").c_str(), "r");
  ProgramResult result{-1, {}};
  char buffer[4096];
  for (std::size_t size; (size = fread(buffer, 1, sizeof(buffer), pipe)) > 0;) result.output.append(buffer, size);
  int status = pclose(pipe);
  if (WIFEXITED(status)) result.code = WEXITSTATUS(status);
  return result;
}

std::string ExpectRun(const std::string& arguments, int code, const std::string& told) {
  const ProgramResult result = RunProgram("portwise " + arguments);
  EXPECT_EQ(result.code, code) << arguments << "\n" << result.output;
  EXPECT_NE(result.output.find(told), std::string::npos) << arguments << "\n" << result.output << "lacks " << told;
  return result.output;
}

Json RunJson(const std::string& arguments) {
  const ProgramResult result = RunProgram("portwise " + arguments + " --json");
  EXPECT_EQ(result.code, 0) << arguments << "\n" << result.output;
  return Json::parse(result.output, nullptr, false);
}

}  // namespace portwise::test
