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

/// A base address on a web server, reached over https without credentials. Transfers are not available yet:
/// opening a cloud fails with "https is not available yet".
class SORVIK_API HttpsLocation final : public Location {
 public:
  /// @param url  address of the folder that holds the cloud's files; no request is made for it here.
  explicit HttpsLocation(const std::string& url);
};

}  // namespace Sorvik
