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
  DWORD vetoedKinds = 0;
  bool bufferSpace = false;
  bool statusChannel = false;
  std::string request = "?\n";
  PluginStatus status{PluginStatus::kCode, 1};  ///< what every answer means
  bool knowsWithoutRequest = false;
  DWORD specialResult = kNoSpecialOperation;

  std::vector<PluginEvent> events;
  std::string remembered;            ///< the request in the block
  std::string rememberedParameters;  ///< "-" for none
  std::string special;               ///< "reader,type,copies,data" of the last one

  bool SupportsStatus(ConnectionKind kind) override { return (statusKinds & static_cast<DWORD>(kind)) != 0; }
  bool VetoesVerification(ConnectionKind kind) override { return (vetoedKinds & static_cast<DWORD>(kind)) != 0; }
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
    const size_t end = Text(data, length).find('\n');
    if (end == std::string_view::npos) return 0;
    *parsed = status;
    return static_cast<LONG>(end + 1);
  }
  bool StatusWithoutRequest(PluginStatus* known) override {
    if (knowsWithoutRequest) *known = status;
    return knowsWithoutRequest;
  }
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
  void RememberRequest(std::string_view bytes, const char* parameters) override {
    remembered = bytes;
    rememberedParameters = parameters != nullptr ? parameters : "-";
  }
  void ForgetRequest() override {
    remembered.clear();
    rememberedParameters.clear();
  }

 private:
  static std::string_view Text(const void* data, DWORD length) { return {static_cast<const char*>(data), length}; }
};

/// A protocol plug-in that keeps what is written and delivers what it is told to.
class FakeProtocolInterface : public ProtocolInterface {
 public:
  bool active = false;
  bool fails = false;      ///< writing
  DWORD mostAtOnce = ~0u;  ///< bytes that a write takes
  std::string toRead;      ///< not yet read
  DWORD specialResult = kNoSpecialOperation;

  std::vector<ProtocolEvent> events;
  std::string written;
  int writes = 0;

  bool IsActive() override { return active; }
  void Notify(ProtocolEvent event) override { events.push_back(event); }
  bool Write(const void* data, DWORD length, DWORD* taken) override {
    ++writes;
    *taken = fails ? 0 : std::min(length, mostAtOnce);
    written.append(static_cast<const char*>(data), *taken);
    return !fails;
  }
  bool Read(void* buffer, DWORD size, DWORD* read) override {
    *read = static_cast<DWORD>(std::min<size_t>(size, toRead.size()));
    std::copy_n(toRead.data(), *read, static_cast<char*>(buffer));
    toRead.erase(0, *read);
    return *read > 0;
  }
  DWORD SpecialOperation(const OString&, const OString&, DWORD, const void*, DWORD) override { return specialResult; }
};

}  // namespace portwise
