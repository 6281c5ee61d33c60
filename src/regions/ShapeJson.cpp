#include "regions/ShapeJson.h"

#include <nlohmann/json.hpp>
#include <vector>

#include "regions/JsonValues.h"

namespace Math::Json {
namespace {

using nlohmann::json;

/// The place of a document's member, moved.
Point<float, 3> movedPoint(const json& value, const Point<double, 3>& shift) {
  return narrow<3>(toPoint<3>(value) - shift);
}

}  // namespace

json fromShape(const HalfSpace<float>& shape) {
  return {{"normal", fromPoint(shape.normal)}, {"constant", fromFloat(shape.constant)}};
}
void toShape(const json& document, const Point<double, 3>& shift, HalfSpace<float>& shape) {
  const auto normal = toPoint<3>(document.at("normal"));
  shape = {narrow<3>(normal), narrow(document.at("constant").get<double>() + dot(normal, shift))};
}

json fromShape(const NSphere<float, 3>& shape) {
  return {{"center", fromPoint(shape.center)}, {"radius", fromFloat(shape.radius)}};
}
void toShape(const json& document, const Point<double, 3>& shift, NSphere<float, 3>& shape) {
  shape = {movedPoint(document.at("center"), shift), toFloat(document.at("radius"))};
}

json fromShape(const NBoundingBox<float, 3>& shape) {
  return {{"min", fromPoint(shape.minimum)}, {"max", fromPoint(shape.maximum)}};
}
void toShape(const json& document, const Point<double, 3>& shift, NBoundingBox<float, 3>& shape) {
  shape = {movedPoint(document.at("min"), shift), movedPoint(document.at("max"), shift)};
}

json fromShape(const Cylinder<float>& shape) {
  return {{"axis", {{"origin", fromPoint(shape.origin)}, {"direction", fromPoint(shape.direction)}}},
          {"radius", fromFloat(shape.radius)}};
}
void toShape(const json& document, const Point<double, 3>& shift, Cylinder<float>& shape) {
  const json& axis = document.at("axis");
  shape = {movedPoint(axis.at("origin"), shift), narrow<3>(toPoint<3>(axis.at("direction"))),
           toFloat(document.at("radius"))};
}

json fromShape(const CylinderFinite<float>& shape) {
  return {{"axis", {{"startPoint", fromPoint(shape.start)}, {"endPoint", fromPoint(shape.end)}}},
          {"radius", fromFloat(shape.radius)}};
}
void toShape(const json& document, const Point<double, 3>& shift, CylinderFinite<float>& shape) {
  const json& axis = document.at("axis");
  shape = {movedPoint(axis.at("startPoint"), shift), movedPoint(axis.at("endPoint"), shift),
           toFloat(document.at("radius"))};
}

json fromShape(const Polygon<float>& shape) {
  json vertices = json::array();
  for (const Point<float, 2>& vertex : shape.ring().first(shape.numVertices())) {
    vertices.push_back(fromPoint(vertex));
  }
  return {{"vertices", std::move(vertices)}};
}
void toShape(const json& document, Polygon<float>& shape) {
  const json& vertices = checkArray(document.at("vertices"));
  std::vector<float> interleaved;
  interleaved.reserve(2 * vertices.size());
  for (const json& vertex : vertices) {
    const auto point = narrow<2>(toPoint<2>(vertex));
    interleaved.insert(interleaved.end(), {point[0], point[1]});
  }
  // A polygon of no vertices has no ring; one made of an empty list has.
  shape = interleaved.empty() ? Polygon<float>() : Polygon<float>(interleaved);
}

json fromShape(const NSphere<float, 2>& shape) {
  return {{"center", fromPoint(shape.center)}, {"radius", fromFloat(shape.radius)}};
}
void toShape(const json& document, NSphere<float, 2>& shape) {
  shape = {narrow<2>(toPoint<2>(document.at("center"))), toFloat(document.at("radius"))};
}

json fromShape(const NBoundingBox<float, 2>& shape) {
  return {{"min", fromPoint(shape.minimum)}, {"max", fromPoint(shape.maximum)}};
}
void toShape(const json& document, NBoundingBox<float, 2>& shape) {
  if (document.is_array()) {
    const std::vector<double> numbers = toNumbers(document, 4);
    shape = {{{narrow(numbers[0]), narrow(numbers[1])}}, {{narrow(numbers[2]), narrow(numbers[3])}}};
    return;
  }
  shape = {narrow<2>(toPoint<2>(document.at("min"))), narrow<2>(toPoint<2>(document.at("max")))};
}

json fromShape(const ImageSegmentation& shape) {
  return {{"size", {shape.width(), shape.height()}},
          {"counts", std::vector<std::uint64_t>(shape.counts().begin(), shape.counts().end())}};
}
void toShape(const json& document, ImageSegmentation& shape) {
  const json& size = document.at("size");
  static_cast<void>(toNumbers(size, 2));
  std::vector<std::uint64_t> counts;
  for (const json& count : checkArray(document.at("counts"))) counts.push_back(toUnsigned(count));
  shape = ImageSegmentation(toUnsigned(size[0]), toUnsigned(size[1]), std::move(counts));
}

json fromViewport(const RegionViewport& viewport) {
  return {{"x", viewport.x},
          {"y", viewport.y},
          {"width", viewport.width},
          {"height", viewport.height},
          {"minDepth", viewport.minimumDepth},
          {"maxDepth", viewport.maximumDepth}};
}
RegionViewport toViewport(const json& document) {
  return {toInt32(document.at("x")),           toInt32(document.at("y")),
          toUnsigned(document.at("width")),    toUnsigned(document.at("height")),
          toUnsigned(document.at("minDepth")), toUnsigned(document.at("maxDepth"))};
}

}  // namespace Math::Json
