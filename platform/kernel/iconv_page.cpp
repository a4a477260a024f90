#include "platform/kernel/iconv_page.h"

#include <iconv.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <string>

namespace portwise::platform {
namespace {

// The wide side in the machine's byte order, without a byte order mark.
constexpr const char* kWide = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? "UTF-16LE" : "UTF-16BE";

std::string PageName(UINT codePage) {
  static constexpr struct {
    UINT codePage;
    const char* name;
  } kNames[] = {
      {20127, "ASCII"},  {20866, "KOI8-R"},  {21866, "KOI8-U"},      {20932, "EUC-JP"}, {51932, "EUC-JP"},
      {51949, "EUC-KR"}, {54936, "GB18030"}, {50220, "ISO-2022-JP"}, {65000, "UTF-7"},
  };
  for (const auto& row : kNames) {
    if (row.codePage == codePage) return row.name;
  }
  if (codePage > 28590 && codePage <= 28606) return "ISO-8859-" + std::to_string(codePage - 28590);
  return "CP" + std::to_string(codePage);
}

/// One conversion by iconv that goes on after what cannot be converted.
class Conversion {
 public:
  Conversion(const char* to, const char* from) : iconv_(iconv_open(to, from)) {}
  ~Conversion() {
    if (IsOpen()) iconv_close(iconv_);
  }
  Conversion(const Conversion&) = delete;
  Conversion& operator=(const Conversion&) = delete;

  bool IsOpen() const { return iconv_ != reinterpret_cast<iconv_t>(-1); }

  /// `take` gets what was converted, piece by piece. `skip` is called where the text cannot be converted, with the
  /// bytes that are left and whether they are the beginning of a character that the end cuts off; it returns how many
  /// to leave out.
  template <class Take, class Skip>
  void Run(std::string_view text, const Take& take, const Skip& skip) {
    char* in = const_cast<char*>(text.data());
    std::size_t left = text.size();
    while (left > 0) {
      const int error = Step(&in, &left, take);
      if (error == 0 || error == E2BIG) continue;
      const std::size_t skipped = skip(std::string_view(in, left), error == EINVAL);
      in += skipped;
      left -= skipped;
    }
    Step(nullptr, nullptr, take);  // back to the initial shift state
  }

 private:
  template <class Take>
  int Step(char** in, std::size_t* left, const Take& take) {
    std::array<char, 512> buffer;
    char* out = buffer.data();
    std::size_t room = buffer.size();
    const int error = iconv(iconv_, in, left, &out, &room) == static_cast<std::size_t>(-1) ? errno : 0;
    take(std::string_view(buffer.data(), buffer.size() - room));
    return error;
  }

  const iconv_t iconv_;
};

}  // namespace

bool DecodePage(UINT codePage, std::string_view text, const std::function<void(WCHAR)>& put, bool* malformed) {
  Conversion conversion(kWide, PageName(codePage).c_str());
  if (!conversion.IsOpen()) return false;
  const auto take = [&put](std::string_view bytes) {
    for (std::size_t i = 0; i + sizeof(WCHAR) <= bytes.size(); i += sizeof(WCHAR)) {
      WCHAR unit;
      std::memcpy(&unit, bytes.data() + i, sizeof unit);
      put(unit);
    }
  };
  conversion.Run(text, take, [&](std::string_view left, bool cutOff) {
    *malformed = true;
    put(0xFFFD);
    return cutOff ? left.size() : 1;
  });
  return true;
}

bool EncodePage(UINT codePage, std::u16string_view text, std::string_view replacement,
                const std::function<void(CHAR)>& put, bool* lost) {
  Conversion conversion(PageName(codePage).c_str(), kWide);
  if (!conversion.IsOpen()) return false;
  const auto take = [&put](std::string_view bytes) {
    for (const char byte : bytes) put(byte);
  };
  const std::string_view source(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(WCHAR));
  conversion.Run(source, take, [&](std::string_view left, bool) {
    *lost = true;
    take(replacement);
    // A character beyond the basic plane is one character, although it has two units.
    WCHAR pair[2] = {};
    std::memcpy(pair, left.data(), std::min(left.size(), sizeof pair));
    const bool isPair = (pair[0] & 0xFC00) == 0xD800 && (pair[1] & 0xFC00) == 0xDC00;
    return isPair ? sizeof pair : sizeof pair[0];
  });
  return true;
}

}  // namespace portwise::platform
