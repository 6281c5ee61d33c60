#pragma once

#include <string>
#include <string_view>

namespace Core {

/// An https address, parsed once by libcurl: spaces are escaped, "." and ".." segments are gone, a fragment
/// is left out, user and password stand apart.
class HttpsUrl {
 public:
  /// @throws std::runtime_error naming the address and what is wrong: control characters, another scheme, no
  ///         host, or whatever libcurl has to say.
  explicit HttpsUrl(std::string_view text);

  /// The address of a file below this one: the name comes before the query, which stays. An empty name gives
  /// the address itself.
  [[nodiscard]] HttpsUrl file(std::string_view name) const;
  /// Where a redirect leads to, from here.
  /// @throws as the constructor; of an address of http it says that it is a downgrade.
  [[nodiscard]] HttpsUrl redirected(std::string_view location) const;

  /// With the query: for the server, and for nobody else.
  [[nodiscard]] const std::string& text() const { return text_; }
  [[nodiscard]] const std::string& user() const { return user_; }
  [[nodiscard]] const std::string& password() const { return password_; }
  [[nodiscard]] bool hasSameOrigin(const HttpsUrl& other) const { return origin_ == other.origin_; }

 private:
  std::string text_;
  std::string origin_;  // host and port
  std::string user_;
  std::string password_;
};

/// An address as messages show it: without user, password, query and fragment, which may be secrets; control
/// characters become question marks. Any text will do.
[[nodiscard]] std::string printableUrl(std::string_view text);

}  // namespace Core
