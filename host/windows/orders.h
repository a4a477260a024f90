#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "host/windows/monitor_library.h"
#include "host/windows/port_queue.h"

namespace portwise {

/// What the host does, one order a line.
class Orders {
 public:
  explicit Orders(std::string library) : library_(std::move(library)) {}

  /// All orders, a line each.
  static std::string Help();

  /// Says "ok", with what the order gives, or "failed: " and why. False when it was the order to end.
  bool Obey(const std::string& line);
  /// Waits for the jobs, and closes the ports.
  void Finish();

 private:
  using Words = std::vector<std::string>;
  struct Row;
  static const Row kRows[];

  std::string Port(const Words& words);
  std::string Driver(const Words& words);
  std::string Printer(const Words& words);
  std::string Set(const Words& words);
  std::string Deny(const Words& words);
  std::string Load(const Words& words);
  std::string Open(const Words& words);
  std::string Close(const Words& words);
  std::string Print(const Words& words);
  std::string Cancel(const Words& words);
  std::string Wait(const Words& words);
  std::string Ask(const Words& words);
  std::string Request(const Words& words);
  std::string Read(const Words& words);
  std::string Leave(const Words& words);

  MonitorLibrary& Library();
  /// The open port of a printer; opened when it is not. Throws Failure.
  PortQueue& QueueOf(const std::string& printer);
  bool IsIdle();

  const std::string library_;
  std::unique_ptr<MonitorLibrary> monitor_;
  std::map<std::string, std::unique_ptr<PortQueue>> ports_;  // by the ports' names
};

}  // namespace portwise
