#include "core/http/HttpsUrl.h"

#include <curl/curl.h>

#include <algorithm>
#include <memory>
#include <new>
#include <stdexcept>

namespace Core {
namespace {

struct UrlDeleter {
  void operator()(CURLU* url) const { curl_url_cleanup(url); }
};
using CurlUrl = std::unique_ptr<CURLU, UrlDeleter>;

bool isControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }

[[noreturn]] void refuse(std::string_view text, const std::string& reason) {
  throw std::runtime_error(printableUrl(text) + ": " + reason);
}

CurlUrl parsed(std::string_view text) {
  if (std::any_of(text.begin(), text.end(), isControl)) {
    refuse(text, "an address holds no control characters");
  }
  CurlUrl url(curl_url());
  if (!url) throw std::bad_alloc();
  const CURLUcode error = curl_url_set(url.get(), CURLUPART_URL, std::string(text).c_str(),
                                       CURLU_NON_SUPPORT_SCHEME | CURLU_URLENCODE);
  if (error != CURLUE_OK) refuse(text, std::string("not an https address: ") + curl_url_strerror(error));
  return url;
}

/// A part of the address; empty when it has none.
std::string part(CURLU* url, CURLUPart wanted, unsigned flags = 0) {
  char* text = nullptr;
  if (curl_url_get(url, wanted, &text, flags) != CURLUE_OK) return {};
  std::string result(text);
  curl_free(text);
  return result;
}

std::string escapedPath(std::string_view name) {
  constexpr std::string_view kUnescaped = "-._~/";
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string escaped;
  for (const char c : name) {
    const auto byte = static_cast<unsigned char>(c);
    const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                       kUnescaped.find(c) != std::string_view::npos;
    if (plain) {
      escaped += c;
    } else {
      escaped += '%';
      escaped += kDigits[byte >> 4U];
      escaped += kDigits[byte & 15U];
    }
  }
  return escaped;
}

}  // namespace

HttpsUrl::HttpsUrl(std::string_view text) {
  const CurlUrl url = parsed(text);
  const std::string scheme = part(url.get(), CURLUPART_SCHEME);
  if (scheme != "https") refuse(text, "expected an https address, found the scheme '" + scheme + "'");
  user_ = part(url.get(), CURLUPART_USER, CURLU_URLDECODE);
  password_ = part(url.get(), CURLUPART_PASSWORD, CURLU_URLDECODE);
  for (const CURLUPart apart : {CURLUPART_USER, CURLUPART_PASSWORD, CURLUPART_OPTIONS, CURLUPART_FRAGMENT})
    curl_url_set(url.get(), apart, nullptr, 0);
  text_ = part(url.get(), CURLUPART_URL);
  origin_ = part(url.get(), CURLUPART_HOST) + ':' + part(url.get(), CURLUPART_PORT, CURLU_DEFAULT_PORT);
  if (text_.empty()) refuse(text, "not an https address");
}

HttpsUrl HttpsUrl::file(std::string_view name) const {
  if (name.empty()) return *this;
  const CurlUrl url = parsed(text_);
  std::string path = part(url.get(), CURLUPART_PATH);
  if (path.empty() || path.back() != '/') path += '/';
  path += escapedPath(name);
  if (curl_url_set(url.get(), CURLUPART_PATH, path.c_str(), 0) != CURLUE_OK) throw std::bad_alloc();
  HttpsUrl result = *this;
  result.text_ = part(url.get(), CURLUPART_URL);
  return result;
}

HttpsUrl HttpsUrl::redirected(std::string_view location) const {
  if (std::any_of(location.begin(), location.end(), isControl)) {
    refuse(location, "an address holds no control characters");
  }
  const CurlUrl url = parsed(text_);
  const CURLUcode error = curl_url_set(url.get(), CURLUPART_URL, std::string(location).c_str(),
                                       CURLU_NON_SUPPORT_SCHEME | CURLU_URLENCODE);
  if (error != CURLUE_OK) refuse(location, std::string("not an address: ") + curl_url_strerror(error));
  if (part(url.get(), CURLUPART_SCHEME) == "http") refuse(location, "a downgrade from https to http");
  return HttpsUrl(part(url.get(), CURLUPART_URL));
}

std::string printableUrl(std::string_view text) {
  const std::size_t hidden = text.find_first_of("?#");
  std::string shown(text.substr(0, hidden));
  const std::size_t slashes = shown.find("//");
  if (slashes != std::string::npos) {
    const std::size_t host = slashes + 2;
    const std::size_t credentialsEnd = shown.substr(0, shown.find('/', host)).rfind('@');
    if (credentialsEnd != std::string::npos && credentialsEnd >= host)
      shown.erase(host, credentialsEnd + 1 - host);
  }
  std::replace_if(shown.begin(), shown.end(), isControl, '?');
  while (!shown.empty() && shown.back() == '/') shown.pop_back();
  return shown;
}

}  // namespace Core
