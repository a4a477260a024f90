#pragma once

#include <portwise/plugin.h>

#include <string>

namespace reference {

/// Sends print data in blocks, in which nothing that looks like a request is one: ESC !DT, four hexadecimal digits with
/// the number of bytes, CR LF, the bytes. One thread at a time: whoever writes has the connection.
///
/// A block that a lost connection or a deleted job cuts short stays so; the next job begins with a new one.
class BlockWriter {
 public:
  void Begin();
  /// What is written from now on goes as it is, or in blocks again.
  void SetPlain(bool plain) { plain_ = plain; }
  /// As the contract's PortwiseProtocolWrite.
  bool Write(PortwiseBlock* port, const char* data, DWORD length, DWORD* written);

 private:
  bool SendHeader(PortwiseBlock* port);

  bool plain_ = false;
  std::string header_;  // not yet sent
  DWORD left_ = 0;      // of the block's bytes
};

}  // namespace reference
