#include "sorvik/LocationArgument.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <system_error>

#include "sorvik/CallError.h"

namespace Program {
namespace {

bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

bool isOfScheme(char c) { return isLetter(c) || (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.'; }

/// "https" of "https://...", in small letters; empty when the text does not begin with a scheme (RFC 3986,
/// section 3.1).
std::string schemeOf(std::string_view text) {
  const std::size_t end = text.find("://");
  if (end == std::string_view::npos || end == 0 || !isLetter(text[0])) return {};
  std::string scheme(text.substr(0, end));
  if (!std::all_of(scheme.begin(), scheme.end(), isOfScheme)) return {};
  for (char& c : scheme) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  return scheme;
}

std::string folderOf(const std::string& text) {
  const std::filesystem::path path(text);
  const std::filesystem::path name = path.filename();
  std::error_code ignored;
  const bool isMetaData = name == "metadata.json" || name == "ept.json";
  if (!isMetaData || std::filesystem::is_directory(path, ignored)) return text;
  return path.has_parent_path() ? path.parent_path().string() : ".";
}

/// The address of the folder when it is that of a metadata file; the query stays.
std::string folderAddress(std::string address) {
  const std::size_t pathEnd = std::min(address.find_first_of("?#"), address.size());
  for (const std::string_view name : {"/metadata.json", "/ept.json"}) {
    if (std::string_view(address).substr(0, pathEnd).ends_with(name))
      return address.erase(pathEnd - name.size(), name.size());
  }
  return address;
}

/// How many bytes the UTF-8 sequence at the start of @p text has, and its code point; 1 and the stand-in of
/// the byte when there is none. Overlong forms, surrogates and what lies above U+10FFFF are none (RFC 3629).
std::size_t nextCode(std::string_view text, std::uint32_t& code) {
  const auto byte = [&](std::size_t i) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(text[i]));
  };
  constexpr std::uint32_t kStandIns = 0xDC00;
  const std::uint32_t lead = byte(0);
  const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  code = lead;
  if (length == 1) return 1;
  bool good = lead >= 0xC2 && lead <= 0xF4 && length <= text.size();
  code = lead & (0x7FU >> length);
  for (std::size_t i = 1; good && i < length; ++i) {
    good = (byte(i) & 0xC0U) == 0x80;
    code = code << 6U | (byte(i) & 0x3FU);
  }
  const bool overlong = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
  if (good && !overlong && code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF)) return length;
  code = kStandIns + lead;
  return 1;
}

}  // namespace

std::wstring widePath(std::string_view path) {
  std::wstring wide;
  while (!path.empty()) {
    std::uint32_t code = 0;
    path.remove_prefix(nextCode(path, code));
    wide += static_cast<wchar_t>(code);
  }
  return wide;
}

Sorvik::Location parseLocation(std::string_view text) {
  if (text.empty()) throw CallError("LOCATION is empty");
  const std::string scheme = schemeOf(text);
  if (scheme == "https") return Sorvik::HttpsLocation(folderAddress(std::string(text)));
  if (!scheme.empty()) {
    throw CallError("cannot open " + scheme + ":// addresses: LOCATION is a folder or an https:// address");
  }
  return Sorvik::FileSystemLocation(widePath(folderOf(std::string(text))));
}

}  // namespace Program
