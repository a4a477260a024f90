#pragma once

#include <windows.h>

namespace portwise {

/// Requests that the driver of a parallel port takes, as the control of a port monitor's GetPrinterDataFromPort.
constexpr DWORD kParallelQueryStatus = 0x160004;    ///< out: the status byte
constexpr DWORD kParallelQueryDeviceId = 0x16000C;  ///< out: the IEEE 1284 device id
constexpr DWORD kParallelGetModes = 0x160014;       ///< out: the modes in use, a word to read and one to write
constexpr DWORD kParallelQueryModes = 0x160024;     ///< in: a word of modes; out: those of them that the port has

}  // namespace portwise
