#pragma once

#include <memory>
#include <string>

#include "core/http/HttpClient.h"
#include "octree/potree/Location.h"

namespace PoTree {

/// An octree behind an https address: its files lie below the address' path, and the address' query goes with
/// each of them. There are no external attribute octrees. How requests are made is told in docs/https.md.
/// A dataset that changes while a location lives fails what is fetched from then on; a new location reads it.
class HttpsLocation final : public Location {
 public:
  /// @param url             makes no request, and fails every fetch when it is no https address.
  /// @param authentication  credentials for the server; may be empty.
  HttpsLocation(std::string url, std::shared_ptr<Core::HttpClientAuthentication> authentication,
                const Core::HttpSettings& settings = {});

  /// One try of at most 10 seconds in all.
  [[nodiscard]] bool exists() const override;
  /// The address without user, password and query, which may be secrets.
  [[nodiscard]] std::string toString() const override;

  [[nodiscard]] std::future<std::string> fetchFile(const std::string& name, std::uint64_t byteOffset,
                                                   std::uint64_t byteCount,
                                                   std::stop_token stopToken) const override;
  [[nodiscard]] std::future<std::uint64_t> fetchFileSize(const std::string& name,
                                                         std::stop_token stopToken) const override;

 private:
  [[nodiscard]] std::string identity() const override { return url_; }

  const std::string url_;
  mutable Core::HttpClient client_;
};

}  // namespace PoTree
