#include "printer/label_printer.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>

namespace portwise::printer {
namespace {

constexpr std::size_t kChunk = 256 * 1024;
constexpr std::size_t kMostLinks = 256;

/// How often a printer that prints slowly looks at its buffer.
constexpr int kTickMilliseconds = 10;

/// The system's own receive buffer hides how much the printer takes, so it is kept no larger than the printer's.
void LimitReceiveBuffer(int socket, std::uint64_t buffer) {
  const int size = static_cast<int>(std::min<std::uint64_t>(buffer, kChunk));
  ::setsockopt(socket, SOL_SOCKET, SO_RCVBUF, &size, sizeof size);
}

/// Closing then sends a reset, as a printer that loses its power never says goodbye.
void ResetOnClose(int socket) {
  const linger none = {1, 0};
  ::setsockopt(socket, SOL_SOCKET, SO_LINGER, &none, sizeof none);
}

UniqueFd CreateRecord(const std::string& folder, unsigned number) {
  std::array<char, 16> name;
  std::snprintf(name.data(), name.size(), "%04u.prn", number);
  const std::filesystem::path path = std::filesystem::path(folder) / name.data();
  UniqueFd record(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
  if (!record) ThrowErrno(path.c_str());
  return record;
}

void WriteRecord(int record, const char* data, std::size_t size) {
  while (size > 0) {
    const ssize_t written = ::write(record, data, size);
    if (written < 0 && errno != EINTR) ThrowErrno("record");
    if (written < 0) continue;
    data += written;
    size -= static_cast<std::size_t>(written);
  }
}

}  // namespace

LabelPrinter::LabelPrinter(const Settings& settings)
    : settings_(settings), speed_(settings.speed), printedUntil_(Clock::now()) {
  if (!settings_.recordFolder.empty()) std::filesystem::create_directories(settings_.recordFolder);
  listener_ = BindLoopback(settings_.port);
  port_ = PortOf(listener_.Get());
  Ready();
}

void LabelPrinter::AddDescriptors(std::vector<pollfd>* descriptors) const {
  if (listening_ && links_.size() < kMostLinks) descriptors->push_back({listener_.Get(), POLLIN, 0});
  if (!reading_ || Room() == 0) return;
  for (const Link& link : links_) descriptors->push_back({link.socket.Get(), POLLIN, 0});
}

int LabelPrinter::WaitLimit() const { return stats_.buffered > 0 ? kTickMilliseconds : -1; }

void LabelPrinter::Serve() {
  Print();
  Accept();
  std::erase_if(links_, [this](Link& link) {
    const Outcome outcome = Receive(&link);
    if (outcome != Outcome::kOpen) Ended(link, outcome);
    return outcome != Outcome::kOpen;
  });
}

void LabelPrinter::Ready() {
  if (listening_) return;
  LimitReceiveBuffer(listener_.Get(), settings_.buffer);
  Listen(listener_.Get());
  listening_ = true;
}

void LabelPrinter::Refuse() {
  if (!listening_) return;
  listener_ = UniqueFd();
  listener_ = BindLoopback(port_);
  listening_ = false;
}

void LabelPrinter::PowerOff() {
  for (const Link& link : links_) {
    ResetOnClose(link.socket.Get());
    Ended(link, Outcome::kLost);
  }
  links_.clear();
  stats_.buffered = 0;
  nextDrop_.reset();
  reading_ = true;
  Refuse();
}

void LabelPrinter::Drop(std::uint64_t bytes) {
  if (links_.empty()) {
    nextDrop_ = bytes;
  } else {
    links_.back().dropAfter = bytes;
    if (bytes == 0) Serve();
  }
}

void LabelPrinter::SetSpeed(std::uint64_t bytesPerSecond) {
  Print();
  speed_ = bytesPerSecond;
}

Stats LabelPrinter::Figures() const {
  Stats figures = stats_;
  figures.open = links_.size();
  return figures;
}

bool LabelPrinter::Idle() const {
  return stats_.buffered == 0 && !(listening_ && IsReadable(listener_.Get())) &&
         std::none_of(links_.begin(), links_.end(), [](const Link& link) { return IsReadable(link.socket.Get()); });
}

/// Moves the clock on only by the time that whole bytes took, so that slow printing does not lose fractions.
void LabelPrinter::Print() {
  const Clock::time_point now = Clock::now();
  if (speed_ == 0 || stats_.buffered == 0) {
    stats_.buffered = 0;
    printedUntil_ = now;
    return;
  }
  const std::chrono::duration<double> elapsed = now - printedUntil_;
  const auto printable = static_cast<std::uint64_t>(elapsed.count() * static_cast<double>(speed_));
  const std::uint64_t printed = std::min(printable, stats_.buffered);
  stats_.buffered -= printed;
  const std::chrono::duration<double> spent(static_cast<double>(printed) / static_cast<double>(speed_));
  printedUntil_ += std::chrono::duration_cast<Clock::duration>(spent);
}

void LabelPrinter::Accept() {
  while (listening_ && links_.size() < kMostLinks) {
    Link link;
    link.socket = AcceptNext(listener_.Get());
    if (!link.socket) return;
    ++accepted_;
    if (!settings_.recordFolder.empty()) link.record = CreateRecord(settings_.recordFolder, accepted_);
    link.dropAfter = std::exchange(nextDrop_, std::nullopt);
    links_.push_back(std::move(link));
  }
}

LabelPrinter::Outcome LabelPrinter::Receive(Link* link) {
  static std::array<char, kChunk> chunk;
  if (link->dropAfter == 0u) {
    ResetOnClose(link->socket.Get());
    return Outcome::kLost;
  }
  std::size_t wanted = reading_ ? Room() : 0;
  if (link->dropAfter) wanted = static_cast<std::size_t>(std::min<std::uint64_t>(wanted, *link->dropAfter));
  if (wanted == 0) return Outcome::kOpen;
  const ssize_t received = ::recv(link->socket.Get(), chunk.data(), wanted, MSG_DONTWAIT);
  if (received == 0) return Outcome::kClosed;
  if (received < 0) return errno == EAGAIN || errno == EINTR ? Outcome::kOpen : Outcome::kLost;

  const auto size = static_cast<std::size_t>(received);
  if (link->record) WriteRecord(link->record.Get(), chunk.data(), size);
  link->checksum = static_cast<std::uint32_t>(
      crc32(link->checksum, reinterpret_cast<const Bytef*>(chunk.data()), static_cast<uInt>(size)));
  link->bytes += size;
  stats_.bytes += size;
  if (speed_ > 0) stats_.buffered += size;
  if (link->dropAfter && (*link->dropAfter -= size) == 0) {
    ResetOnClose(link->socket.Get());
    return Outcome::kLost;
  }
  return Outcome::kOpen;
}

std::size_t LabelPrinter::Room() const {
  if (speed_ == 0) return kChunk;
  const std::uint64_t room = settings_.buffer > stats_.buffered ? settings_.buffer - stats_.buffered : 0;
  return static_cast<std::size_t>(std::min<std::uint64_t>(room, kChunk));
}

void LabelPrinter::Ended(const Link& link, Outcome outcome) {
  stats_.lastBytes = link.bytes;
  stats_.lastChecksum = link.checksum;
  if (link.bytes == 0) return;
  ++(outcome == Outcome::kClosed ? stats_.jobs : stats_.dropped);
}

}  // namespace portwise::printer
