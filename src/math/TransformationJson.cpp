#include <cmath>
#include <nlohmann/json.hpp>
#include <string>

#include "core/FormatError.h"
#include "math/Transformation.h"

namespace Math {
namespace {

using nlohmann::json;

constexpr const char* kDocument = "transformation";

/// N numbers as floats.
template <std::size_t N>
std::array<float, N> floats(const json& list, const char* name) {
  const std::string expected = std::to_string(N) + " numbers within single precision";
  if (!list.is_array()) throw Core::FormatError(kDocument, name, expected, list.type_name());
  if (list.size() != N) {
    throw Core::FormatError(kDocument, name, expected, std::to_string(list.size()) + " elements");
  }
  std::array<float, N> result{};
  for (std::size_t i = 0; i < N; ++i) {
    if (!list[i].is_number()) throw Core::FormatError(kDocument, name, expected, list[i].type_name());
    result[i] = static_cast<float>(list[i].get<double>());
    if (!std::isfinite(result[i])) throw Core::FormatError(kDocument, name, expected, list[i].dump());
  }
  return result;
}

const json& required(const json& object, const char* name) {
  const auto found = object.find(name);
  if (found == object.end()) throw Core::FormatError(kDocument, name, "a list of numbers", "no such member");
  return *found;
}

Point<float, 3> point(const json& list, const char* name) {
  const auto [x, y, z] = floats<3>(list, name);
  return {{x, y, z}};
}

/// Widened, so that the text has the digits of the value that is meant.
json list(const Point<float, 3>& p) {
  return {static_cast<double>(p[0]), static_cast<double>(p[1]), static_cast<double>(p[2])};
}

}  // namespace

void to_json(json& value, const Transformation& transformation) {
  const Quaternion& q = transformation.rotation();
  value = {{"rotation",
            {static_cast<double>(q.x), static_cast<double>(q.y), static_cast<double>(q.z),
             static_cast<double>(q.w)}},
           {"scale", list(transformation.scale())},
           {"translation", list(transformation.translation())}};
}

void from_json(const json& value, Transformation& transformation) {
  if (!value.is_object()) {
    throw Core::FormatError(kDocument, "document", "an object", value.type_name());
  }
  transformation.setTranslation(point(required(value, "translation"), "translation"));
  const auto [x, y, z, w] = floats<4>(required(value, "rotation"), "rotation");
  transformation.setRotation({x, y, z, w});
  const auto scale = value.find("scale");
  transformation.setScale(scale == value.end() ? Point<float, 3>{{1, 1, 1}} : point(*scale, "scale"));
}

}  // namespace Math
