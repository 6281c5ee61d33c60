#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Formats {

/// A variable-length record of a LAS file (VLR, before the points) or an extended one (EVLR, behind them).
struct LasVlr {
  std::string userId;
  std::uint16_t recordId = 0;
  std::uint64_t dataOffset = 0;  ///< in the file
  std::uint64_t dataSize = 0;

  [[nodiscard]] bool is(std::string_view user, std::uint16_t record) const {
    return recordId == record && userId == user;
  }
  bool operator==(const LasVlr&) const = default;
};

/// Where a file states that records lie, one after the other.
struct LasVlrRegion {
  enum class Kind { Vlr, Evlr };
  Kind kind = Kind::Vlr;
  std::uint64_t begin = 0;  ///< in the file
  std::uint64_t end = 0;    ///< no record reaches beyond it
  std::uint64_t count = 0;  ///< as stated: it may be larger than what is there
};

/// Fills a span with the file's bytes from an offset on; only ranges inside the region are asked for.
using FetchBytes = std::function<void(std::uint64_t offset, std::span<std::byte> out)>;

/// Lists the records of a region: from header to header, so that records of any size cost nothing. It ends
/// before a record that would leave the region, and after 10,000; warnings say so.
[[nodiscard]] std::vector<LasVlr> listLasVlrs(const LasVlrRegion& region, const FetchBytes& fetch,
                                              std::vector<std::string>& warnings);

}  // namespace Formats
