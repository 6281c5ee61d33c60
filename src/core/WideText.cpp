#include "core/WideText.h"

#include <array>
#include <cstdint>

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

/// The length of the well-formed UTF-8 sequence at the start of @p text and its code point; length 0 when
/// there is none (Unicode 15, table 3-7).
std::size_t readUtf8(std::string_view text, std::uint32_t& code) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const std::uint32_t lead = byte(0);
  if (lead < 0x80) {
    code = lead;
    return 1;
  }
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return 0;
  code = lead & (0xFFU >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0U) != 0x80) return 0;
    code = code << 6U | (byte(i) & 0x3FU);
  }
  constexpr std::array<std::uint32_t, 5> kLeast{0, 0, 0x80, 0x800, 0x10000};
  const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  return code < kLeast[length] || code > 0x10FFFF || surrogate ? 0 : length;
}

}  // namespace

std::string utf8FromWide(std::wstring_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    auto code = static_cast<std::uint32_t>(text[i]);
    const std::uint32_t next = i + 1 < text.size() ? static_cast<std::uint32_t>(text[i + 1]) : 0;
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

std::wstring wideFromUtf8(std::string_view text) {
  std::wstring out;
  while (!text.empty()) {
    std::uint32_t code = 0;
    std::size_t length = readUtf8(text, code);
    if (length == 0) {
      code = kFirstEscape + static_cast<unsigned char>(text[0]) - 0x80;
      length = 1;
    }
    out += static_cast<wchar_t>(code);
    text.remove_prefix(length);
  }
  return out;
}

}  // namespace Core
