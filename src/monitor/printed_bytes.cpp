#include "monitor/printed_bytes.h"

namespace portwise {

void PrintedBytes::BeginJob() {
  const OScopedLock lock(lock_);
  sent_ = settled_ = doubtful_ = atEnd_ = 0;
}

void PrintedBytes::Add(size_t bytes) {
  const OScopedLock lock(lock_);
  sent_ += bytes;
}

ULONGLONG PrintedBytes::Sent() const {
  const OScopedLock lock(lock_);
  return sent_;
}

void PrintedBytes::NoteReady() {
  const OScopedLock lock(lock_);
  settled_ = sent_;
}

void PrintedBytes::NoteSilence() {
  const OScopedLock lock(lock_);
  doubtful_ += sent_ - settled_;
  settled_ = sent_;
}

ULONGLONG PrintedBytes::Doubtful() const {
  const OScopedLock lock(lock_);
  return doubtful_;
}

void PrintedBytes::NoteEnd() {
  const OScopedLock lock(lock_);
  atEnd_ = sent_;
}

bool PrintedBytes::HasMoreBehindEnd() const {
  const OScopedLock lock(lock_);
  return sent_ > atEnd_;
}

}  // namespace portwise
