#pragma once

#include <nlohmann/json_fwd.hpp>

#include "math/Cylinder.h"
#include "math/Polygon.h"
#include "math/Sphere.h"
#include "regions/HalfSpace.h"
#include "regions/ImageSegmentation.h"
#include "regions/ProjectedClippingRegion.h"

/// The documents of shapes. Solid shapes are moved by -@p shift while they are read, in double precision;
/// plane shapes are in pixels.
namespace Math::Json {

[[nodiscard]] nlohmann::json fromShape(const HalfSpace<float>& shape);
[[nodiscard]] nlohmann::json fromShape(const NSphere<float, 3>& shape);
[[nodiscard]] nlohmann::json fromShape(const NBoundingBox<float, 3>& shape);
[[nodiscard]] nlohmann::json fromShape(const Cylinder<float>& shape);
[[nodiscard]] nlohmann::json fromShape(const CylinderFinite<float>& shape);
[[nodiscard]] nlohmann::json fromShape(const Polygon<float>& shape);
[[nodiscard]] nlohmann::json fromShape(const NSphere<float, 2>& shape);
[[nodiscard]] nlohmann::json fromShape(const NBoundingBox<float, 2>& shape);
[[nodiscard]] nlohmann::json fromShape(const ImageSegmentation& shape);

void toShape(const nlohmann::json& document, const Point<double, 3>& shift, HalfSpace<float>& shape);
void toShape(const nlohmann::json& document, const Point<double, 3>& shift, NSphere<float, 3>& shape);
void toShape(const nlohmann::json& document, const Point<double, 3>& shift, NBoundingBox<float, 3>& shape);
void toShape(const nlohmann::json& document, const Point<double, 3>& shift, Cylinder<float>& shape);
void toShape(const nlohmann::json& document, const Point<double, 3>& shift, CylinderFinite<float>& shape);
void toShape(const nlohmann::json& document, Polygon<float>& shape);
void toShape(const nlohmann::json& document, NSphere<float, 2>& shape);
void toShape(const nlohmann::json& document, NBoundingBox<float, 2>& shape);
void toShape(const nlohmann::json& document, ImageSegmentation& shape);

[[nodiscard]] nlohmann::json fromViewport(const RegionViewport& viewport);
[[nodiscard]] RegionViewport toViewport(const nlohmann::json& document);

}  // namespace Math::Json
