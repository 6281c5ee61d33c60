#pragma once

#include <memory>
#include <string>

#include "Sorvik/Export.h"

namespace Sorvik {

/// Names where a point cloud is stored. Making one reads nothing; copies share one storage handle, and a
/// PointCloud opened from a location keeps that handle, so the location may go before the cloud.
/// A moved-from object may only be destroyed or assigned to.
/// Threads: const calls are safe together, on copies too.
class SORVIK_API Location {
 public:
  /// Names nothing: it does not exist and cannot be opened.
  Location();
  Location(const Location& other);
  Location(Location&& other) noexcept;
  Location& operator=(const Location& other);
  /// Exchanges what the two objects name.
  Location& operator=(Location&& other) noexcept;
  virtual ~Location();

  /// Whether the storage can be reached and holds a point cloud. False, never an exception, when it cannot.
  /// Of an https location it takes 10 seconds at most.
  [[nodiscard]] bool exists() const;

 protected:
  struct Impl;

 private:
  friend struct EngineAccess;
  std::unique_ptr<Impl> impl_;
};

/// A folder on a file system.
class SORVIK_API FileSystemLocation final : public Location {
 public:
  /// @param path  absolute or relative to the working directory; it need not exist.
  explicit FileSystemLocation(const std::wstring& path);
};

/// The folder of a cloud on a web server, reached over https. Files are fetched by ranges, several at a time
/// over up to eight connections or one of HTTP/2, and what fails in passing is tried again for up to a minute
/// of waiting. Certificates are verified against the system's and those that SSL_CERT_FILE and SSL_CERT_DIR
/// name. A proxy is used where https_proxy names one. A cloud whose files change while it is open fails what
/// it fetches from then on, rather than mix two versions; a new location reads the new one.
class SORVIK_API HttpsLocation final : public Location {
 public:
  /// @param url  address of the folder that holds the cloud's files; no request is made for it here. A query
  ///             ("?token=...") goes with every file, and user and password before the host do; messages show
  ///             neither. An address that is none, or not https, fails when it is opened.
  explicit HttpsLocation(const std::string& url);
};

}  // namespace Sorvik
