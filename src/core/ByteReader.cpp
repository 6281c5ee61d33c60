#include "core/ByteReader.h"

#include <string>

namespace Core {

std::span<const std::byte> ByteReader::take(std::size_t count, std::string_view field) {
  if (count > remaining()) {
    throw FormatError({source_.name, source_.offset + position_}, field, std::to_string(count) + " bytes",
                      std::to_string(remaining()));
  }
  const std::span<const std::byte> taken = bytes_.subspan(position_, count);
  position_ += count;
  return taken;
}

}  // namespace Core
