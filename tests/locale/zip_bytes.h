#pragma once

#include <zlib.h>

#include <cstdint>
#include <string>
#include <vector>

namespace portwise {

/// The bytes of a ZIP archive in the plainest form, to be damaged by tests. With one member: its local header is at 0,
/// the central header at `central`, the end of the directory at `end`.
struct ZipBytes {
  struct Member {
    std::string name, content;
    std::uint16_t date = 0x5821, time = 0x6000;  // 2024-01-01, 12:00
  };

  explicit ZipBytes(const std::vector<Member>& members) {
    std::string directory;
    for (const Member& member : members) {
      const auto offset = bytes.size();
      const std::string packed = Deflate(member.content);
      std::string shared = Number(20, 2) + Number(0, 2) + Number(8, 2) + Number(member.time, 2) +
                           Number(member.date, 2) + Number(0, 4) + Number(packed.size(), 4) +
                           Number(member.content.size(), 4) + Number(member.name.size(), 2) + Number(0, 2);
      bytes += Number(0x04034B50, 4) + shared + member.name + packed;
      directory += Number(0x02014B50, 4) + Number(20, 2) + shared + Number(0, 10) + Number(offset, 4) + member.name;
    }
    central = bytes.size();
    bytes += directory;
    end = bytes.size();
    bytes += Number(0x06054B50, 4) + Number(0, 4) + Number(members.size(), 2) + Number(members.size(), 2) +
             Number(directory.size(), 4) + Number(central, 4) + Number(0, 2);
  }

  static std::string Number(std::uint64_t value, int size) {
    std::string text;
    for (int i = 0; i < size; ++i) text += static_cast<char>(i < 8 ? value >> (8 * i) & 0xFF : 0);
    return text;
  }

  static std::string Deflate(const std::string& content) {
    z_stream stream = {};
    deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY);
    std::string packed(deflateBound(&stream, content.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(content.data()));
    stream.avail_in = static_cast<uInt>(content.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    deflate(&stream, Z_FINISH);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    return packed;
  }

  std::string bytes;
  std::size_t central = 0, end = 0;
};

}  // namespace portwise
