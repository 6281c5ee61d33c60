#pragma once

/// The whole public interface: every class and function that libSorvik exports, in namespace Sorvik.
///
/// Public classes own their state through one pointer. Where an operation says that it checks an argument, a
/// wrong one is a std::invalid_argument, thrown before anything is changed. All coordinates are single
/// precision.

#include "Sorvik/Attribute.h"
#include "Sorvik/AttributeColumn.h"
#include "Sorvik/AttributeType.h"
#include "Sorvik/BoundingBox.h"
#include "Sorvik/BoundingRectangle.h"
#include "Sorvik/Circle.h"
#include "Sorvik/ClassificationInfo.h"
#include "Sorvik/ClippingRegion.h"
#include "Sorvik/Color.h"
#include "Sorvik/ColorMap.h"
#include "Sorvik/ColoredPoint.h"
#include "Sorvik/CompositeClippingRegion.h"
#include "Sorvik/Converter.h"
#include "Sorvik/Cylinder.h"
#include "Sorvik/CylinderFinite.h"
#include "Sorvik/Export.h"
#include "Sorvik/Location.h"
#include "Sorvik/OrientedBoundingBox.h"
#include "Sorvik/OrientedBoundingRectangle.h"
#include "Sorvik/Plane.h"
#include "Sorvik/PointChunk.h"
#include "Sorvik/PointCloud.h"
#include "Sorvik/PointFileWriter.h"
#include "Sorvik/PointIterators.h"
#include "Sorvik/Polygon.h"
#include "Sorvik/ProjectedClippingRegion.h"
#include "Sorvik/ResultPointInfo.h"
#include "Sorvik/Sample.h"
#include "Sorvik/ScanReaderPlugin.h"
#include "Sorvik/Span.h"
#include "Sorvik/Sphere.h"
#include "Sorvik/Transformation.h"
#include "Sorvik/Version.h"
#include "Sorvik/Viewport.h"
#include "Sorvik/VolumetricClippingRegion.h"
