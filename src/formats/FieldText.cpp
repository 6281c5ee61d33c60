#include "formats/FieldText.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

namespace Formats {
namespace {

using Byte = unsigned char;

/// Bytes of the well-formed UTF-8 sequence at the start of @p text (Unicode 15, table 3-7); 0 if there is
/// none.
std::size_t sequenceLength(std::string_view text) {
  const auto byteAt = [&](std::size_t i) { return i < text.size() ? static_cast<Byte>(text[i]) : Byte{0}; };
  const auto trails = [&](std::size_t first, std::size_t count) {
    for (std::size_t i = first; i < count; ++i) {
      if ((byteAt(i) & 0xC0U) != 0x80U) return false;
    }
    return true;
  };
  const Byte lead = byteAt(0);
  const Byte second = byteAt(1);
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead <= 0xDF) return trails(1, 2) ? 2 : 0;
  if (lead >= 0xE0 && lead <= 0xEF) {
    const bool overlong = lead == 0xE0 && second < 0xA0;
    const bool surrogate = lead == 0xED && second > 0x9F;
    return !overlong && !surrogate && trails(1, 3) ? 3 : 0;
  }
  if (lead >= 0xF0 && lead <= 0xF4) {
    const bool overlong = lead == 0xF0 && second < 0x90;
    const bool beyond = lead == 0xF4 && second > 0x8F;
    return !overlong && !beyond && trails(1, 4) ? 4 : 0;
  }
  return 0;
}

std::string utf8FromLatin1(std::string_view text) {
  std::string out;
  for (const char c : text) {
    const auto code = static_cast<Byte>(c);
    if (code < 0x80) {
      out += c;
    } else {
      out += static_cast<char>(0xC0U | code >> 6U);
      out += static_cast<char>(0x80U | (code & 0x3FU));
    }
  }
  return out;
}

}  // namespace

bool isUtf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = sequenceLength(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

std::string textOfField(std::span<const std::byte> field) {
  const auto end = std::find(field.begin(), field.end(), std::byte{0});
  std::string text(reinterpret_cast<const char*>(field.data()),
                   static_cast<std::size_t>(end - field.begin()));
  if (!isUtf8(text)) text = utf8FromLatin1(text);
  for (char& c : text) {
    if (static_cast<Byte>(c) < 0x20 || c == 0x7F) c = ' ';
  }
  text.erase(text.find_last_not_of(' ') + 1);
  return text;
}

}  // namespace Formats
