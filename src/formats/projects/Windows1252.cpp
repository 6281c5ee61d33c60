#include "formats/projects/Windows1252.h"

#include <array>

namespace Formats {
namespace {

// Of the bytes 0x80 to 0x9F; all others are the code points of their numbers.
constexpr std::array<char16_t, 32> kTabled{0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                           0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                           0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                           0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

void append(std::string& text, char16_t c) {
  if (c < 0x80) {
    text += static_cast<char>(c);
    return;
  }
  if (c < 0x800) {
    text += static_cast<char>(0xC0U | (c >> 6U));
  } else {
    text += static_cast<char>(0xE0U | (c >> 12U));
    text += static_cast<char>(0x80U | ((c >> 6U) & 0x3FU));
  }
  text += static_cast<char>(0x80U | (c & 0x3FU));
}

}  // namespace

std::string utf8FromWindows1252(std::string_view text) {
  std::string result;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    append(result, byte >= 0x80 && byte < 0xA0 ? kTabled[byte - 0x80U] : char16_t{byte});
  }
  return result;
}

}  // namespace Formats
