// The parser beside its baselines: plain data beside memchr, dense markup beside expat.

#include <benchmark/benchmark.h>
#include <expat.h>

#include <cstring>
#include <random>
#include <string>

#include "xpml/document.h"

namespace portwise {
namespace {

constexpr size_t kChunk = 64 * 1024;

/// Print data as a label printer gets it: random bytes without a `<`.
std::string PlainData() {
  std::mt19937 random(7);
  std::string data(size_t{16} << 20, '\0');
  for (char& byte : data) {
    do byte = static_cast<char>(random());
    while (byte == '<');
  }
  return data;
}

/// A command every 64 bytes, with attributes and text, valid as XML too.
std::string DenseMarkup() {
  std::string data;
  for (int i = 0; data.size() < (size_t{4} << 20); ++i) {
    std::string command =
        "<gauge name='V" + std::to_string(i % 1000) + "' copy=\"true\">value " + std::to_string(i) + " ";
    command.resize(56, '.');
    data += command + "</gauge>";
  }
  return data;
}

bool TakeText(XPML_Document& document, void* total) {
  *static_cast<size_t*>(total) += document.PlainText().size();
  return true;
}

void BM_PlainData_Parse(benchmark::State& state) {
  const std::string data = PlainData();
  XPML_Document document;
  size_t total = 0;
  document.SetTextHandler(TakeText, &total);
  for (auto _ : state) {
    for (size_t at = 0; at < data.size(); at += kChunk) document.Parse(data.data() + at, kChunk);
  }
  benchmark::DoNotOptimize(total);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * data.size()));
}
BENCHMARK(BM_PlainData_Parse);

void BM_PlainData_memchr(benchmark::State& state) {
  const std::string data = PlainData();
  for (auto _ : state) {
    for (size_t at = 0; at < data.size(); at += kChunk) {
      benchmark::DoNotOptimize(std::memchr(data.data() + at, '<', kChunk));
    }
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * data.size()));
}
BENCHMARK(BM_PlainData_memchr);

/// A command's handler that reads one attribute and consumes its content.
bool Consume(XPML_Document& document, void* total) {
  *static_cast<size_t*>(total) += document.GetAttribute("name").size() + document.CurrentText().Length();
  document.CurrentText().Clear();
  return true;
}

void BM_DenseMarkup_Parse(benchmark::State& state) {
  const std::string data = "<xpml>" + DenseMarkup() + "</xpml>";
  size_t total = 0;
  for (auto _ : state) {
    XPML_Document document;
    document.SetTextHandler(TakeText, &total);
    document.RegisterHandler("/gauge", Consume, &total);
    for (size_t at = 0; at < data.size(); at += kChunk) {
      document.Parse(data.data() + at, static_cast<int>(std::min(kChunk, data.size() - at)));
    }
  }
  benchmark::DoNotOptimize(total);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * data.size()));
}
BENCHMARK(BM_DenseMarkup_Parse);

void XMLCALL OnStart(void* total, const XML_Char*, const XML_Char** attributes) {
  for (; *attributes; attributes += 2) *static_cast<size_t*>(total) += std::strlen(attributes[1]);
}
void XMLCALL OnEnd(void*, const XML_Char*) {}
void XMLCALL OnText(void* total, const XML_Char*, int length) {
  *static_cast<size_t*>(total) += static_cast<size_t>(length);
}

void BM_DenseMarkup_expat(benchmark::State& state) {
  const std::string data = "<xpml>" + DenseMarkup() + "</xpml>";
  size_t total = 0;
  for (auto _ : state) {
    XML_Parser parser = XML_ParserCreate(nullptr);
    XML_SetUserData(parser, &total);
    XML_SetElementHandler(parser, OnStart, OnEnd);
    XML_SetCharacterDataHandler(parser, OnText);
    for (size_t at = 0; at < data.size(); at += kChunk) {
      const size_t size = std::min(kChunk, data.size() - at);
      if (XML_Parse(parser, data.data() + at, static_cast<int>(size), at + size == data.size()) != XML_STATUS_OK) {
        state.SkipWithError("expat refused the markup");
      }
    }
    XML_ParserFree(parser);
  }
  benchmark::DoNotOptimize(total);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * data.size()));
}
BENCHMARK(BM_DenseMarkup_expat);

}  // namespace
}  // namespace portwise
