#include "host/complain.h"

#include <unistd.h>

namespace portwise {

void Complain(const std::string& text) {
  std::string line = "portwise-spooler: " + text + "\n";
  [[maybe_unused]] ssize_t written = write(STDERR_FILENO, line.data(), line.size());
}

}  // namespace portwise
