#pragma once

#include <windows.h>

#include <atomic>
#include <string>
#include <vector>

#include "connection/port_link.h"
#include "core/handles.h"

namespace portwise {

/// A port without anything around it.
class FakePortLink : public PortLink {
 public:
  explicit FakePortLink(const OString& name) : name_(name) {}

  OString PortName() const override { return name_; }
  OString JobPrinter() const override { return "Labels"; }
  HANDLE PortHandle() const override { return handle; }
  const PortMonitorFunctions& PortFunctions() const override { return functions; }
  void ExecuteRequest(std::string_view request, TextBuffer& reply) override {
    reply.Append("reply to ");
    reply.Append(request);
  }
  DWORD SendTimeout() override { return 31000; }
  DWORD ResponseTimeout() override { return 7000; }
  FaultReport* Faults() override { return nullptr; }
  bool IsClosing() override { return closing; }
  bool JobIsDeleted() const override { return deleted; }
  void Warn(const OString& text) override { warnings.push_back(text.Narrow()); }

  HANDLE handle = nullptr;
  PortMonitorFunctions functions;
  std::atomic<bool> closing = false, deleted = false;
  std::vector<std::string> warnings;

 private:
  const OString name_;
};

/// Where the ports of a port monitor are registered.
inline OString PortsKey(const char* monitor) {
  return OString("SYSTEM\\CurrentControlSet\\Control\\Print\\Monitors\\") + monitor + "\\Ports\\";
}

/// Registers a TCP port as its port monitor does; a port that exists gets the new values.
inline void RegisterPort(const OString& name, const OString& host, const OString& address, DWORD port,
                         DWORD protocol = 1, const char* monitor = "Standard TCP/IP Port") {
  unique_registry_key key;
  RegCreateKeyExW(HKEY_LOCAL_MACHINE, (PortsKey(monitor) + name).Wide(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                  key.Put(), nullptr);
  const auto setText = [&key](LPCWSTR value, const OString& text) {
    const auto size = static_cast<DWORD>((text.Length() + 1) * static_cast<int>(sizeof(WCHAR)));
    RegSetValueExW(key.Get(), value, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.Wide()), size);
  };
  const auto setNumber = [&key](LPCWSTR value, DWORD number) {
    RegSetValueExW(key.Get(), value, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof number);
  };
  setText(TEXT("HostName"), host);
  setText(TEXT("IPAddress"), address);
  setNumber(TEXT("PortNumber"), port);
  setNumber(TEXT("Protocol"), protocol);
}

}  // namespace portwise
