#include "render/ColorMap.h"

namespace Render {

Math::Spectrum::SpectrumNames spectrumName(const ColorMap& colorMap) {
  return static_cast<Math::Spectrum::SpectrumNames>(colorMap);
}

SpectrumFunction legendSpectrum(Math::Spectrum::SpectrumNames name) {
  namespace Spectrum = Math::Spectrum;
  using enum Math::Spectrum::SpectrumNames;
  constexpr double kThird = 1.0 / 3;
  switch (name) {
    case Gray:
      return Spectrum::Gray();
    case BlueGreenRed:
      return Spectrum::BlueGreenRed();
    case Bone:
      return Spectrum::Bone();
    case Jet:
      return Spectrum::Jet();
    case Hot:
      return Spectrum::Hot();
    case Thermo:
      return Spectrum::Thermo();
    case Hsv:
      return Spectrum::Hsv();
    case Beer:
      return Spectrum::Beer(0.5);
    case Turbo:
      return Spectrum::Turbo();
    case Inferno:
      return Spectrum::Inferno();
    case Plasma:
      return Spectrum::Plasma();
    case Magma:
      return Spectrum::Magma();
    case Viridis:
      return Spectrum::Viridis();
    case RedWhiteBlue:
      return Spectrum::RedWhiteBlue();
    case LevelOfAccuracy:
      return Spectrum::LevelOfAccuracy();
    case PassFail:
      return Spectrum::PassFail(-0.5, 0.5, -1, 1);
    case TrafficLight:
      return Spectrum::TrafficLight(-2 * kThird, 2 * kThird, -kThird, kThird, -1, 1);
    case CoolToWarm:
      return Spectrum::CoolToWarm();
  }
  return {};
}

}  // namespace Render
