#include "plugins/reference/block_writer.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace reference {
namespace {

constexpr DWORD kLongestBlock = 4096;

}  // namespace

void BlockWriter::Begin() {
  EndPlain();
  header_.clear();
  left_ = 0;
}

bool BlockWriter::Write(PortwiseBlock* port, const char* data, DWORD length, DWORD* written) {
  *written = 0;
  if (plainThread_ == GetCurrentThreadId()) return port->write(port, data, length, written) != 0;
  while (*written < length) {
    if (left_ == 0) {
      left_ = std::min(length - *written, kLongestBlock);
      std::array<char, 16> header;
      std::snprintf(header.data(), header.size(), "\x1b!DT%04X\r\n", static_cast<unsigned>(left_));
      header_ = header.data();
    }
    if (!SendHeader(port)) return false;
    const DWORD offered = std::min(length - *written, left_);
    DWORD taken = 0;
    const bool sent = port->write(port, data + *written, offered, &taken) != 0;
    taken = std::min(taken, offered);
    *written += taken;
    left_ -= taken;
    if (!sent) return false;
    if (taken < offered) return true;  // the rest is offered again
  }
  return true;
}

bool BlockWriter::SendHeader(PortwiseBlock* port) {
  while (!header_.empty()) {
    DWORD taken = 0;
    const bool sent = port->write(port, header_.data(), static_cast<DWORD>(header_.size()), &taken) != 0;
    header_.erase(0, taken);
    if (!sent || taken == 0) return false;
  }
  return true;
}

}  // namespace reference
