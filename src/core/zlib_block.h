#pragma once

#include <string>
#include <string_view>

namespace portwise {

/// A compressed block: the characters "ZLIB", the number of bytes before and after compression (32 bits each,
/// little-endian), and a zlib stream (RFC 1950).

/// False, with `block` as it was, when the bytes are 4 GiB or more, or when zlib has no memory.
bool EncodeZlibBlock(std::string_view bytes, std::string* block);

/// The bytes of exactly one block, at most `capacity` of them. False, with `bytes` as they were, when the sizes
/// contradict the data. Memory is taken as the stream proves to need it, never on the word of the header.
bool DecodeZlibBlock(std::string_view block, size_t capacity, std::string* bytes);

}  // namespace portwise
