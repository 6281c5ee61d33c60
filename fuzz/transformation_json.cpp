// Any text is refused by a FormatError or read into a transformation of finite numbers, whose own text reads
// back as the same.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <string_view>

#include "core/FormatError.h"
#include "math/Transformation.h"

namespace {

Math::Transformation parse(std::string_view text) {
  Math::Transformation result;
  from_json(Core::parseBoundedJson(text, Math::kTransformationText, "fuzz"), result);
  return result;
}

std::string write(const Math::Transformation& transformation) {
  nlohmann::json value;
  to_json(value, transformation);
  return value.dump();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    const Math::Transformation read = parse({reinterpret_cast<const char*>(data), size});
    const float sum = read.rotation().w + read.scale()[0] + read.translation()[0];
    if (std::isnan(sum)) std::abort();
    const std::string text = write(read);
    if (write(parse(text)) != text) std::abort();
    (void)write(read.inverse());
  } catch (const Core::FormatError&) {  // the only way to refuse
  }
  return 0;
}
