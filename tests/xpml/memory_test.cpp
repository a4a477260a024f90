// What becomes of a stream when memory runs out in its midst. The linker puts the functions here in front of the
// allocations of this program's own code.

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include "xpml/document.h"

namespace {

int left = -1;  // allocations until they fail; negative for no limit
bool lasts = false;
bool fired = false;

bool Refuses() {
  if (left < 0 || left-- > 0) return false;
  fired = true;
  left = lasts ? 0 : -1;
  return true;
}

}  // namespace

extern "C" {
void* __real_realloc(void* memory, size_t size);
void* __wrap_realloc(void* memory, size_t size) { return Refuses() ? nullptr : __real_realloc(memory, size); }
void* REAL_NEW(size_t size);
void* WRAPPED_NEW(size_t size) {
  if (Refuses()) throw std::bad_alloc();
  return REAL_NEW(size);
}
}

namespace portwise {
namespace {

struct Outcome {
  std::string output;
  bool stopped = false;  // nothing more is taken
};

/// Feeds a chunk again when it threw, as the print path does, then with memory.
Outcome FeedAll(const std::vector<std::string>& chunks, int failAt) {
  Outcome outcome;
  outcome.output.reserve(1000);
  XPML_Document document;
  const auto take = [](XPML_Document& open, void* output) {
    static_cast<std::string*>(output)->append(open.PlainText());
    return true;
  };
  document.SetTextHandler(take, &outcome.output);
  for (const char* path : {"mark", "/mark"}) {
    document.RegisterHandler(
        path, [](XPML_Document&, void* output) { return static_cast<std::string*>(output)->append("!"), true; },
        &outcome.output);
  }
  left = failAt;
  const auto insist = [&](auto&& step) {
    for (int tries = 0; tries < 3; ++tries) {
      try {
        return step();
      } catch (const std::bad_alloc&) {
        left = -1;
      }
    }
    outcome.stopped = true;
  };
  for (const std::string& chunk : chunks) {
    if (!outcome.stopped) insist([&] { document.Parse(chunk.data(), static_cast<int>(chunk.size())); });
  }
  insist([&] { document.EndStream(); });
  left = -1;
  return outcome;
}

TEST(XpmlMemory, NoByteIsLostOrDoubledWhenItRunsOut) {
  const std::string longText(200, 't'), stream = "plain<xp" + longText + "<xpml>in&lt;a<mark k='" + longText +
                                                 "'>b<uppercase>" + longText + "</uppercase></mark>c</xpml>d<xpmx>" +
                                                 "<xpml>&amp;<open>e</xpml>f<xpm";
  for (const size_t size : {1, 7, 64, 1000}) {
    std::vector<std::string> chunks;
    for (size_t at = 0; at < stream.size(); at += size) chunks.push_back(stream.substr(at, size));
    const Outcome whole = FeedAll(chunks, -1);
    ASSERT_FALSE(whole.stopped);
    for (const bool until : {false, true}) {
      lasts = until;
      int failAt = 0;
      do {
        fired = false;
        const Outcome run = FeedAll(chunks, failAt);
        SCOPED_TRACE(std::to_string(size) + ", " + std::to_string(failAt) + (until ? " and on" : ""));
        if (run.stopped) {
          EXPECT_TRUE(whole.output.starts_with(run.output)) << run.output;
        } else {
          EXPECT_EQ(run.output, whole.output);
        }
        ++failAt;
      } while (fired);
      EXPECT_GT(failAt, 5);
    }
  }
}

}  // namespace
}  // namespace portwise
