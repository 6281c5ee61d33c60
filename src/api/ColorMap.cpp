#include "Sorvik/ColorMap.h"

#include <cstring>
#include <filesystem>

#include "api/Arguments.h"
#include "core/WideText.h"
#include "render/ColorMapLegend.h"

namespace Sorvik {
namespace {

static_assert(sizeof(Color) == sizeof(::Math::Color));

/// Whether width * height is @p count, also where the product is larger than any number.
bool isProduct(std::size_t width, std::size_t height, std::uint64_t count) {
  if (width == 0 || height == 0) return count == 0;
  return count % width == 0 && count / width == height;
}

::Graphics::ColorImage drawLegend(ColorMap colorMap, std::size_t width, std::size_t height,
                                  ColorMapOrientation orientation) {
  const bool horizontal = orientation == ColorMapOrientation::Horizontal;
  return ::Render::drawLegend(static_cast<::Render::ColorMap>(colorMap), width, height,
                              horizontal ? ::Render::LegendDirection::Right : ::Render::LegendDirection::Up);
}

}  // namespace

void renderColorMap(ColorMap colorMap, std::size_t width, std::size_t height, Span<Color> colorImage,
                    ColorMapOrientation orientation) {
  checkArgument(isProduct(width, height, colorImage.size()), "Error: width * height != colorImage.size()");
  const ::Graphics::ColorImage image = drawLegend(colorMap, width, height, orientation);
  if (!colorImage.empty()) std::memcpy(colorImage.data(), image.data(), colorImage.size() * sizeof(Color));
}

void renderColorMapToPng(ColorMap colorMap, std::size_t width, std::size_t height, const std::wstring& path,
                         ColorMapOrientation orientation) {
  checkArgument(width != 0 && height != 0, "Error: width * height == 0");
  drawLegend(colorMap, width, height, orientation)
      .writePng(std::filesystem::path(::Core::utf8FromWide(path)));
}

}  // namespace Sorvik
