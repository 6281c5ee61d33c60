#include "octree/potree/HttpsLocation.h"

#include <stdexcept>
#include <utility>

namespace PoTree {
namespace {

std::exception_ptr notAvailable() {
  return std::make_exception_ptr(std::runtime_error("https is not available yet"));
}

}  // namespace

HttpsLocation::HttpsLocation(std::string url, std::shared_ptr<Core::HttpClientAuthentication> authentication)
    : url_(std::move(url)), authentication_(std::move(authentication)) {}

std::string HttpsLocation::toString() const { return url_; }

std::future<std::string> HttpsLocation::fetchFile(const std::string&, std::uint64_t, std::uint64_t,
                                                  std::stop_token) const {
  return Core::failedFuture<std::string>(notAvailable());
}

std::future<std::uint64_t> HttpsLocation::fetchFileSize(const std::string&, std::stop_token) const {
  return Core::failedFuture<std::uint64_t>(notAvailable());
}

}  // namespace PoTree
