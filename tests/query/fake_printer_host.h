#pragma once

#include <algorithm>
#include <cstring>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "query/query_host.h"
#include "tests/support/fake_plugins.h"

namespace portwise {

using Events = std::vector<std::string>;

/// A printer that sends pieces of an answer, each some milliseconds after the one before.
struct ScriptedConnection final : Connection {
  explicit ScriptedConnection(Events& log) : Connection(ConnectionKind::Tcp), events(log) {}

  bool Open() override { return events.push_back("open"), true; }
  bool Write(const void* data, DWORD length, DWORD* written) override {
    const std::string bytes(static_cast<const char*>(data), length);
    *written = 0;
    if (onWrite) return onWrite(bytes, written);
    *written = length;
    return events.push_back("W:" + bytes), true;
  }
  bool Read(void* buffer, DWORD size, DWORD* read) override {
    *read = 0;
    if (pieces.empty() || pieces.front().first > 0) {
      Sleep(50);
      if (!pieces.empty()) pieces.front().first -= std::min<DWORD>(pieces.front().first, 50);
      return false;
    }
    std::string& bytes = pieces.front().second;
    *read = std::min(size, static_cast<DWORD>(bytes.size()));
    std::memcpy(buffer, bytes.data(), *read);
    bytes.erase(0, *read);
    if (bytes.empty()) pieces.pop_front();
    return true;
  }
  void GetDefaultTimeouts(COMMTIMEOUTS* defaults) const override { *defaults = {200, 1, 1000, 2, 3}; }
  bool SetTimeouts(const COMMTIMEOUTS& given) override { return timeouts = given, false; }
  DWORD GetStatus(DWORD mask) override { return connected ? 0 : mask & STATUS_DISCONNECTED; }

  Events& events;
  std::deque<std::pair<DWORD, std::string>> pieces;
  std::function<bool(const std::string&, DWORD*)> onWrite;
  COMMTIMEOUTS timeouts = {};
  bool connected = true;
};

/// A port with such a printer and both sides of a plug-in. `events` tells what happened, in order: "W:" and bytes that
/// the connection was given, "P:" the protocol plug-in, "open", "m23" and "p16" for notifications, "+" and what the
/// plug-in shall remember, "-" when it forgets.
struct FakePrinterHost final : QueryHost, FakeMonitorInterface, FakeProtocolInterface {
  Connection& PrinterConnection() override { return connection; }
  MonitorInterface& Plugin() override { return *this; }
  ProtocolInterface& Protocol() override { return *this; }
  DWORD SendTimeout() override { return sendTimeout; }
  DWORD ResponseTimeout() override { return responseTimeout; }
  bool IsStopping() override { return false; }
  bool FollowsStatus() override { return true; }
  void SetStatusOffline() override { events.push_back("offline"); }
  void Warn(const OString& text) override { warnings.push_back(text.InCodePage(kCodePageOneByte)); }

  void Notify(PluginEvent event) override {
    const std::string text = "m" + std::to_string(static_cast<DWORD>(event));
    if (events.back() != text) events.push_back(text);
  }
  PluginVerdict PassData(const void* data, DWORD length) override {
    return verdict ? verdict(std::string(static_cast<const char*>(data), length)) : PluginVerdict::None;
  }
  void RememberRequest(std::string_view bytes, const char* parameters) override {
    events.push_back("+" + std::string(bytes) + "|" + (parameters ? parameters : "none"));
  }
  void ForgetRequest() override { events.push_back("-"); }

  bool IsActive() override { return protocolActive; }
  void Notify(ProtocolEvent event) override { events.push_back("p" + std::to_string(static_cast<DWORD>(event))); }
  /// Takes half of what it is offered; the first write fails.
  bool Write(const void* data, DWORD length, DWORD* written) override {
    events.push_back("P:" + std::string(static_cast<const char*>(data), length));
    *written = length / 2;
    return events[events.size() - 2] == events.back();
  }
  bool Read(void* buffer, DWORD size, DWORD* read) override { return connection.Read(buffer, size, read); }

  Events events, warnings;
  ScriptedConnection connection{events};
  std::function<PluginVerdict(const std::string&)> verdict;
  DWORD sendTimeout = 2000, responseTimeout = 4000;
  bool protocolActive = false;
};

}  // namespace portwise
