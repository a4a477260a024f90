#include "core/zlib_block.h"

#include <windows.h>
#include <zlib.h>

#include <algorithm>
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
/// Room for what most blocks give is made at once: that many times the data, and no less than a few pages.
constexpr size_t kUsualRatio = 8;
constexpr size_t kLeastRoom = 65536;

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

  /// Fills the buffer, as far as the stream gives bytes; returns how many. The stream goes on only behind a full
  /// buffer; one of no bytes lets it find its end.
  size_t Fill(char* out, size_t size) {
    stream_.next_out = reinterpret_cast<Bytef*>(out);
    stream_.avail_out = static_cast<uInt>(size);
    if (status_ == Z_OK) status_ = inflate(&stream_, Z_NO_FLUSH);
    return size - stream_.avail_out;
  }
  bool IsComplete() const { return status_ == Z_STREAM_END; }

 private:
  z_stream stream_{};
  int status_ = Z_OK;
  bool open_ = false;
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

bool DecodeZlibBlock(std::string_view block, size_t capacity, const BufferGrower& grow) {
  if (block.size() < kHeaderSize || block.substr(0, kMagic.size()) != kMagic) return false;
  const size_t expected = ReadSize(block, 4);
  const std::string_view data = block.substr(kHeaderSize);
  if (data.size() != ReadSize(block, 8)) return false;
  if (expected > capacity || expected > kMaxRatio * data.size()) return false;
  Inflater inflater(data);
  size_t room = std::min(expected, std::max(kLeastRoom, kUsualRatio * data.size()));
  size_t made = 0;
  while (made < expected) {
    char* out = grow(room);
    if (!out) return false;
    made += inflater.Fill(out + made, room - made);
    if (made < room) break;
    room = room > expected / 2 ? expected : 2 * room;
  }
  char none = 0;
  if (made == expected) inflater.Fill(&none, 0);
  return inflater.IsComplete() && made == expected;
}

bool DecodeZlibBlock(std::string_view block, size_t capacity, std::string* bytes) {
  std::string inflated;
  const auto grow = [&](size_t size) {
    inflated.resize(size);
    return inflated.data();
  };
  if (!DecodeZlibBlock(block, capacity, grow)) return false;
  *bytes = std::move(inflated);
  return true;
}

}  // namespace portwise
