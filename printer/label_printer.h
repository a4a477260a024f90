#pragma once

#include <poll.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "printer/answers.h"
#include "printer/command_scanner.h"
#include "printer/net.h"
#include "printer/print_engine.h"

namespace portwise::printer {

struct Settings {
  std::uint16_t port = 0;             ///< 0 takes any free port whose next one is free too
  std::string recordFolder;           ///< empty: nothing is kept but counts and checksums
  std::uint64_t speed = 0;            ///< bytes printed a second; 0: at once
  std::uint64_t buffer = 256 * 1024;  ///< bytes taken ahead of printing
  std::uint64_t pageTime = 0;         ///< milliseconds that a page takes
};

struct Stats {
  std::uint64_t jobs = 0;          ///< connections that sent something and were closed in order
  std::uint64_t dropped = 0;       ///< connections that ended in any other way after they sent something
  std::uint64_t bytes = 0;         ///< of print data received in all
  std::uint64_t buffered = 0;      ///< received and not printed yet
  std::size_t open = 0;            ///< connections
  std::uint64_t lastBytes = 0;     ///< of the connection that ended last
  std::uint32_t lastChecksum = 0;  ///< its CRC-32
  std::uint64_t requests = 0;      ///< for status or identity
  std::uint64_t pages = 0;         ///< printed
  std::uint64_t waiting = 0;       ///< pages received and not printed yet
};

/// A raw-TCP label printer on loopback. It reads its connections as fast as its buffer empties and keeps the print data
/// that it received, one file for each connection that sent some. Requests are answered at once, on the connection that
/// they came on; the next port takes nothing but requests, and takes them also while the buffer is full.
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

  /// Takes connections again, on the same port, and all is well.
  void Ready();
  /// Connects are refused from now on, except those for status; open connections stay.
  void Refuse();
  /// Resets every connection, loses what is buffered, and refuses, for status too.
  void PowerOff();
  /// Resets the newest connection, or the next one when none is open, once `bytes` more have been received from it.
  void Drop(std::uint64_t bytes);
  void SetReading(bool reading) { reading_ = reading; }
  /// Whether a status that changes is told to everybody who is connected.
  void SetUnasked(bool unasked) { unasked_ = unasked; }
  PrintEngine& Engine() { return engine_; }
  AnswerManner& Manner() { return manner_; }

  Stats Figures() const;
  /// True when everything that was sent so far has been received and printed.
  bool Idle() const;

 private:
  class Receiver;

  struct Link {
    UniqueFd socket;
    UniqueFd record;
    std::uint64_t bytes = 0;  // of print data
    std::uint32_t checksum = 0;
    std::optional<std::uint64_t> dropAfter;
    CommandScanner requests{{Command::kStatus, Command::kIdentity, Command::kBlock}};
    CommandScanner pages{{Command::kPages}};
    AnswerQueue answers;
  };
  enum class Outcome { kOpen, kClosed, kLost };

  void Bind();
  void Accept();
  Outcome Receive(Link* link);
  /// Requests only; everything else that comes is ignored.
  Outcome ReceiveStatus(Link* link);
  void Take(Link* link, std::string_view data);
  std::string StatusText() const;
  void TellChanges();
  bool IsReading() const { return reading_ && (engine_.Conditions() & kOffline) == 0; }
  std::size_t Room() const;
  void Ended(const Link& link, Outcome outcome);

  const Settings settings_;
  std::uint16_t port_ = 0;
  UniqueFd listener_;  // bound in every state, so that the port stays ours while connects are refused
  UniqueFd statusListener_;
  bool listening_ = false;
  bool statusListening_ = false;
  bool reading_ = true;
  bool unasked_ = false;
  std::string toldState_;  // of the status that changes, without its figures
  PrintEngine engine_;
  AnswerManner manner_;
  std::vector<Link> links_;
  std::vector<Link> statusLinks_;
  unsigned recorded_ = 0;
  std::optional<std::uint64_t> nextDrop_;
  Stats stats_;
};

}  // namespace portwise::printer
