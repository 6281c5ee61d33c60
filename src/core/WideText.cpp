#include "core/WideText.h"

#include <cstdint>
#include <type_traits>

namespace Core {
namespace {

constexpr std::uint32_t kReplacement = 0xFFFD;
constexpr std::uint32_t kFirstEscape = 0xDC80;  // stands for the byte 0x80
constexpr std::uint32_t kLastEscape = 0xDCFF;

void appendUtf8(std::uint32_t code, std::string& out) {
  const auto trail = [&](unsigned shift) { out += static_cast<char>(0x80U | (code >> shift & 0x3FU)); };
  if (code < 0x80) {
    out += static_cast<char>(code);
  } else if (code < 0x800) {
    out += static_cast<char>(0xC0U | code >> 6U);
    trail(0);
  } else if (code < 0x10000) {
    out += static_cast<char>(0xE0U | code >> 12U);
    trail(6);
    trail(0);
  } else {
    out += static_cast<char>(0xF0U | code >> 18U);
    trail(12);
    trail(6);
    trail(0);
  }
}

}  // namespace

std::string utf8FromWide(std::wstring_view text) {
  std::string out;
  const auto unit = [&](std::size_t i) -> std::uint32_t {
    return static_cast<std::make_unsigned_t<wchar_t>>(text[i]);
  };
  for (std::size_t i = 0; i < text.size(); ++i) {
    std::uint32_t code = unit(i);
    const std::uint32_t next = i + 1 < text.size() ? unit(i + 1) : 0;
    if (code >= 0xD800 && code <= 0xDBFF && next >= 0xDC00 && next <= 0xDFFF) {
      code = 0x10000 + ((code - 0xD800) << 10U) + (next - 0xDC00);
      ++i;
    } else if (code >= kFirstEscape && code <= kLastEscape) {
      out += static_cast<char>(code - kFirstEscape + 0x80);
      continue;
    } else if ((code >= 0xD800 && code <= 0xDFFF) || code > 0x10FFFF) {
      code = kReplacement;
    }
    appendUtf8(code, out);
  }
  return out;
}

}  // namespace Core
