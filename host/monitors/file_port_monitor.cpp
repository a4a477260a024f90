#include "host/monitors/file_port_monitor.h"

#include <utility>

#include "host/monitors/monitor_table.h"

namespace portwise {

namespace {

class FilePort {
 public:
  explicit FilePort(Port port) : port_(std::move(port)) {}
  ~FilePort() { EndDoc(); }
  FilePort(const FilePort&) = delete;
  FilePort& operator=(const FilePort&) = delete;

  bool StartDoc() {
    EndDoc();
    file_ = CreateFileW(platform::ToUtf16(port_.file).c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                        FILE_ATTRIBUTE_NORMAL, nullptr);
    return file_ != INVALID_HANDLE_VALUE;
  }

  bool Write(const BYTE* buffer, DWORD size, LPDWORD written) {
    return WriteFile(file_, buffer, size, written, nullptr);
  }

  bool Read(BYTE*, DWORD, LPDWORD) {
    SetLastError(ERROR_NOT_SUPPORTED);
    return false;
  }

  bool EndDoc() {
    HANDLE file = std::exchange(file_, INVALID_HANDLE_VALUE);
    return file == INVALID_HANDLE_VALUE || CloseHandle(file);
  }

  void SetTimeouts(const COMMTIMEOUTS&) {}

 private:
  Port port_;
  HANDLE file_ = INVALID_HANDLE_VALUE;
};

}  // namespace

PortMonitor FilePortMonitor() {
  MONITOR2* table = MonitorTable<FilePort>::Get();
  return {table, table};
}

}  // namespace portwise
