#include "regions/RegionJson.h"

#include <Eigen/LU>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "core/BoundedJson.h"
#include "regions/InvertedRegion.h"
#include "regions/JsonValues.h"
#include "regions/ListRegions.h"
#include "regions/ProjectedClippingRegion.h"
#include "regions/ShapeJson.h"
#include "regions/TransformedRegion.h"
#include "regions/VolumetricClippingRegion.h"

namespace Math {
namespace {

using nlohmann::json;
using Region = ClippingRegion<float>;

/// A transformation for a frame with another origin, split so that large coordinates meet in double
/// precision: what is transformed has to be moved by -shift.
struct Placement {
  Matrix4<float> transformation;
  Point<double, 3> shift;
};

bool isAffine(const Matrix4<double>& m) { return m[3] == 0 && m[7] == 0 && m[11] == 0 && m[15] == 1; }

/// With A the inverse of the matrix's linear part and t its translation, a point p + origin of the document's
/// frame goes to A p + A (origin - t): the linear part stays, and the rest is the shift.
Placement place(const Matrix4<double>& matrix, const RegionOrigin& origin) {
  if (origin == RegionOrigin{}) return {Json::narrow(matrix), {}};
  if (isAffine(matrix)) {
    const Eigen::Matrix4d whole = Eigen::Map<const Eigen::Matrix4d>(matrix.data());
    const Eigen::Vector3d from(origin[0] - matrix[12], origin[1] - matrix[13], origin[2] - matrix[14]);
    const Eigen::Vector3d shift = whole.topLeftCorner<3, 3>().inverse() * from;
    if (shift.allFinite()) {
      Matrix4<double> linear = matrix;
      linear[12] = linear[13] = linear[14] = 0;
      return {Json::narrow(linear), {{shift[0], shift[1], shift[2]}}};
    }
  }
  Matrix4<double> moved = matrix;
  for (std::size_t column = 0; column < 4; ++column) {
    for (std::size_t row = 0; row < 3; ++row) {
      moved[4 * column + row] -= origin[static_cast<int>(row)] * matrix[4 * column + 3];
    }
  }
  return {Json::narrow(moved), {}};
}

Placement placeByTrafo(const json& document, const RegionOrigin& origin) {
  const auto trafo = document.find("trafo");
  return trafo == document.end() ? Placement{kIdentity4, origin} : place(Json::toMatrix(*trafo), origin);
}

/// The view-projection for points moved by -shift.
Matrix4<float> movedView(Matrix4<double> view, const Point<double, 3>& shift) {
  for (std::size_t row = 0; row < 4; ++row) {
    view[12 + row] += view[row] * shift[0] + view[4 + row] * shift[1] + view[8 + row] * shift[2];
  }
  return Json::narrow(view);
}

template <class Shape>
void write(const VolumetricClippingRegion<Shape>& region, json& document) {
  document["trafo"] = Json::fromMatrix(region.transformation());
  document["volume"] = Json::fromShape(region.shape());
}
template <class Shape>
void read(const json& document, const RegionOrigin& origin, VolumetricClippingRegion<Shape>& region) {
  const Placement placement = placeByTrafo(document, origin);
  Shape shape;
  Json::toShape(document.at("volume"), placement.shift, shape);
  region = VolumetricClippingRegion<Shape>(std::move(shape), placement.transformation);
}

template <class Shape>
void write(const ProjectedClippingRegion<Shape>& region, json& document) {
  document["trafo"] = Json::fromMatrix(region.transformation());
  document["viewProjection"] = Json::fromMatrix(region.viewProjection());
  document["viewport"] = Json::fromViewport(region.viewport());
  document["shape"] = Json::fromShape(region.shape());
}
template <class Shape>
void read(const json& document, const RegionOrigin& origin, ProjectedClippingRegion<Shape>& region) {
  const Placement placement = placeByTrafo(document, origin);
  const Matrix4<float> view = movedView(Json::toMatrix(document.at("viewProjection")), placement.shift);
  const RegionViewport viewport = Json::toViewport(document.at("viewport"));
  Shape shape;
  Json::toShape(document.at("shape"), shape);
  region = ProjectedClippingRegion<Shape>(std::move(shape), viewport, view, placement.transformation);
}

void write(const ListRegion& region, json& document) {
  json& regions = document["regions"] = json::array();
  for (const CompositeRegion::Child& child : region.children()) regions.push_back(writeRegion(*child));
}
void read(const json& document, const RegionOrigin& origin, ListRegion& region) {
  region.clear();
  for (const json& child : Json::checkArray(document.at("regions"))) region.append(readRegion(child, origin));
}

void write(const InvertedRegion& region, json& document) { document["region"] = writeRegion(region.child()); }
void read(const json& document, const RegionOrigin& origin, InvertedRegion& region) {
  region.setChild(readRegion(document.at("region"), origin));
}

void write(const TransformedRegion& region, json& document) {
  document["region"] = writeRegion(region.child());
  document["transformation"] = Json::fromMatrix(region.transformation());
}
void read(const json& document, const RegionOrigin& origin, TransformedRegion& region) {
  const Placement placement = place(Json::toMatrix(document.at("transformation")), origin);
  region.setChild(readRegion(document.at("region"), placement.shift));
  region.setTransformation(placement.transformation);
}

template <class Type>
void registerRegion(RegionTypes& types) {
  types.registerType(
      Type().typeName(),
      {[] { return std::make_unique<Type>(); },
       [](const Region& region, json& document) { write(dynamic_cast<const Type&>(region), document); },
       [](const json& document, const RegionOrigin& origin, Region& region) {
         if (document.at("type").get<std::string>() != region.typeName()) {
           throw std::runtime_error("Invalid region type");
         }
         read(document, origin, dynamic_cast<Type&>(region));
       }});
}

RegionTypes makeRegionTypes() {
  RegionTypes types;
  registerRegion<IntersectionRegion>(types);
  registerRegion<UnionRegion>(types);
  registerRegion<InvertedRegion>(types);
  registerRegion<TransformedRegion>(types);
  registerRegion<VolumetricClippingRegion<HalfSpace<float>>>(types);
  registerRegion<VolumetricClippingRegion<NSphere<float, 3>>>(types);
  registerRegion<VolumetricClippingRegion<NBoundingBox<float, 3>>>(types);
  registerRegion<VolumetricClippingRegion<Cylinder<float>>>(types);
  registerRegion<VolumetricClippingRegion<CylinderFinite<float>>>(types);
  registerRegion<ProjectedClippingRegion<NSphere<float, 2>>>(types);
  registerRegion<ProjectedClippingRegion<NBoundingBox<float, 2>>>(types);
  registerRegion<ProjectedClippingRegion<Polygon<float>>>(types);
  registerRegion<ProjectedClippingRegion<ImageSegmentation>>(types);
  return types;
}

}  // namespace

const RegionTypes& regionTypes() {
  static const RegionTypes kTypes = makeRegionTypes();
  return kTypes;
}

json writeRegion(const Region& region) {
  json document{{"type", region.typeName()}};
  regionTypes().functionsOf(region.typeName()).write(region, document);
  return document;
}

std::unique_ptr<Region> readRegion(const json& document, const RegionOrigin& origin) {
  const auto& functions = regionTypes().functionsOf(document.at("type").get<std::string>());
  std::unique_ptr<Region> region = functions.create();
  functions.read(document, origin, *region);
  return region;
}

std::string regionText(const Region* region) {
  return region == nullptr ? "null" : writeRegion(*region).dump();
}

std::unique_ptr<Region> parseRegion(std::string_view text, const RegionOrigin& origin) {
  // A region takes at most two levels, its object and the list that it stands in; a leaf three more.
  const Core::JsonLimits limits{.numBytes = kMostRegionBytes,
                                .numLevels = 2 * std::size_t{CompositeRegion::kMostNested} + 3,
                                .repeatedNames = false};
  return readRegion(Core::parseBoundedJson(text, limits, "clipping region"), origin);
}

}  // namespace Math
