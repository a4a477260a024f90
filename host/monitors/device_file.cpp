#include "host/monitors/device_file.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>

#include "platform/kernel/errno_map.h"
#include "platform/test_clock.h"

namespace portwise {

using platform::ClockMilliseconds;

namespace {

constexpr long long kWaitSlice = 250;  // ms until a wait looks at the job
/// Drivers that cannot be waited for say at once that they are ready, and then take or give nothing.
constexpr DWORD kNotReadyPause = 20;        // ms
constexpr DWORD kDrainSlice = 50;           // ms
constexpr long long kDrainPatience = 2000;  // ms until the job says what it waits for

bool Fail(DWORD error) {
  SetLastError(error);
  return false;
}

/// For a device, a full disk is an empty paper tray.
DWORD DeviceError(int error) { return error == ENOSPC ? ERROR_OUT_OF_PAPER : platform::ErrorOfErrno(error); }

bool IsPassing(int error) { return error == EAGAIN || error == EINTR; }

/// A device that cannot be read is opened for writing alone, and so is a pipe, of which the port would otherwise be
/// its own reader.
int OpenForPrinting(const std::string& path, bool isPipe) {
  constexpr int kFlags = O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
  const int both = isPipe ? -1 : open(path.c_str(), O_RDWR | kFlags);
  if (both >= 0 || (!isPipe && errno != EACCES && errno != EROFS)) return both;
  return open(path.c_str(), O_WRONLY | kFlags);
}

}  // namespace

std::shared_ptr<DeviceFile> DeviceFile::Open(const std::string& path, const LineSettings* line) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) {
    SetLastError(DeviceError(errno));
    return nullptr;
  }
  if (!S_ISCHR(status.st_mode) && !S_ISFIFO(status.st_mode)) {
    // Somebody's file in the place of the device is not to be written over.
    SetLastError(ERROR_INVALID_DATA);
    return nullptr;
  }
  std::shared_ptr<DeviceFile> device(new DeviceFile);
  device->isPipe_ = S_ISFIFO(status.st_mode);
  device->file_ = platform::UniqueFd(OpenForPrinting(path, device->isPipe_));
  if (!device->file_) {
    SetLastError(DeviceError(errno));
    return nullptr;
  }
  device->isReadable_ = (fcntl(device->file_.Get(), F_GETFL) & O_ACCMODE) == O_RDWR;
  // Two ports of one line would undo each other's settings, and mix their jobs.
  if (flock(device->file_.Get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
    SetLastError(ERROR_BUSY);
    return nullptr;
  }
  if (line && !device->SetLine(*line)) return nullptr;
  return device;
}

DeviceFile::~DeviceFile() {
  if (before_) tcsetattr(file_.Get(), TCSANOW, &*before_);
}

bool DeviceFile::SetLine(const LineSettings& line) {
  termios settings{};
  if (tcgetattr(file_.Get(), &settings) != 0) return Fail(errno == ENOTTY ? ERROR_INVALID_DATA : DeviceError(errno));
  before_ = settings;
  line.ApplyTo(&settings);
  if (tcsetattr(file_.Get(), TCSANOW, &settings) != 0) return Fail(DeviceError(errno));
  // The call is content when the line took any of the settings.
  termios taken{};
  if (tcgetattr(file_.Get(), &taken) != 0 || cfgetospeed(&taken) != line.speed) return Fail(ERROR_NOT_SUPPORTED);
  // What came in before nobody asked for.
  tcflush(file_.Get(), TCIFLUSH);
  return true;
}

DeviceFile::Readiness DeviceFile::Poll(short events, long long milliseconds) const {
  pollfd entry{file_.Get(), events, 0};
  const auto end = std::chrono::steady_clock::now() + platform::RealTime(milliseconds);
  int ready;
  do {
    const std::chrono::nanoseconds left = end - std::chrono::steady_clock::now();
    const auto nanoseconds = std::max(left.count(), std::chrono::nanoseconds::rep{0});
    const timespec wait{static_cast<time_t>(nanoseconds / 1000000000), static_cast<long>(nanoseconds % 1000000000)};
    ready = ppoll(&entry, 1, &wait, nullptr);
  } while (ready < 0 && errno == EINTR);
  if (ready <= 0) return Readiness::Silent;
  if ((entry.revents & (POLLERR | POLLHUP | POLLNVAL)) != 0) return Readiness::Gone;
  return Readiness::Ready;
}

bool DeviceFile::Write(const BYTE* data, DWORD size, DWORD milliseconds, JobWatch* watch, DWORD* written) {
  const long long end = ClockMilliseconds() + milliseconds;
  bool saidReady = false;
  while (size > 0) {
    const ssize_t taken = write(file_.Get(), data, size);
    if (taken > 0) {
      *written = static_cast<DWORD>(taken);
      return true;
    }
    if (taken < 0 && !IsPassing(errno)) return Fail(DeviceError(errno));
    const long long left = end - ClockMilliseconds();
    if (watch && watch->MustStop()) return Fail(ERROR_PRINT_CANCELLED);
    if (left <= 0) return Fail(ERROR_SEM_TIMEOUT);
    if (saidReady) Sleep(kNotReadyPause);
    saidReady = Poll(POLLOUT, std::min(left, kWaitSlice)) != Readiness::Silent;
  }
  return true;
}

bool DeviceFile::Read(BYTE* buffer, DWORD size, DWORD total, DWORD interval, DWORD* read) {
  if (!isReadable_) return Fail(ERROR_NOT_SUPPORTED);
  long long end = ClockMilliseconds() + total;
  while (*read < size) {
    const Readiness readiness = Poll(POLLIN, std::max(end - ClockMilliseconds(), 0LL));
    if (readiness == Readiness::Silent) break;
    const ssize_t got = ::read(file_.Get(), buffer + *read, size - *read);
    if (got > 0) {
      *read += static_cast<DWORD>(got);
      if (interval == 0) break;
      end = ClockMilliseconds() + interval;
      continue;
    }
    if (*read > 0 && !(got < 0 && IsPassing(errno))) break;
    // That is what a driver without a way back says.
    if (got < 0 && errno == EINVAL) return Fail(ERROR_NOT_SUPPORTED);
    if (got < 0 && !IsPassing(errno)) return Fail(DeviceError(errno));
    if (readiness == Readiness::Gone) return Fail(ERROR_NOT_READY);
    if (ClockMilliseconds() >= end) break;
    Sleep(kNotReadyPause);
  }
  return true;
}

int DeviceFile::Unsent() const {
  int unsent = 0;
  return ioctl(file_.Get(), isPipe_ ? FIONREAD : TIOCOUTQ, &unsent) == 0 ? unsent : 0;
}

bool DeviceFile::Drain(JobWatch* watch) {
  const long long begin = ClockMilliseconds();
  bool explained = false;
  while (true) {
    const Readiness readiness = Poll(POLLOUT, kDrainSlice);
    if (readiness == Readiness::Gone) return Fail(ERROR_NOT_READY);
    if (readiness == Readiness::Ready && Unsent() == 0) return true;
    if (watch->MustStop()) {
      if (before_) tcflush(file_.Get(), TCOFLUSH);
      return Fail(ERROR_PRINT_CANCELLED);
    }
    if (!explained && ClockMilliseconds() - begin > kDrainPatience) {
      explained = true;
      watch->Explain("the printer has not taken the end of the job yet");
    }
    if (readiness == Readiness::Ready) Sleep(kDrainSlice);
  }
}

}  // namespace portwise
