#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/spooler/json.h"

namespace portwise::test {

/// A label printer at the far end of a port. It takes the simulated printer's orders: "drop N", "pause", "resume",
/// "refuse", "power off", "ready". Any thread, one at a time.
class LabelPeer {
 public:
  virtual ~LabelPeer() = default;
  LabelPeer(const LabelPeer&) = delete;
  LabelPeer& operator=(const LabelPeer&) = delete;

  /// How a "port-add" order names the place.
  virtual nlohmann::json Place() const = 0;
  virtual void Order(const std::string& order) = 0;
  /// A figure of the simulated printer; 0 where there is none.
  virtual std::uint64_t Figure(const std::string&) { return 0; }
  /// What has arrived since the last call, one text for each connection that brought something. Waits until nothing
  /// more is under way.
  virtual std::vector<std::string> Take() = 0;

 protected:
  LabelPeer() = default;
};

/// The simulated printer's program; `folder` gets its records.
std::unique_ptr<LabelPeer> MakeNetworkPeer(const std::string& folder, const std::string& arguments);
/// The reader of a pipe at `path`, as a USB printer behind its device file. What "drop N" takes away comes back by
/// itself after a while.
std::unique_ptr<LabelPeer> MakeDevicePeer(const std::string& path);

}  // namespace portwise::test
