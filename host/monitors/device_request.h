#pragma once

#include <windows.h>

namespace portwise {

/// A numbered request to the device behind a port, as MONITOR2 passes it.
struct DeviceRequest {
  DWORD control;  ///< a device I/O control code
  const BYTE* in;
  DWORD inSize;
  BYTE* out;
  DWORD outSize;
  DWORD* returned;  ///< bytes put to `out`
};

/// Carry out a request on the open device of a USB printer, or of a parallel port: the device id, a soft reset, the
/// port's status and what the port can do. False with ERROR_INVALID_FUNCTION for a request that there is not,
/// ERROR_INSUFFICIENT_BUFFER when the answer has a fixed size and does not fit, otherwise the kernel's error. A device
/// id that does not fit is cut off. Any thread.
bool CarryOutUsbRequest(int device, const DeviceRequest& request);
bool CarryOutParallelRequest(int device, const DeviceRequest& request);

}  // namespace portwise
