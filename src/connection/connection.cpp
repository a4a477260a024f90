#include "connection/connection.h"

#include <algorithm>
#include <cstring>

#include "xpml/text_buffer.h"

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
  const OString printerName = port_->JobPrinter();
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

LONG Connection::Control(DWORD code, const char* text, void* buffer, DWORD size) {
  switch (code) {
    case CONTROL_XPML_REQUEST: {
      if (!text) return 0;
      TextBuffer reply;
      port_->ExecuteRequest(text, reply);
      if (buffer) std::copy_n(reply.Data(), std::min<size_t>(reply.Length(), size), static_cast<char*>(buffer));
      return static_cast<LONG>(reply.Length());
    }
    case CONTROL_SEND_TIMEOUT:
      return static_cast<LONG>(port_->SendTimeout());
    case CONTROL_RESPONSE_TIMEOUT:
      return static_cast<LONG>(port_->ResponseTimeout());
    default:
      return 0;
  }
}

DWORD Connection::RequestDevice(DWORD request, const void* in, DWORD inSize, void* out, DWORD outSize,
                                bool* done) const {
  const auto getData = port_->PortFunctions().pfnGetPrinterDataFromPort;
  DWORD returned = 0;
  // Bytes, whatever the types of the interface say.
  *done = port_->PortHandle() != nullptr && getData != nullptr &&
          getData(port_->PortHandle(), request, nullptr, static_cast<LPWSTR>(const_cast<void*>(in)), inSize,
                  static_cast<LPWSTR>(out), outSize, &returned) != FALSE;
  return *done ? returned : 0;
}

void Connection::GetTimeouts(COMMTIMEOUTS* timeouts) const {
  if (timeouts_.WriteTotalTimeoutMultiplier != kNeverSet) {
    *timeouts = timeouts_;
  } else {
    GetDefaultTimeouts(timeouts);
  }
}

}  // namespace portwise
