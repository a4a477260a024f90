#include "monitor/request_packet.h"

#include <exception>

#include "monitor/port_context.h"
#include "monitor/request_document.h"

namespace portwise {
namespace {

constexpr DWORD kPause = 100;  // ms between looks for room

}  // namespace

void RequestPacket::Print() {
  if (bytes_.empty()) return;
  try {
    Deliver();
  } catch (...) {
    outcome_.failure = std::current_exception();
  }
  if (done_ == 0 && port_.IsClosing()) {
    port_.WarnOfClose();
  } else if (done_ < bytes_.size() && !port_.Writer().IsSilenced()) {
    port_.Warn("The printer did not take the last " + OString::FromUnsigned(bytes_.size() - done_) +
               " bytes that a request had to print.");
  }
  if (outcome_.failure) std::rethrow_exception(outcome_.failure);
}

void RequestPacket::Deliver() {
  // Nothing may come between a question to the printer and its answer.
  if (port_.Documents().IsAskingPrinter() || !AwaitRoom()) return;
  RequestDocument document(port_);
  if (!document.HasBegun()) return;
  done_ = port_.Writer().WriteRequest(bytes_, &outcome_);
  try {
    if (done_ > 0) port_.StatusWatch().Touch();
    // Within a job the block is the job's, and has no data of its own yet.
    if (done_ == bytes_.size() && document.IsOwn()) port_.Pages().CloseBlock();
  } catch (...) {
    outcome_.failure = std::current_exception();
  }
  document.End();
}

/// Waits within the send timeout until the printer has room, unless the port is being closed. The status thread that is
/// asked for it needs the documents' lock, so nobody may hold that meanwhile.
bool RequestPacket::AwaitRoom() {
  const DWORD start = GetTickCount();
  while (!port_.IsClosing()) {
    if (port_.Flow().Admits(bytes_.size(), &outcome_)) return true;
    if (port_.Writer().IsSilenced() || outcome_.Failed() || GetTickCount() - start > port_.SendTimeout()) return false;
    Sleep(kPause);
  }
  return false;
}

}  // namespace portwise
