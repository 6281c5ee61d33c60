#include "sorvik/PointLayout.h"

namespace Program {

std::array<double, 3> originIn(Frame frame, const Sorvik::PointCloud& cloud) {
  std::array<double, 3> origin{};
  if (frame == Frame::World) cloud.getReferencePosition(origin);
  return origin;
}

PointLayout layoutOf(const Sorvik::PointCloud& cloud, Frame frame) {
  PointLayout layout;
  layout.origin = originIn(frame, cloud);
  cloud.getScale(layout.scale);
  // Other texts than WKT have no place in point files.
  if (const std::string projection = cloud.projection(); projection.find('[') != std::string::npos) {
    layout.projection = projection;
  }
  layout.colors = cloud.hasColors();
  layout.intensities = cloud.hasIntensities();
  layout.classification = cloud.hasClassification();
  layout.normals = cloud.hasNormals();
  return layout;
}

}  // namespace Program
