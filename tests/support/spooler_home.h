#pragma once

#include <windows.h>
#include <winspool.h>

#include <functional>
#include <string>
#include <vector>

#include "core/printer_handle.h"
#include "platform/spooler/channel.h"

namespace portwise::test {

/// A home of its own with the real spooler program, which drives the fake monitor unless told otherwise. Its network
/// service is off. It is the home of this process; removed with everything in it when destroyed.
class SpoolerHome {
 public:
  /// `driver` is the monitor that the spooler loads.
  explicit SpoolerHome(const std::string& driver = "fake-monitor.dll");
  ~SpoolerHome();
  SpoolerHome(const SpoolerHome&) = delete;
  SpoolerHome& operator=(const SpoolerHome&) = delete;

  const std::string& Path() const { return path_; }
  std::string File(const std::string& name) const { return path_ + "/" + name; }

  /// True when the spooler said that it is ready. `fileLimit` bounds what it may write to one file.
  bool Start(unsigned long fileLimit = 0);
  /// Starts it and gives it a file port with these printers.
  bool Start(const std::string& port, const std::vector<std::string>& printers);
  /// Its standard error so far.
  std::string Errors() const;
  void Signal(int signal);
  int ProcessId() const { return process_; }
  /// The exit code; -1 when a signal ended it.
  int Wait();
  int Stop();

  /// Sets a value of the fake monitor.
  static void Set(const char* name, DWORD value);
  /// A file port and printers on it.
  void AddPort(const std::string& port, const std::vector<std::string>& printers);

 private:
  std::string path_;
  int process_ = 0;
};

/// An order over a connection of its own.
platform::Message Ask(const nlohmann::json& order);
/// The id of the acknowledged job, or 0.
unsigned Submit(const std::string& printer, const std::string& data, const std::string& document = "test");
nlohmann::json GetJob(unsigned job);
/// The jobs in the queue.
nlohmann::json JobList();
inline std::size_t JobCount() { return JobList().size(); }
unsigned Control(unsigned job, unsigned command);
/// Whether the job is in the queue in this state, with a reason that holds this text.
bool HasState(unsigned job, const std::string& state, const std::string& reason = {});
/// Whether the job shows a reason that holds this text; any when it is empty.
bool SaysWhy(unsigned job, const std::string& reason = {});
/// Whether the job has left the queue in this way: "printed" or "deleted".
bool Gone(unsigned job, const std::string& outcome);

/// A printer, opened through the spooler's calls.
unique_printer OpenPrinterOf(const std::u16string& name, DWORD access = PRINTER_ACCESS_USE);

/// Carries an order out, which must be possible.
void Require(const nlohmann::json& order);

/// Reads a file; empty when there is none.
std::string ReadFile(const std::string& path);
/// Polls up to 20 seconds of real time.
bool Eventually(const std::function<bool()>& condition);
/// Bytes that repeat nowhere soon, so that a lost or doubled piece shows.
std::string Payload(std::size_t size, unsigned seed);
/// The folder of the build's programs.
std::string ProgramFolder();

struct ProgramResult {
  int code;
  std::string output;  ///< standard output and standard error
};
ProgramResult RunProgram(const std::string& commandLine);
/// Runs the command-line program and expects it to end with the code and to say, among other things, the text. Returns
/// all that it says.
std::string ExpectRun(const std::string& arguments, int code = 0, const std::string& told = {});
/// What the command-line program says in JSON, and ends well with.
nlohmann::json RunJson(const std::string& arguments);

}  // namespace portwise::test
