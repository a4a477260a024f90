#include "tests/support/label_peer.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>

#include "platform/kernel/unique_fd.h"
#include "tests/support/printer_program.h"
#include "tests/support/spooler_home.h"

namespace portwise::test {
namespace {

using Clock = std::chrono::steady_clock;

class NetworkPeer : public LabelPeer {
 public:
  NetworkPeer(const std::string& folder, const std::string& arguments)
      : folder_(folder), printer_("--record " + folder + " " + arguments) {}

  nlohmann::json Place() const override { return {{"host", "127.0.0.1"}, {"port", printer_.Port()}}; }

  void Order(const std::string& order) override {
    const std::string answer = printer_.Order(order);
    EXPECT_TRUE(answer.starts_with("ok")) << order << ": " << answer;
  }

  std::uint64_t Figure(const std::string& name) override {
    const std::string figures = " " + printer_.Order("stats");
    const auto at = figures.find(" " + name + "=");
    return at == figures.npos ? 0 : std::stoull(figures.substr(at + name.size() + 2));
  }

  std::vector<std::string> Take() override {
    Order("wait-idle");
    std::vector<std::string> records;
    for (;; ++taken_) {
      char name[16];
      std::snprintf(name, sizeof name, "/%04u.prn", taken_ + 1);
      if (!std::filesystem::exists(folder_ + name)) return records;
      records.push_back(ReadFile(folder_ + name));
    }
  }

 private:
  const std::string folder_;
  PrinterProgram printer_;
  unsigned taken_ = 0;
};

class DevicePeer : public LabelPeer {
 public:
  explicit DevicePeer(const std::string& path) : path_(path) {
    EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
    thread_ = std::jthread([this](const std::stop_token& stop) { Serve(stop); });
  }

  nlohmann::json Place() const override { return {{"device", path_}, {"kind", "usb"}}; }

  void Order(const std::string& order) override {
    const std::lock_guard lock(mutex_);
    if (order == "pause" || order == "resume") reading_ = order == "resume";
    if (order == "refuse" || order == "power off") present_ = false;
    if (order == "ready") present_ = reading_ = true;
    if (order.starts_with("drop ")) dropAfter_ = std::stoull(order.substr(5));
    if (!present_) Close();
  }

  std::vector<std::string> Take() override {
    // What is in the pipe is read within a turn of the thread or two.
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    const std::lock_guard lock(mutex_);
    std::erase(records_, "");
    std::vector<std::string> taken;
    std::swap(taken, records_);
    newRecord_ = true;
    return taken;
  }

 private:
  void Serve(const std::stop_token& stop) {
    while (!stop.stop_requested()) {
      if (!Step()) std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
  }

  /// False when there was nothing to do.
  bool Step() {
    constexpr std::chrono::milliseconds kAway{60};
    char chunk[4096];
    const std::lock_guard lock(mutex_);
    if (!present_ || Clock::now() < awayUntil_) return false;
    if (!pipe_) pipe_ = platform::UniqueFd(open(path_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!reading_) return false;
    const std::uint64_t wanted = std::min<std::uint64_t>(sizeof chunk, dropAfter_.value_or(sizeof chunk));
    const ssize_t got = wanted > 0 ? read(pipe_.Get(), chunk, wanted) : 0;
    // Nothing is read when nobody writes any more.
    if (got == 0 && wanted > 0) newRecord_ = true;
    if (got > 0) Append(chunk, static_cast<std::size_t>(got));
    if (got > 0 && dropAfter_) *dropAfter_ -= static_cast<std::uint64_t>(got);
    // Before the first byte there must be something to drop.
    int waiting = 1;
    if (dropAfter_ == 0u && records_.empty()) ioctl(pipe_.Get(), FIONREAD, &waiting);
    if (dropAfter_ == 0u && waiting > 0) {
      dropAfter_.reset();
      awayUntil_ = Clock::now() + kAway;
      Close();
      // It comes back as another device: who still writes to the old one learns of it, however late.
      EXPECT_EQ(unlink(path_.c_str()), 0);
      EXPECT_EQ(mkfifo(path_.c_str(), 0600), 0);
    }
    return got > 0;
  }

  void Append(const char* bytes, std::size_t size) {
    if (newRecord_ || records_.empty()) records_.emplace_back();
    newRecord_ = false;
    records_.back().append(bytes, size);
  }

  void Close() {
    pipe_ = platform::UniqueFd();
    newRecord_ = true;
  }

  const std::string path_;
  std::mutex mutex_;
  platform::UniqueFd pipe_;
  bool present_ = true;
  bool reading_ = true;
  bool newRecord_ = true;
  std::optional<std::uint64_t> dropAfter_;
  Clock::time_point awayUntil_{};
  std::vector<std::string> records_;
  std::jthread thread_;
};

}  // namespace

std::unique_ptr<LabelPeer> MakeNetworkPeer(const std::string& folder, const std::string& arguments) {
  return std::make_unique<NetworkPeer>(folder, arguments);
}

std::unique_ptr<LabelPeer> MakeDevicePeer(const std::string& path) { return std::make_unique<DevicePeer>(path); }

}  // namespace portwise::test
