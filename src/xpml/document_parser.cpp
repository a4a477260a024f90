#include <algorithm>
#include <cstring>
#include <new>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "xpml/document.h"

namespace portwise {
namespace {

constexpr std::string_view kStart = "<xpml>";

const char* FindByte(const char* from, const char* to, char byte) {
  const void* found = std::memchr(from, byte, static_cast<size_t>(to - from));
  return found ? static_cast<const char*>(found) : to;
}

/// Whether the bytes from a `<` on are the start of a section, as far as the chunk tells. Binary data holds many a `<`,
/// so the byte behind it is looked at before all others.
bool MayStart(const char* bracket, const char* end) {
  const auto known = static_cast<size_t>(end - bracket);
  if (known >= kStart.size()) return bracket[1] == kStart[1] && std::memcmp(bracket, kStart.data(), kStart.size()) == 0;
  return std::memcmp(bracket, kStart.data(), known) == 0;
}

/// A place that no section starts in front of.
const char* SkipToStart(const char* at, [[maybe_unused]] const char* runEnd, [[maybe_unused]] const char* end) {
#ifdef __SSE2__
  // Random data holds a `<` every 256 bytes, and looking at each by itself takes longer than all the rest of a job.
  // With the byte behind it there is one in 64 KiB.
  constexpr ptrdiff_t kStep = 64;
  constexpr ptrdiff_t kAhead = 2048;  // what is read from memory by then; the processor stops at the end of a page
  const __m128i first = _mm_set1_epi8(kStart[0]), second = _mm_set1_epi8(kStart[1]);
  for (; runEnd - at >= kStep && end - at > kStep; at += kStep) {
    _mm_prefetch(at + kAhead, _MM_HINT_T0);
    __m128i found = _mm_setzero_si128();
    for (ptrdiff_t part = 0; part < kStep; part += 16) {
      const auto load = [&](ptrdiff_t from) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at + part + from));
      };
      const __m128i both = _mm_and_si128(_mm_cmpeq_epi8(load(0), first), _mm_cmpeq_epi8(load(1), second));
      found = _mm_or_si128(found, both);
    }
    if (_mm_movemask_epi8(found) != 0) break;
  }
#endif
  return at;
}

/// The first `<` in front of `runEnd` that may start a section, or `runEnd`.
const char* FindStart(const char* at, const char* runEnd, const char* end) {
  while (true) {
    at = FindByte(SkipToStart(at, runEnd, end), runEnd, '<');
    if (at == runEnd || MayStart(at, end)) return at;
    ++at;
  }
}

}  // namespace

bool XPML_Document::Parse(const char* data, int length, int* consumed) {
  if (textLost_) throw std::bad_alloc();
  length = std::max(length, 0);
  if (flushOwed_) {
    flushOwed_ = false;
    try {
      FlushText();
    } catch (...) {
      flushOwed_ = true;
      plainText_ = std::string_view();
      throw;
    }
  }
  if (resumeOffset_ >= length) {
    if (consumed) *consumed = length;
    resumeOffset_ -= length;
    return true;
  }
  const int start = resumeOffset_;
  resumeOffset_ = 0;
  position_ = data + start;
  try {
    if (!FlushText()) {
      if (consumed) *consumed = start;
      if (Pending()) resumeOffset_ = start;
      return false;
    }
    if (!ParseFrom(position_, data + length)) {
      KeepRun();
      resumeOffset_ = static_cast<int>(position_ - data);
      if (consumed) *consumed = 0;
      return false;
    }
    if (consumed) *consumed = length;
    flushOwed_ = true;
    const bool flushed = FlushText();
    flushOwed_ = false;
    KeepRun();
    return flushed;
  } catch (...) {
    Abandon(data);
    throw;
  }
}

bool XPML_Document::EndStream() {
  if (textLost_) throw std::bad_alloc();
  if (mode_ == Mode::MatchingStart) {
    AppendBytes(std::string_view(startMatch_, startMatchCount_));
    mode_ = Mode::Text;
    startMatchCount_ = 0;
  }
  while (!inSection_ && !elements_.IsEmpty()) PopElement();
  return FlushText();
}

/// Leaves a state in which the chunk, fed again, goes on where a handler threw. That may have been for want of memory:
/// plain text right before that place is parsed again rather than copied.
void XPML_Document::Abandon(const char* data) {
  plainText_ = std::string_view();
  if (mode_ == Mode::Text) tagText_.Clear();
  resumeOffset_ = static_cast<int>(position_ - data);
  if (runBegin_ == runEnd_) return;
  if (mode_ == Mode::Text && runEnd_ == position_) {
    resumeOffset_ = static_cast<int>(runBegin_ - data);
    runBegin_ = runEnd_ = nullptr;
    flushOwed_ = false;
    return;
  }
  try {
    KeepRun();
  } catch (...) {
    runBegin_ = runEnd_ = nullptr;
    textLost_ = true;
  }
}

/// False when the parser was interrupted before `end`, or right at it; position_ then says behind which byte.
bool XPML_Document::ParseFrom(const char* at, const char* end) {
  while (at < end) {
    at = Step(at, Interrupted() ? at + 1 : end, end);
    position_ = at;
    if (Interrupted()) return false;
  }
  return true;
}

/// Takes bytes from `at`, at least one and none from `runEnd` on, up to the point where the parser may have been
/// interrupted or its mode has changed. Bytes up to `end` may be looked at.
const char* XPML_Document::Step(const char* at, const char* runEnd, const char* end) {
  switch (mode_) {
    case Mode::MatchingStart:
      return MatchStart(at, end);
    case Mode::Tag:
      return ReadTag(at, runEnd);
    case Mode::Entity:
      return ReadEntity(at, runEnd);
    case Mode::Text:
      break;
  }
  return inSection_ ? ReadSection(at, runEnd) : ReadPlain(at, runEnd, end);
}

/// What turns out to be no start may be followed by one: nothing that a chunk begins with changes what it is.
const char* XPML_Document::MatchStart(const char* at, const char* end) {
  startMatch_[startMatchCount_] = *at;
  const std::string_view matched(startMatch_, startMatchCount_ + 1);
  const bool matches = kStart.substr(0, matched.size()) == matched;
  if (matches && matched.size() < kStart.size()) {
    ++startMatchCount_;
    return at + 1;
  }
  const bool again = !matches && *at == kStart[0];
  if (matches) {
    inSection_ = true;
  } else {
    AppendBytes(again ? matched.substr(0, matched.size() - 1) : matched);
  }
  mode_ = Mode::Text;
  startMatchCount_ = 0;
  return again ? ReadPlain(at, at + 1, end) : at + 1;
}

const char* XPML_Document::ReadPlain(const char* at, const char* runEnd, const char* end) {
  const char* bracket = FindStart(at, runEnd, end);
  AppendRun(at, bracket);
  if (bracket == runEnd) return runEnd;
  position_ = bracket;
  FlushText();
  mode_ = Mode::MatchingStart;
  return MatchStart(bracket, end);
}

const char* XPML_Document::ReadSection(const char* at, const char* runEnd) {
  const char* stop = at;
  while (stop < runEnd && *stop != '<' && *stop != '&') ++stop;
  AppendRun(at, stop);
  if (stop == runEnd) return stop;
  if (*stop == '<') {
    position_ = stop;
    FlushText();
    mode_ = Mode::Tag;
  } else {
    mode_ = Mode::Entity;
    entityLength_ = 0;
  }
  return stop + 1;
}

const char* XPML_Document::ReadTag(const char* at, const char* runEnd) {
  const char* bracket = FindByte(at, runEnd, '>');
  const std::string_view part(at, static_cast<size_t>(bracket - at));
  const bool whole = bracket < runEnd && tagText_.IsEmpty();
  if (!whole) {
    AppendTo(tagText_, part);
    position_ = bracket;
  }
  if (bracket == runEnd) return runEnd;
  const Tag tag = SplitTag(whole ? part : tagText_.View());
  // Until the element is open the tag can be read again.
  if (OpensElement(tag)) elements_.Open(tag.name, tag.attributes);
  mode_ = Mode::Text;
  position_ = bracket + 1;
  ProcessTag(tag);
  tagText_.Clear();
  return bracket + 1;
}

const char* XPML_Document::ReadEntity(const char* at, const char* runEnd) {
  const char* stop = FindByte(at, runEnd, ';');
  const size_t counted = std::min(static_cast<size_t>(stop - at), sizeof entity_ - entityLength_);
  std::memcpy(entity_ + entityLength_, at, counted);
  entityLength_ += counted;
  position_ = stop;
  if (stop == runEnd) return runEnd;
  const char byte = DecodeEntity(std::string_view(entity_, entityLength_));
  AppendBytes(std::string_view(&byte, 1));
  mode_ = Mode::Text;
  return stop + 1;
}

}  // namespace portwise
