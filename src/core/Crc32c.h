#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace Core {

/// CRC-32C (Castagnoli; RFC 3720, appendix B.4): reflected polynomial 0x82F63B78, start and final xor
/// 0xFFFFFFFF; of "123456789" it is 0xE3069283. By the processor's instruction where it has one.
[[nodiscard]] std::uint32_t crc32c(std::span<const std::byte> bytes);

/// Those of three runs of @p size bytes each. Every step of one checksum waits for the step before, so three
/// side by side take little longer than one.
[[nodiscard]] std::array<std::uint32_t, 3> crc32cOfThree(const std::array<const std::byte*, 3>& runs,
                                                         std::size_t size);

/// The same as crc32c() by tables alone, as on processors without the instruction.
[[nodiscard]] std::uint32_t crc32cByTable(std::span<const std::byte> bytes);

}  // namespace Core
