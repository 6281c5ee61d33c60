#pragma once

#include <memory>

#include "converter/ScanReader.h"
#include "math/Pose.h"

namespace Converter {

/// A scan brought from its own coordinate system to another. Its coordinates are world ones in double
/// precision, whatever they were; its normals ("NormalX", "NormalY", "NormalZ") are turned with it: they must
/// be wanted together or not at all. A coordinate system that the file states no longer holds, and is dropped
/// with a warning.
[[nodiscard]] std::unique_ptr<ScanReader> withPose(std::unique_ptr<ScanReader> scan, const Math::Pose& pose);

}  // namespace Converter
