#include "octree/potree/HttpsLocation.h"

#include <chrono>
#include <utility>

#include "core/http/HttpError.h"
#include "core/http/HttpsUrl.h"

namespace PoTree {

HttpsLocation::HttpsLocation(std::string url, std::shared_ptr<Core::HttpClientAuthentication> authentication,
                             const Core::HttpSettings& settings)
    : url_(std::move(url)), client_(url_, std::move(authentication), settings) {}

bool HttpsLocation::exists() const {
  const auto deadline = Core::HttpClient::Clock::now() + std::chrono::seconds(10);
  const auto fetch = [&](const char* name) { return client_.fetchWhole(name, {}, deadline).get(); };
  try {
    try {
      (void)fetch(kMetaDataFile);
    } catch (const Core::HttpError& error) {
      if (!error.isRefusal()) return false;
      (void)fetch(kEntwineMetaDataFile);
    }
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

std::string HttpsLocation::toString() const { return Core::printableUrl(url_); }

std::future<std::string> HttpsLocation::fetchFile(const std::string& name, std::uint64_t byteOffset,
                                                  std::uint64_t byteCount, std::stop_token stopToken) const {
  if (byteCount == kWholeFile) return client_.fetchWhole(name, std::move(stopToken));
  return client_.fetchRange(name, byteOffset, byteCount, std::move(stopToken));
}

std::future<std::uint64_t> HttpsLocation::fetchFileSize(const std::string& name,
                                                        std::stop_token stopToken) const {
  return client_.fetchSize(name, std::move(stopToken));
}

}  // namespace PoTree
