#pragma once

#include <portwise/plugin.h>

#include <atomic>
#include <string>

namespace reference {

/// Sends print data in blocks, in which nothing that looks like a request is one: ESC !DT, four hexadecimal digits with
/// the number of bytes, CR LF, the bytes. One thread at a time: whoever writes has the connection.
///
/// A block that a lost connection or a deleted job cuts short stays so; the next job begins with a new one.
class BlockWriter {
 public:
  void Begin();
  /// What this thread writes from now on goes as it is, until EndPlain. Any thread.
  void BeginPlain() { plainThread_ = GetCurrentThreadId(); }
  void EndPlain() { plainThread_ = 0; }
  /// As the contract's PortwiseProtocolWrite.
  bool Write(PortwiseBlock* port, const char* data, DWORD length, DWORD* written);

 private:
  bool SendHeader(PortwiseBlock* port);

  std::atomic<DWORD> plainThread_ = 0;  // 0 for none
  std::string header_;                  // not yet sent
  DWORD left_ = 0;                      // of the block's bytes
};

}  // namespace reference
