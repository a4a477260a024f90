#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "host/job_store.h"
#include "host/monitor_library.h"
#include "host/order.h"
#include "host/port_queues.h"
#include "host/ports.h"
#include "host/printer_status_words.h"
#include "host/printers.h"
#include "platform/spooler/channel.h"

namespace portwise {

/// The print spooler: printers, ports and jobs, and the orders on them.
///
/// Call carries out the orders of this process: the monitor's. Those of clients come through CallFromClient. Any
/// thread; no lock is held while the monitor runs.
class Spooler final : public platform::SpoolerService {
 public:
  /// Takes up the home's jobs and starts to print. Null when something that it needs cannot be used.
  static std::unique_ptr<Spooler> Start(const std::string& home, std::string* why);

  platform::Message Call(const platform::Message& request) override { return Carry(request, true); }
  platform::Message CallFromClient(const platform::Message& request) { return Carry(request, false); }

  /// Begins to receive a job as the order says. Throws OrderError.
  std::unique_ptr<Submission> BeginJob(const nlohmann::json& order);
  /// Brings a job that was committed to its port.
  void JobArrived(DWORD job);

  /// Ends what waits in the ports, so that the orders of clients come to their end. No job begins after that.
  void BeginStop();
  /// Jobs in progress stop at their next buffer, ports are closed. False when the monitor does not return by `limit`;
  /// the spooler must then live until the process ends.
  bool Stop(std::chrono::steady_clock::time_point limit);

 private:
  using Json = nlohmann::json;
  using Message = platform::Message;
  /// An order's name and what carries it out; `local` tells the monitor's orders from those of clients.
  struct Operation {
    const char* name;
    Message (*carryOut)(Spooler& spooler, const Message& request, bool local);
  };
  static const Operation kOperations[];
  /// A method of the spooler or a function, with or without `local`, as an entry of the table.
  template <auto kCarry>
  static Message As(Spooler& spooler, const Message& request, bool local);

  Spooler(std::unique_ptr<MonitorLibrary> monitor, std::unique_ptr<JobStore> store);
  Message Carry(const Message& request, bool local);

  Message PrinterList(const Message& request);
  Message PrinterGet(const Message& request);
  Message PrinterAdd(const Message& request);
  Message PrinterSet(const Message& request);
  Message PrinterStatusSet(const Message& request);
  Message PrinterRemove(const Message& request);
  Message PortList(const Message& request);
  Message PortGet(const Message& request);
  Message PortAdd(const Message& request);
  Message PortSet(const Message& request);
  Message PortRemove(const Message& request);
  Message JobList(const Message& request);
  Message JobGet(const Message& request);
  Message JobSet(const Message& request);
  Message JobControl(const Message& request, bool local);
  Message JobReport(const Message& request, bool local);
  Message PrinterDataGet(const Message& request, bool local);

  Json Describe(const Printer& printer);
  Json Describe(const Job& job);
  static Json Describe(const Port& port);
  Job RequireJob(const Json& order);

  std::unique_ptr<MonitorLibrary> monitor_;
  std::unique_ptr<JobStore> store_;
  PortQueues queues_;
  PrinterStatusWords statusWords_;
  /// Serialises changes of printers and ports, and the beginnings of jobs with them. Not held while a port closes.
  std::mutex setupMutex_;
};

}  // namespace portwise
