#pragma once

#include <string>

namespace Core {

/// Credentials for a server, sent to the address that they were given for and to no host that it redirects
/// to. Never part of a message. A token goes before user and password.
class HttpClientAuthentication {
 public:
  std::string user{};  ///< with password: basic authentication (RFC 7617)
  std::string password{};
  std::string bearerToken{};  ///< RFC 6750
};

}  // namespace Core
