#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace Testing {

/// Which records: of a LAS point format of 0 to 3 or 6 to 8, with that many bytes behind its own.
struct LasRecordKind {
  std::uint8_t pointFormat = 0;
  std::uint16_t numExtraBytes = 0;

  [[nodiscard]] std::size_t length() const;
};

/// @p count records as a scanner makes them: neighbours differ little, pulses have several returns, GPS times
/// come in steps, of several interwoven sequences and with jumps, attributes change now and then, and the
/// scanner channel (from format 6 on) goes to and fro.
[[nodiscard]] std::string scannedRecords(const LasRecordKind& kind, std::size_t count, unsigned seed);

/// @p count records of any bytes.
[[nodiscard]] std::string randomRecords(const LasRecordKind& kind, std::size_t count, unsigned seed);

}  // namespace Testing
