#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Testing {

/// A small ZIP archive of stored entries, valid unless told otherwise.
class ZipFile {
 public:
  ZipFile& entry(const std::string& name, const std::string& content);
  /// An entry whose head tells of other sizes, method or flags than there are.
  struct Claims {
    std::uint32_t size = 0;
    std::uint16_t method = 0;
    std::uint16_t flags = 0;
    std::uint32_t crcError = 0;  ///< added to the true checksum
  };
  ZipFile& oddEntry(const std::string& name, const std::string& content, const Claims& claims);

  [[nodiscard]] std::string bytes() const;

 private:
  std::string entries_;
  std::string directory_;
  std::uint16_t count_ = 0;
};

}  // namespace Testing
