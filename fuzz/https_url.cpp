// An address, and after a line break where its server redirects to: refused with a message that shows no
// query, or an https address without control characters, as is that of a file below.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string_view>

#include "core/http/HttpsUrl.h"

namespace {

bool isControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }

void check(const Core::HttpsUrl& url) {
  const std::string& text = url.text();
  if (text.rfind("https://", 0) != 0 || std::any_of(text.begin(), text.end(), isControl)) std::abort();
  if (text.find('#') != std::string::npos) std::abort();
}

void checkPrintable(std::string_view text) {
  const std::string shown = Core::printableUrl(text);
  if (shown.find_first_of("?#") == std::string::npos) return;
  if (std::none_of(text.begin(), text.end(), isControl)) std::abort();  // which become question marks
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const std::size_t lineEnd = std::min(text.find('\n'), text.size());
  const std::string_view address = text.substr(0, lineEnd);
  checkPrintable(address);
  try {
    const Core::HttpsUrl url(address);
    check(url);
    check(url.file("octree.bin"));
    check(url.file(text.substr(lineEnd)));
    check(url.redirected(text.substr(std::min(lineEnd + 1, size))));
  } catch (const std::runtime_error&) {  // the only way to refuse
  }
  return 0;
}
