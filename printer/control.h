#pragma once

#include <poll.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "printer/label_printer.h"
#include "printer/net.h"

namespace portwise::printer {

/// The printer's control port: a client writes one order a line and gets one line back, "ok ..." or "error ...". An
/// order is carried out before the next of the same client is read; `wait-idle` is answered once the printer is idle.
///
/// One thread, polled by the caller like the printer.
class Control {
 public:
  /// Listens on a loopback port; 0 takes any free one. `printer` must outlive the object.
  Control(LabelPrinter* printer, std::uint16_t port);

  std::uint16_t Port() const { return port_; }

  void AddDescriptors(std::vector<pollfd>* descriptors) const;
  /// Accepts, reads and answers as much as can be done now.
  void Serve();

  /// The orders with what they do, a line each.
  static std::string Help();

 private:
  struct Client {
    UniqueFd socket;
    std::string input;
    bool waitsForIdle = false;
  };

  bool Serve(Client* client);
  bool Receive(Client* client);
  bool CarryOut(Client* client, std::string_view line);

  LabelPrinter* const printer_;
  UniqueFd listener_;
  std::uint16_t port_;
  std::vector<Client> clients_;
};

}  // namespace portwise::printer
