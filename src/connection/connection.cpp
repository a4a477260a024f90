#include "connection/connection.h"

#include <cstring>

namespace portwise {
namespace {

constexpr DWORD kNeverSet = 0xFFFFFFFF;
constexpr COMMTIMEOUTS kNoTimeouts = {};

bool Equal(const COMMTIMEOUTS& left, const COMMTIMEOUTS& right) { return std::memcmp(&left, &right, sizeof left) == 0; }

}  // namespace

Connection::Connection(ConnectionKind kind)
    : kind_(kind), timeouts_{kNeverSet, kNeverSet, kNeverSet, kNeverSet, kNeverSet} {}

bool Connection::StartDoc(DWORD jobId, DWORD level, LPBYTE docInfo) {
  const auto startDocPort = port_->PortFunctions().pfnStartDocPort;
  if (startDocPort == nullptr) return false;
  const OString printerName = port_->PrinterName();
  // The port monitors' interface has no const; none of them writes to the name.
  return startDocPort(port_->PortHandle(), const_cast<LPWSTR>(printerName.Wide()), jobId, level, docInfo) != FALSE;
}

bool Connection::EndDoc() {
  const auto endDocPort = port_->PortFunctions().pfnEndDocPort;
  return endDocPort == nullptr || endDocPort(port_->PortHandle()) != FALSE;
}

bool Connection::Write(const void* data, DWORD length, DWORD* written) {
  *written = 0;
  const auto writePort = port_->PortFunctions().pfnWritePort;
  if (port_->PortHandle() == nullptr || writePort == nullptr) return false;
  auto* bytes = const_cast<BYTE*>(static_cast<const BYTE*>(data));
  return writePort(port_->PortHandle(), bytes, length, written) != FALSE;
}

bool Connection::Read(void* buffer, DWORD size, DWORD* read) {
  *read = 0;
  const auto readPort = port_->PortFunctions().pfnReadPort;
  if (port_->PortHandle() == nullptr || readPort == nullptr) return false;
  return readPort(port_->PortHandle(), static_cast<BYTE*>(buffer), size, read) != FALSE;
}

bool Connection::SetTimeouts(const COMMTIMEOUTS& timeouts) {
  const auto setPortTimeOuts = port_->PortFunctions().pfnSetPortTimeOuts;
  if (port_->PortHandle() == nullptr || setPortTimeOuts == nullptr) return false;
  if (Equal(timeouts, timeouts_) || Equal(timeouts, kNoTimeouts)) return true;
  timeouts_ = timeouts;
  return setPortTimeOuts(port_->PortHandle(), &timeouts_, 0) != FALSE;
}

void Connection::GetTimeouts(COMMTIMEOUTS* timeouts) const {
  if (timeouts_.WriteTotalTimeoutMultiplier != kNeverSet) {
    *timeouts = timeouts_;
  } else {
    GetDefaultTimeouts(timeouts);
  }
}

}  // namespace portwise
