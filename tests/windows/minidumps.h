#pragma once

namespace portwise::platform {

/// Minidumps of this process are only as long as one, since Wine takes three seconds for each, but for a scope where
/// they are whole.
class WholeMinidumps {
 public:
  WholeMinidumps();
  ~WholeMinidumps();
  WholeMinidumps(const WholeMinidumps&) = delete;
  WholeMinidumps& operator=(const WholeMinidumps&) = delete;
};

}  // namespace portwise::platform
