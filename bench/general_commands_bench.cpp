// The general commands through whole requests, beside what they are made of: zlib for compressed blocks, a copy of the
// bytes for base64 and hexadecimal digits.

#include <benchmark/benchmark.h>
#include <zlib.h>

#include <cstring>
#include <random>
#include <string>

#include "core/base64.h"
#include "core/zlib_block.h"
#include "xpml/request.h"

namespace portwise {
namespace {

constexpr size_t kSize = size_t{4} << 20;

/// Print data of labels: commands that repeat, and some noise.
std::string Labels() {
  std::mt19937 random(3);
  std::string data;
  while (data.size() < kSize)
    data += "^FO" + std::to_string(random() % 800) + ",20^A0N,30^FDLabel " + std::to_string(random()) + "^FS\n";
  data.resize(kSize);
  return data;
}

/// The time of one `encode` without its parsing: the content is there already.
void Encode(benchmark::State& state, const std::string& attributes, const std::string& content) {
  const std::string tag = "<xpml><encode " + attributes + ">";
  for (auto _ : state) {
    state.PauseTiming();
    XPML_Document document;
    document.Parse(tag.data(), static_cast<int>(tag.size()));
    if (!document.CurrentText().Append(content)) state.SkipWithError("no room");
    state.ResumeTiming();
    document.RunHandler("/encode");
    benchmark::DoNotOptimize(document.CurrentText().Length());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * content.size()));
}

std::string Block(const std::string& bytes) {
  std::string block;
  EncodeZlibBlock(bytes, &block);
  return block;
}

void BM_Base64_Encode(benchmark::State& state) { Encode(state, "out=base64", Labels()); }
BENCHMARK(BM_Base64_Encode);
void BM_Base64_Decode(benchmark::State& state) { Encode(state, "in=base64", EncodeBase64(Labels())); }
BENCHMARK(BM_Base64_Decode);
void BM_Hex_Encode(benchmark::State& state) { Encode(state, "out=hex", Labels()); }
BENCHMARK(BM_Hex_Encode);
void BM_Hex_Dump(benchmark::State& state) {
  Encode(state, "out=hex line_length=16 space=' ' line_footer='\r\n'", Labels());
}
BENCHMARK(BM_Hex_Dump);

void BM_Bytes_memcpy(benchmark::State& state) {
  const std::string data = Labels();
  for (auto _ : state) {
    const std::string copy(data);
    benchmark::DoNotOptimize(copy.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * data.size()));
}
BENCHMARK(BM_Bytes_memcpy);

void BM_Lz77_Encode(benchmark::State& state) { Encode(state, "out=lz77", Labels()); }
BENCHMARK(BM_Lz77_Encode);

void BM_Lz77_compress2(benchmark::State& state) {
  const std::string data = Labels();
  for (auto _ : state) {
    std::string stream(compressBound(data.size()), '\0');
    uLongf size = stream.size();
    compress2(reinterpret_cast<Bytef*>(stream.data()), &size, reinterpret_cast<const Bytef*>(data.data()), data.size(),
              Z_DEFAULT_COMPRESSION);
    benchmark::DoNotOptimize(size);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * data.size()));
}
BENCHMARK(BM_Lz77_compress2);

void BM_Lz77_Decode(benchmark::State& state) { Encode(state, "in=lz77", Block(Labels())); }
BENCHMARK(BM_Lz77_Decode);

void BM_Lz77_uncompress(benchmark::State& state) {
  const std::string block = Block(Labels());
  for (auto _ : state) {
    std::string bytes(kSize, '\0');
    uLongf size = bytes.size();
    uncompress(reinterpret_cast<Bytef*>(bytes.data()), &size, reinterpret_cast<const Bytef*>(block.data() + 12),
               block.size() - 12);
    benchmark::DoNotOptimize(size);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * block.size()));
}
BENCHMARK(BM_Lz77_uncompress);

/// A request of that many commands; with none, what every request costs.
void BM_Request(benchmark::State& state) {
  std::string request;
  for (int i = 0; i < state.range(0); ++i) request += "<uppercase>label " + std::to_string(i) + "</uppercase>;";
  for (auto _ : state) {
    TextBuffer reply;
    ExecuteRequest(nullptr, request, reply);
    benchmark::DoNotOptimize(reply.Length());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_Request)->Arg(0)->Arg(1)->Arg(100);

}  // namespace
}  // namespace portwise
