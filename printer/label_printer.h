#pragma once

#include <poll.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "printer/net.h"

namespace portwise::printer {

struct Settings {
  std::uint16_t port = 0;             ///< 0 takes any free port
  std::string recordFolder;           ///< empty: nothing is kept but counts and checksums
  std::uint64_t speed = 0;            ///< bytes printed a second; 0: at once
  std::uint64_t buffer = 256 * 1024;  ///< bytes taken ahead of printing
};

struct Stats {
  std::uint64_t jobs = 0;          ///< connections that sent something and were closed in order
  std::uint64_t dropped = 0;       ///< connections that ended in any other way after they sent something
  std::uint64_t bytes = 0;         ///< received in all
  std::uint64_t buffered = 0;      ///< received and not printed yet
  std::size_t open = 0;            ///< connections
  std::uint64_t lastBytes = 0;     ///< of the connection that ended last
  std::uint32_t lastChecksum = 0;  ///< its CRC-32
};

/// A raw-TCP label printer on loopback. It reads its connections as fast as its buffer empties and keeps what it
/// received, one file a connection.
///
/// One thread. Its descriptors are polled by the caller, who then calls Serve. Failures of the system, such as a
/// record that cannot be written, are std::system_error.
class LabelPrinter {
 public:
  using Clock = std::chrono::steady_clock;

  /// Binds and listens; makes the record folder when it is missing.
  explicit LabelPrinter(const Settings& settings);

  std::uint16_t Port() const { return port_; }

  void AddDescriptors(std::vector<pollfd>* descriptors) const;
  /// Milliseconds after which Serve is to be called in any case; -1 for never.
  int WaitLimit() const;
  /// Prints, accepts and receives as much as can be done now, without waiting.
  void Serve();

  /// Takes connections again, on the same port.
  void Ready();
  /// Connects are refused from now on; open connections stay.
  void Refuse();
  /// Resets every connection, loses what is buffered, and refuses.
  void PowerOff();
  /// Resets the newest connection, or the next one when none is open, once `bytes` more have been received from it.
  void Drop(std::uint64_t bytes);
  void SetReading(bool reading) { reading_ = reading; }
  void SetSpeed(std::uint64_t bytesPerSecond);

  Stats Figures() const;
  /// True when everything that was sent so far has been received and printed.
  bool Idle() const;

 private:
  struct Link {
    UniqueFd socket;
    UniqueFd record;
    std::uint64_t bytes = 0;
    std::uint32_t checksum = 0;
    std::optional<std::uint64_t> dropAfter;
  };
  enum class Outcome { kOpen, kClosed, kLost };

  void Print();
  void Accept();
  Outcome Receive(Link* link);
  std::size_t Room() const;
  void Ended(const Link& link, Outcome outcome);

  const Settings settings_;
  std::uint16_t port_ = 0;
  UniqueFd listener_;  // bound in every state, so that the port stays ours while connects are refused
  bool listening_ = false;
  bool reading_ = true;
  std::uint64_t speed_;
  Clock::time_point printedUntil_;
  std::vector<Link> links_;
  unsigned accepted_ = 0;
  std::optional<std::uint64_t> nextDrop_;
  Stats stats_;
};

}  // namespace portwise::printer
