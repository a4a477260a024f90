#include "host/monitors/device_request.h"

#include <linux/lp.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "platform/kernel/errno_map.h"

namespace portwise {

namespace {

// Requests of the kernel's USB printer driver, which has no header for them.
constexpr unsigned long kGetDeviceId = _IOC(_IOC_READ, 'P', 1, 1024);
constexpr unsigned long kSoftReset = _IOC(_IOC_NONE, 'P', 7, 0);
constexpr std::size_t kLongestDeviceId = 1024;
/// A device id begins with its whole length, high byte first.
constexpr std::size_t kDeviceIdPrefix = 2;

/// The printer's status lines as the port reads them; the two that are low when they hold are kError and kNotBusy.
enum StatusLine : int {
  kNoError = LP_PERRORP,
  kSelected = LP_PSELECD,
  kPaperOut = LP_POUTPA,
  kNoAcknowledge = LP_PACK,
  kNotBusy = LP_PBUSY,
};

/// Bits of the status byte that the request for a parallel port's status gives.
enum ParallelStatus : BYTE {
  kParallelPaperEmpty = 0x04,
  kParallelOffLine = 0x08,
  kParallelPowerOff = 0x10,
  kParallelBusy = 0x40,
  kParallelSelected = 0x80,
};

/// Bits of the transfer modes that a parallel port has.
enum ParallelMode : WORD {
  kCentronics = 0x0001,
  kCompatible = 0x0002,
  kNibble = 0x0004,
};

bool Fail(DWORD error) {
  SetLastError(error);
  return false;
}

bool FailWithErrno() {
  // A device without the request says that it is not for it.
  return Fail(errno == ENOTTY || errno == EINVAL ? ERROR_NOT_SUPPORTED : platform::ErrorOfErrno(errno));
}

/// Reads the id with its prefix into `id`, which has kLongestDeviceId bytes; false with the last error.
bool ReadDeviceId(int device, BYTE* id, std::size_t* size) {
  std::memset(id, 0, kLongestDeviceId);
  if (ioctl(device, kGetDeviceId, id) < 0) return FailWithErrno();
  *size = std::min<std::size_t>(static_cast<std::size_t>(id[0] << 8 | id[1]), kLongestDeviceId);
  return *size > kDeviceIdPrefix || Fail(ERROR_INVALID_DATA);
}

bool Answer(const DeviceRequest& request, const BYTE* data, std::size_t size) {
  *request.returned = static_cast<DWORD>(std::min<std::size_t>(size, request.outSize));
  std::copy_n(data, *request.returned, request.out);
  return true;
}

bool UsbDeviceId(int device, const DeviceRequest& request) {
  BYTE id[kLongestDeviceId];
  std::size_t size = 0;
  return ReadDeviceId(device, id, &size) && Answer(request, id, size);
}

bool SoftReset(int device, const DeviceRequest&) { return ioctl(device, kSoftReset) == 0 || FailWithErrno(); }

/// The kernel's driver has no way for a printer's own requests.
bool VendorGet(int, const DeviceRequest&) { return Fail(ERROR_NOT_SUPPORTED); }

/// A parallel port's id comes without the prefix and with a NUL.
bool ParallelDeviceId(int device, const DeviceRequest& request) {
  BYTE id[kLongestDeviceId + 1];
  std::size_t size = 0;
  if (!ReadDeviceId(device, id, &size)) return false;
  id[size] = 0;
  return Answer(request, id + kDeviceIdPrefix, size + 1 - kDeviceIdPrefix);
}

/// Nothing drives the lines of a printer that is off, but for those that its end of the cable pulls to ground.
bool IsPoweredOff(int lines) { return (lines & (kSelected | kNoError | kPaperOut | kNoAcknowledge)) == 0; }

bool ParallelPortStatus(int device, const DeviceRequest& request) {
  if (request.outSize < sizeof(BYTE)) return Fail(ERROR_INSUFFICIENT_BUFFER);
  int lines = 0;
  if (ioctl(device, LPGETSTATUS, &lines) < 0) return FailWithErrno();
  BYTE status = 0;
  if (IsPoweredOff(lines)) {
    status = kParallelPowerOff;
  } else {
    if ((lines & kPaperOut) != 0) status |= kParallelPaperEmpty;
    if ((lines & kSelected) == 0) status |= kParallelOffLine;
    if ((lines & kSelected) != 0) status |= kParallelSelected;
    if ((lines & kNotBusy) == 0) status |= kParallelBusy;
  }
  return Answer(request, &status, sizeof(status));
}

/// Of the modes that are asked for, those that the port has. A port can be read when its driver lets it be.
bool ParallelModes(int device, const DeviceRequest& request) {
  WORD modes = 0xFFFF;
  if (request.outSize < sizeof(modes)) return Fail(ERROR_INSUFFICIENT_BUFFER);
  if (request.inSize >= sizeof(modes)) std::memcpy(&modes, request.in, sizeof(modes));
  const bool readable = read(device, nullptr, 0) == 0 || errno == EAGAIN;
  modes &= static_cast<WORD>(kCentronics | kCompatible | (readable ? kNibble : 0));
  return Answer(request, reinterpret_cast<const BYTE*>(&modes), sizeof(modes));
}

struct RequestRow {
  DWORD control;
  bool (*carryOut)(int device, const DeviceRequest& request);
};

constexpr RequestRow kUsbRequests[] = {
    {0x220034, UsbDeviceId},  // IOCTL_USBPRINT_GET_1284_ID
    {0x22003C, VendorGet},    // IOCTL_USBPRINT_VENDOR_GET_COMMAND
    {0x220040, SoftReset},    // IOCTL_USBPRINT_SOFT_RESET
};

constexpr RequestRow kParallelRequests[] = {
    {0x160004, ParallelPortStatus},  // IOCTL_PAR_QUERY_INFORMATION
    {0x16000C, ParallelDeviceId},    // IOCTL_PAR_QUERY_DEVICE_ID
    {0x160024, ParallelModes},
};

template <std::size_t kCount>
bool CarryOut(const RequestRow (&rows)[kCount], int device, const DeviceRequest& request) {
  if ((!request.in && request.inSize > 0) || (!request.out && request.outSize > 0))
    return Fail(ERROR_INVALID_PARAMETER);
  for (const RequestRow& row : rows) {
    if (row.control == request.control) return row.carryOut(device, request);
  }
  return Fail(ERROR_INVALID_FUNCTION);
}

}  // namespace

bool CarryOutUsbRequest(int device, const DeviceRequest& request) { return CarryOut(kUsbRequests, device, request); }

bool CarryOutParallelRequest(int device, const DeviceRequest& request) {
  return CarryOut(kParallelRequests, device, request);
}

}  // namespace portwise
