#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "plugin/monitor_interface.h"
#include "plugin/protocol_interface.h"

namespace portwise {

/// A monitor-interface plug-in whose language is one line for everything: a request, an answer, a query's answer. The
/// members say what it knows and record what it is told; a test whose code runs it on several threads reads them when
/// these are done.
class FakeMonitorInterface : public MonitorInterface {
 public:
  DWORD statusKinds = static_cast<DWORD>(ConnectionKind::Tcp);  ///< kinds of connection, joined
  bool bufferSpace = false;
  bool statusChannel = false;
  std::string request = "?\n";
  DWORD specialResult = kNoSpecialOperation;

  std::vector<PluginEvent> events;
  std::string special;  ///< "reader,type,copies,data" of the last one

  bool SupportsStatus(ConnectionKind kind) override { return (statusKinds & static_cast<DWORD>(kind)) != 0; }
  bool VetoesVerification(ConnectionKind) override { return false; }
  bool SupportsBufferSpace() override { return bufferSpace; }
  bool HasStatusChannel() override { return statusChannel; }
  void Notify(PluginEvent event) override { events.push_back(event); }

  LONG BuildRequest(void* buffer, DWORD size) override {
    if (buffer == nullptr) return static_cast<LONG>(request.size());
    const size_t length = std::min<size_t>(size, request.size());
    std::copy_n(request.data(), length, static_cast<char*>(buffer));
    return static_cast<LONG>(length);
  }
  LONG ParseResponse(const void* data, DWORD length, PluginStatus* parsed) override {
    *parsed = PluginStatus{PluginStatus::kCode, 1};
    return static_cast<LONG>(Text(data, length).find('\n') + 1);
  }
  bool StatusWithoutRequest(PluginStatus*) override { return false; }
  /// A line that begins with "!" fails.
  PluginVerdict PassData(const void* data, DWORD length) override {
    const std::string_view text = Text(data, length);
    if (text.find('\n') == std::string_view::npos) return PluginVerdict::Incomplete;
    return text.front() == '!' ? PluginVerdict::Failed : PluginVerdict::Complete;
  }
  DWORD SpecialOperation(const OString& reader, const OString& type, DWORD copies, const void* data,
                         DWORD length) override {
    special = std::string(reader.Narrow()) + "," + type.Narrow() + "," + std::to_string(copies) + "," +
              std::string(Text(data, length));
    return specialResult;
  }
  void RememberRequest(std::string_view, const char*) override {}
  void ForgetRequest() override {}

 private:
  static std::string_view Text(const void* data, DWORD length) { return {static_cast<const char*>(data), length}; }
};

/// The protocol plug-in of a port that has none.
class FakeProtocolInterface : public ProtocolInterface {
 public:
  bool IsActive() override { return false; }
  void Notify(ProtocolEvent) override {}
  bool Write(const void*, DWORD, DWORD*) override { return false; }
  bool Read(void*, DWORD, DWORD*) override { return false; }
  DWORD SpecialOperation(const OString&, const OString&, DWORD, const void*, DWORD) override {
    return kNoSpecialOperation;
  }
};

}  // namespace portwise
