#pragma once

#include <termios.h>
#include <windows.h>

#include <memory>
#include <optional>
#include <string>

#include "host/monitors/job_watch.h"
#include "host/monitors/line_settings.h"
#include "platform/kernel/unique_fd.h"

namespace portwise {

/// An open device that prints: a character device, or a named pipe in place of one. No call blocks longer than it says.
/// Failures leave the last error; ERROR_SEM_TIMEOUT is a wait in vain and ERROR_PRINT_CANCELLED one that the watch
/// ended; after both the device is as good as before. One thread may read while another one writes.
class DeviceFile {
 public:
  /// With `line`, the device is a serial line, which gets those settings and its own back in the end. Null with the
  /// last error: ERROR_INVALID_DATA when the path leads to something else than such a device, ERROR_BUSY when it is in
  /// use.
  static std::shared_ptr<DeviceFile> Open(const std::string& path, const LineSettings* line);
  ~DeviceFile();
  DeviceFile(const DeviceFile&) = delete;
  DeviceFile& operator=(const DeviceFile&) = delete;

  /// Writes what the device takes at once; waits for room for at most `milliseconds`.
  bool Write(const BYTE* data, DWORD size, DWORD milliseconds, JobWatch* watch, DWORD* written);

  /// Gathers what comes within `total` milliseconds and then, from the first byte on, without a gap of more than
  /// `interval`; an interval of 0 ends with the first bytes. True also when nothing came. ERROR_NOT_SUPPORTED when the
  /// device can only be written.
  bool Read(BYTE* buffer, DWORD size, DWORD total, DWORD interval, DWORD* read);

  /// Waits until the device has taken what was written, however long that takes, unless the watch ends it: what is left
  /// is then dropped as far as the system lets it. The watch tells the spooler what is waited for.
  bool Drain(JobWatch* watch);

  /// True when it was unplugged, or hung up, since it was opened.
  bool IsGone() const { return Poll(0, 0) == Readiness::Gone; }

  int Descriptor() const { return file_.Get(); }

 private:
  DeviceFile() = default;

  enum class Readiness { Ready, Gone, Silent };
  Readiness Poll(short events, long long milliseconds) const;
  /// Bytes that the system still holds; 0 when it does not say.
  int Unsent() const;
  bool SetLine(const LineSettings& line);

  platform::UniqueFd file_;
  std::optional<termios> before_;  // of a serial line
  bool isPipe_ = false;
  bool isReadable_ = false;
};

}  // namespace portwise
