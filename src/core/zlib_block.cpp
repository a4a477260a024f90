#include "core/zlib_block.h"

#include <windows.h>
#include <zlib.h>

#include <cstdint>
#include <limits>
#include <utility>

namespace portwise {
namespace {

constexpr std::string_view kMagic = "ZLIB";
constexpr size_t kHeaderSize = 12;
constexpr std::uint64_t kMaxSize = std::numeric_limits<DWORD>::max();
/// No byte of a deflate stream gives more: a match of 258 bytes takes two bits at least.
constexpr std::uint64_t kMaxRatio = 1032;
/// What one step of decompression gives at most, in bytes.
constexpr size_t kStep = 16384;

DWORD ReadSize(std::string_view block, size_t offset) {
  DWORD size = 0;
  for (size_t i = 4; i-- > 0;) size = size << 8 | static_cast<unsigned char>(block[offset + i]);
  return size;
}

void WriteSize(std::string* block, size_t offset, size_t size) {
  for (size_t i = 0; i < 4; ++i) (*block)[offset + i] = static_cast<char>(size >> (8 * i) & 0xFF);
}

class Inflater {
 public:
  explicit Inflater(std::string_view data) {
    stream_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
    stream_.avail_in = static_cast<uInt>(data.size());
    status_ = inflateInit(&stream_);
    open_ = status_ == Z_OK;
  }
  ~Inflater() {
    if (open_) inflateEnd(&stream_);
  }
  Inflater(const Inflater&) = delete;
  Inflater& operator=(const Inflater&) = delete;

  /// Whether there may be more: neither at the end of the stream, nor of the data, nor after an error.
  bool GoesOn() const { return status_ == Z_OK; }
  bool IsComplete() const { return status_ == Z_STREAM_END; }
  /// The next bytes, in a buffer that the next call reuses.
  std::string_view Next() {
    stream_.next_out = reinterpret_cast<Bytef*>(step_);
    stream_.avail_out = kStep;
    status_ = inflate(&stream_, Z_NO_FLUSH);
    return std::string_view(step_, kStep - stream_.avail_out);
  }

 private:
  z_stream stream_{};
  int status_ = Z_OK;
  bool open_ = false;
  char step_[kStep];
};

}  // namespace

bool EncodeZlibBlock(std::string_view bytes, std::string* block) {
  if (std::uint64_t{bytes.size()} > kMaxSize) return false;
  const auto* data = reinterpret_cast<const Bytef*>(bytes.data());
  // Room for data that do not compress: a stored stream has 5 bytes for each 16 KiB and 6 around it.
  std::string made(bytes.size() + (bytes.size() + 999) / 1000 + 24, '\0');
  auto size = static_cast<uLongf>(made.size() - kHeaderSize);
  auto* stream = reinterpret_cast<Bytef*>(made.data() + kHeaderSize);
  if (compress2(stream, &size, data, static_cast<uLong>(bytes.size()), Z_DEFAULT_COMPRESSION) != Z_OK) return false;
  if (std::uint64_t{size} > kMaxSize) return false;
  made.replace(0, kMagic.size(), kMagic);
  WriteSize(&made, 4, bytes.size());
  WriteSize(&made, 8, size);
  made.resize(kHeaderSize + size);
  *block = std::move(made);
  return true;
}

bool DecodeZlibBlock(std::string_view block, size_t capacity, std::string* bytes) {
  if (block.size() < kHeaderSize || block.substr(0, kMagic.size()) != kMagic) return false;
  const size_t expected = ReadSize(block, 4);
  const std::string_view data = block.substr(kHeaderSize);
  if (data.size() != ReadSize(block, 8)) return false;
  if (expected > capacity || expected > kMaxRatio * data.size()) return false;
  Inflater inflater(data);
  std::string inflated;
  while (inflater.GoesOn()) {
    const std::string_view step = inflater.Next();
    if (step.size() > expected - inflated.size()) return false;
    inflated.append(step);
  }
  if (!inflater.IsComplete() || inflated.size() != expected) return false;
  *bytes = std::move(inflated);
  return true;
}

}  // namespace portwise
