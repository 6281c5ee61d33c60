#pragma once

#include <memory>
#include <string>

#include "octree/potree/Location.h"

namespace Core {
class HttpClientAuthentication;
}

namespace PoTree {

/// An octree behind an https address. Transfers are not available yet: every fetch fails saying so.
class HttpsLocation final : public Location {
 public:
  /// @param authentication  credentials for the server; may be empty.
  HttpsLocation(std::string url, std::shared_ptr<Core::HttpClientAuthentication> authentication);

  [[nodiscard]] std::string toString() const override;

  [[nodiscard]] std::future<std::string> fetchFile(const std::string& name, std::uint64_t byteOffset,
                                                   std::uint64_t byteCount,
                                                   std::stop_token stopToken) const override;
  [[nodiscard]] std::future<std::uint64_t> fetchFileSize(const std::string& name,
                                                         std::stop_token stopToken) const override;

 private:
  std::string url_;
  std::shared_ptr<Core::HttpClientAuthentication> authentication_;
};

}  // namespace PoTree
