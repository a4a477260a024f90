#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace portwise {

/// A compressed block: the characters "ZLIB", the number of bytes before and after compression (32 bits each,
/// little-endian), and a zlib stream (RFC 1950).

/// False, with `block` as it was, when the bytes are 4 GiB or more, or when zlib has no memory.
bool EncodeZlibBlock(std::string_view bytes, std::string* block);

/// Makes a buffer that many bytes long and keeps what is in it; null when it cannot.
using BufferGrower = std::function<char*(size_t size)>;

/// The bytes of exactly one block, at most `capacity` of them, into the buffer that `grow` makes. False when the sizes
/// contradict the data; what is in the buffer then means nothing. Its memory is asked for in proportion to the block,
/// and beyond that as the stream proves to need it, never on the word of the header.
bool DecodeZlibBlock(std::string_view block, size_t capacity, const BufferGrower& grow);
/// The same into a string, which stays as it was when the result is false.
bool DecodeZlibBlock(std::string_view block, size_t capacity, std::string* bytes);

}  // namespace portwise
