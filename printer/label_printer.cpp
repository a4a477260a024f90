#include "printer/label_printer.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <filesystem>
#include <system_error>

namespace portwise::printer {
namespace {

constexpr std::size_t kChunk = 256 * 1024;
constexpr std::size_t kMostLinks = 256;

/// How often a printer that prints slowly, or answers late, looks at what is due.
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

UniqueFd RefusingSocket(std::uint16_t port, std::uint64_t buffer) {
  UniqueFd socket = BindLoopback(port);
  LimitReceiveBuffer(socket.Get(), buffer);
  return socket;
}

}  // namespace

/// What one connection sent, sorted. Stays with neither; made for each piece that is received.
class LabelPrinter::Receiver : public CommandScanner::Sink {
 public:
  Receiver(LabelPrinter* printer, Link* link, bool statusOnly)
      : printer_(*printer), link_(*link), statusOnly_(statusOnly) {}

  void OnData(std::string_view bytes) override {
    if (!statusOnly_) link_.pages.Feed(bytes, &pages_);
  }
  void OnCommand(Command command, unsigned number, std::string_view) override {
    if (command == Command::kBlock) {
      link_.requests.Pass(number);
      return;
    }
    ++printer_.stats_.requests;
    const std::string text = command == Command::kStatus ? printer_.StatusText() : "ID portwise-printer 1";
    link_.answers.Put(text, &printer_.manner_, Clock::now());
  }
  /// The connection ended.
  void Flush() {
    link_.requests.Flush(this);
    link_.pages.Flush(&pages_);
  }

 private:
  /// Page commands are print data, and come behind what they print.
  struct Pages : CommandScanner::Sink {
    explicit Pages(Receiver* receiver) : owner(*receiver) {}
    void OnData(std::string_view bytes) override { owner.printer_.Take(&owner.link_, bytes); }
    void OnCommand(Command, unsigned number, std::string_view bytes) override {
      OnData(bytes);
      owner.printer_.engine_.AddPages(number);
    }
    Receiver& owner;
  };

  LabelPrinter& printer_;
  Link& link_;
  const bool statusOnly_;
  Pages pages_{this};
};

LabelPrinter::LabelPrinter(const Settings& settings) : settings_(settings) {
  engine_.SetSpeed(settings_.speed);
  engine_.SetPageTime(std::chrono::milliseconds(settings_.pageTime));
  if (!settings_.recordFolder.empty()) std::filesystem::create_directories(settings_.recordFolder);
  Bind();
  Ready();
}

void LabelPrinter::Bind() {
  constexpr int kAttempts = 50;
  for (int attempt = 1;; ++attempt) {
    listener_ = RefusingSocket(settings_.port, settings_.buffer);
    port_ = PortOf(listener_.Get());
    try {
      statusListener_ = BindLoopback(static_cast<std::uint16_t>(port_ + 1));
      return;
    } catch (const std::system_error&) {
      // Any pair of ports does when none was asked for.
      if (settings_.port != 0 || attempt == kAttempts) throw;
    }
  }
}

void LabelPrinter::AddDescriptors(std::vector<pollfd>* descriptors) const {
  if (listening_ && links_.size() < kMostLinks) descriptors->push_back({listener_.Get(), POLLIN, 0});
  if (statusListening_ && statusLinks_.size() < kMostLinks) descriptors->push_back({statusListener_.Get(), POLLIN, 0});
  for (const Link& link : statusLinks_) descriptors->push_back({link.socket.Get(), POLLIN, 0});
  if (!IsReading() || Room() == 0) return;
  for (const Link& link : links_) descriptors->push_back({link.socket.Get(), POLLIN, 0});
}

int LabelPrinter::WaitLimit() const {
  const auto owesAnswers = [](const Link& link) { return !link.answers.IsEmpty(); };
  const bool busy = (!engine_.IsEmpty() && !engine_.IsStopped()) ||
                    std::any_of(links_.begin(), links_.end(), owesAnswers) ||
                    std::any_of(statusLinks_.begin(), statusLinks_.end(), owesAnswers);
  return busy ? kTickMilliseconds : -1;
}

void LabelPrinter::Serve() {
  const Clock::time_point now = Clock::now();
  engine_.Run(now);
  Accept();
  std::erase_if(links_, [this](Link& link) {
    const Outcome outcome = Receive(&link);
    if (outcome == Outcome::kOpen) return false;
    Receiver(this, &link, false).Flush();
    Ended(link, outcome);
    return true;
  });
  std::erase_if(statusLinks_, [this](Link& link) { return ReceiveStatus(&link) != Outcome::kOpen; });
  TellChanges();
  const auto isBroken = [now](Link& link) { return !link.answers.Send(link.socket.Get(), now); };
  std::erase_if(statusLinks_, isBroken);
  for (Link& link : links_) isBroken(link);  // a broken one is found when it is read
}

void LabelPrinter::Ready() {
  engine_.ClearConditions();
  if (!std::exchange(listening_, true)) Listen(listener_.Get());
  if (!std::exchange(statusListening_, true)) Listen(statusListener_.Get());
}

void LabelPrinter::Refuse() {
  if (!std::exchange(listening_, false)) return;
  listener_ = UniqueFd();
  listener_ = RefusingSocket(port_, settings_.buffer);
}

void LabelPrinter::PowerOff() {
  for (const Link& link : links_) {
    ResetOnClose(link.socket.Get());
    Ended(link, Outcome::kLost);
  }
  for (const Link& link : statusLinks_) ResetOnClose(link.socket.Get());
  links_.clear();
  statusLinks_.clear();
  engine_.Clear();
  nextDrop_.reset();
  reading_ = true;
  Refuse();
  if (!std::exchange(statusListening_, false)) return;
  statusListener_ = UniqueFd();
  statusListener_ = BindLoopback(static_cast<std::uint16_t>(port_ + 1));
}

void LabelPrinter::Drop(std::uint64_t bytes) {
  if (links_.empty()) {
    nextDrop_ = bytes;
  } else {
    links_.back().dropAfter = bytes;
    if (bytes == 0) Serve();
  }
}

Stats LabelPrinter::Figures() const {
  Stats figures = stats_;
  figures.open = links_.size();
  figures.buffered = engine_.BufferedBytes();
  figures.pages = engine_.PagesPrinted();
  figures.waiting = engine_.PagesWaiting();
  return figures;
}

bool LabelPrinter::Idle() const {
  return engine_.IsEmpty() && !(listening_ && IsReadable(listener_.Get())) &&
         std::none_of(links_.begin(), links_.end(), [](const Link& link) { return IsReadable(link.socket.Get()); });
}

void LabelPrinter::Accept() {
  while (listening_ && links_.size() < kMostLinks) {
    Link link;
    link.socket = AcceptNext(listener_.Get());
    if (!link.socket) break;
    link.dropAfter = std::exchange(nextDrop_, std::nullopt);
    links_.push_back(std::move(link));
  }
  while (statusListening_ && statusLinks_.size() < kMostLinks) {
    Link link;
    link.socket = AcceptNext(statusListener_.Get());
    if (!link.socket) break;
    statusLinks_.push_back(std::move(link));
  }
}

LabelPrinter::Outcome LabelPrinter::Receive(Link* link) {
  static std::array<char, kChunk> chunk;
  if (link->dropAfter == 0u) {
    ResetOnClose(link->socket.Get());
    return Outcome::kLost;
  }
  std::size_t wanted = IsReading() ? Room() : 0;
  if (link->dropAfter) wanted = static_cast<std::size_t>(std::min<std::uint64_t>(wanted, *link->dropAfter));
  if (wanted == 0) return Outcome::kOpen;
  const ssize_t received = ::recv(link->socket.Get(), chunk.data(), wanted, MSG_DONTWAIT);
  if (received == 0) return Outcome::kClosed;
  if (received < 0) return errno == EAGAIN || errno == EINTR ? Outcome::kOpen : Outcome::kLost;

  const auto size = static_cast<std::size_t>(received);
  Receiver receiver(this, link, false);
  link->requests.Feed(std::string_view(chunk.data(), size), &receiver);
  engine_.Run(Clock::now());
  if (link->dropAfter && (*link->dropAfter -= size) == 0) {
    ResetOnClose(link->socket.Get());
    return Outcome::kLost;
  }
  return Outcome::kOpen;
}

LabelPrinter::Outcome LabelPrinter::ReceiveStatus(Link* link) {
  std::array<char, 1024> chunk;
  const ssize_t received = ::recv(link->socket.Get(), chunk.data(), chunk.size(), MSG_DONTWAIT);
  if (received == 0) return Outcome::kClosed;
  if (received < 0) return errno == EAGAIN || errno == EINTR ? Outcome::kOpen : Outcome::kLost;
  Receiver receiver(this, link, true);
  link->requests.Feed(std::string_view(chunk.data(), static_cast<std::size_t>(received)), &receiver);
  return Outcome::kOpen;
}

void LabelPrinter::Take(Link* link, std::string_view data) {
  if (!settings_.recordFolder.empty()) {
    if (!link->record) link->record = CreateRecord(settings_.recordFolder, ++recorded_);
    WriteRecord(link->record.Get(), data.data(), data.size());
  }
  link->checksum = static_cast<std::uint32_t>(
      crc32(link->checksum, reinterpret_cast<const Bytef*>(data.data()), static_cast<uInt>(data.size())));
  link->bytes += data.size();
  stats_.bytes += data.size();
  engine_.AddBytes(data.size());
}

std::string LabelPrinter::StatusText() const {
  const char state = engine_.IsStopped() ? 'S' : engine_.IsEmpty() ? 'R' : 'P';
  const std::uint64_t buffered = engine_.BufferedBytes();
  std::array<char, 128> text;
  std::snprintf(text.data(), text.size(), "ST %c %02X %" PRIu64 " %" PRIu64 " %" PRIu64 " %" PRIu64, state,
                engine_.Conditions(), settings_.buffer - std::min(settings_.buffer, buffered), settings_.buffer,
                engine_.PagesPrinted(), engine_.PagesWaiting());
  return text.data();
}

void LabelPrinter::TellChanges() {
  constexpr std::size_t kStateLength = sizeof "ST R 00" - 1;
  const std::string text = StatusText();
  if (!toldState_.empty() && text.starts_with(toldState_)) return;
  const bool first = toldState_.empty();
  toldState_ = text.substr(0, kStateLength);
  if (!unasked_ || first) return;
  for (std::vector<Link>* links : {&links_, &statusLinks_}) {
    for (Link& link : *links) link.answers.Put(text, &manner_, Clock::now());
  }
}

std::size_t LabelPrinter::Room() const {
  const std::uint64_t buffered = engine_.BufferedBytes();
  const std::uint64_t room = settings_.buffer > buffered ? settings_.buffer - buffered : 0;
  return static_cast<std::size_t>(std::min<std::uint64_t>(room, kChunk));
}

void LabelPrinter::Ended(const Link& link, Outcome outcome) {
  stats_.lastBytes = link.bytes;
  stats_.lastChecksum = link.checksum;
  if (link.bytes == 0) return;
  ++(outcome == Outcome::kClosed ? stats_.jobs : stats_.dropped);
}

}  // namespace portwise::printer
