// Any text is refused by a FormatError or read into a table of classes, whose own text reads back as the
// same.
#include <cstdint>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <string_view>

#include "core/FormatError.h"
#include "math/ClassificationInfo.h"

namespace {

Math::ClassificationInfo parse(std::string_view text) {
  Math::ClassificationInfo result;
  from_json(Core::parseBoundedJson(text, Math::kClassTableText, "fuzz"), result);
  return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    const Math::ClassificationInfo read = parse({reinterpret_cast<const char*>(data), size});
    nlohmann::json value;
    to_json(value, read);
    if (parse(value.dump()) != read) std::abort();
  } catch (const Core::FormatError&) {  // the only way to refuse
  }
  return 0;
}
