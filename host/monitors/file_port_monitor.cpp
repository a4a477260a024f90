#include "host/monitors/file_port_monitor.h"

#include <utility>

#include "host/monitors/fail_slowly.h"
#include "host/monitors/monitor_table.h"

namespace portwise {

namespace {

constexpr DWORD kPauseAfterFailure = 250;  // ms

class FilePort {
 public:
  explicit FilePort(const Port&) {}
  ~FilePort() { EndDoc(); }
  FilePort(const FilePort&) = delete;
  FilePort& operator=(const FilePort&) = delete;

  bool StartDoc(const Port& registered, const Document&) {
    EndDoc();
    file_ = CreateFileW(platform::ToUtf16(registered.path).c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                        CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    return file_ != INVALID_HANDLE_VALUE;
  }

  bool Write(const BYTE* buffer, DWORD size, LPDWORD written) {
    return WriteFile(file_, buffer, size, written, nullptr) || FailSlowly(kPauseAfterFailure);
  }

  bool EndDoc() {
    HANDLE file = std::exchange(file_, INVALID_HANDLE_VALUE);
    return file == INVALID_HANDLE_VALUE || CloseHandle(file);
  }

  void SetTimeouts(const COMMTIMEOUTS&) {}

 private:
  HANDLE file_ = INVALID_HANDLE_VALUE;
};

}  // namespace

PortMonitor FilePortMonitor() {
  MONITOR2* table = MonitorTable<FilePort>::Get();
  return {table, table};
}

}  // namespace portwise
