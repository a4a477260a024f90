#pragma once

#include <windows.h>

#include <string_view>

#include "monitor/printer_writer.h"

namespace portwise {

class PortContext;

/// Bytes that a request prints: a document of their own, or within a job a part of the job's. Delivered within the send
/// timeout and before the port's close, or lost with a warning, one for all that are lost because of the close. For one
/// packet.
class RequestPacket {
 public:
  RequestPacket(PortContext& port, std::string_view bytes) : port_(port), bytes_(bytes) {}

  /// Any thread. Throws what the connection or a plug-in threw, once the loss is told.
  void Print();

 private:
  void Deliver();
  bool AwaitRoom();

  PortContext& port_;
  const std::string_view bytes_;
  size_t done_ = 0;
  WriteOutcome outcome_;
};

}  // namespace portwise
