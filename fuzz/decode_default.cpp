// Any bytes under any attribute list: whole records are decoded, none beyond the bytes.
#include "NodeInput.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Fuzz::NodeInput input({data, size}, PoTree::Encoding::Uncompressed);
  Fuzz::decodeTwice(input, input.data);
  return 0;
}
