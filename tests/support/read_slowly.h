#pragma once

#include <unistd.h>

#include <chrono>
#include <string>
#include <thread>

#include "tests/support/peer_socket.h"

namespace portwise::test {

/// Reads `size` bytes in small pieces, with pauses; less when nothing more comes.
inline std::string ReadSlowly(int file, std::size_t size) {
  std::string data;
  char piece[3001];
  while (data.size() < size && peer::Readable(file, 3000)) {
    const ssize_t got = read(file, piece, sizeof piece);
    if (got <= 0) break;
    data.append(piece, static_cast<std::size_t>(got));
    if (data.size() % 7 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return data;
}

}  // namespace portwise::test
