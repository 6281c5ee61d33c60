// Any text is refused by a FormatError or read into metadata that the node format can be made of.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "core/FormatError.h"
#include "octree/potree/NodeDecoder.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  for (const auto use : {PoTree::MetaDataUse::Main, PoTree::MetaDataUse::ExternalAttributes}) {
    try {
      const PoTree::MetaData metaData = PoTree::parseMetaData(text, "fuzz", use);
      const PoTree::NodeFormat format(metaData, 1);
      const bool mainHasPositions =
          use == PoTree::MetaDataUse::ExternalAttributes || metaData.stored.positions;
      if (!mainHasPositions || format.bytesPerPoint < format.starts.stride) std::abort();
    } catch (const Core::FormatError&) {  // the only way to refuse
    }
  }
  return 0;
}
