#pragma once

#include <cstring>
#include <stdexcept>
#include <string>

#include "formats/e57/Packets.h"
#include "formats/e57/Pages.h"

namespace Testing {

/// The contents of the pages of a file.
class LogicalBytes {
 public:
  explicit LogicalBytes(const std::string& file) {
    using namespace Formats::E57;
    for (std::size_t page = 0; page < file.size(); page += kPageSize) bytes_.append(file, page, kPageContent);
  }

  /// Views this. Bytes beyond the end are a std::logic_error: a reader should not have asked for them.
  [[nodiscard]] Formats::E57::Fetch fetch() const {
    return [this](std::uint64_t offset, std::span<std::byte> out) {
      if (offset > bytes_.size() || out.size() > bytes_.size() - offset)
        throw std::logic_error("beyond the end");
      std::memcpy(out.data(), bytes_.data() + offset, out.size());
    };
  }
  [[nodiscard]] std::uint64_t fileLength() const { return Formats::E57::physicalOffset(bytes_.size()); }

 private:
  std::string bytes_;
};

}  // namespace Testing
