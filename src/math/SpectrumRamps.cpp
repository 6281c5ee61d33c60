// Ramps between given colours. The published ones are reduced to those rows of their 256-row tables between
// which straight lines stay within one step of 255 of every row; docs/colour-maps.md names the sources.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <span>

#include "math/Spectrum.h"
#include "math/UnitInterval.h"

namespace Math::Spectrum {
namespace {

struct ColorStop {
  std::uint8_t position;  // of 255
  std::uint32_t rgb;      // 0xRRGGBB
};

/// The colour on the straight lines between @p stops, of which the first stands at 0 and the last at 255.
Color colorAt(std::span<const ColorStop> stops, double t) {
  const double position = 255 * toUnitInterval(t);
  // The last stop is left out of the search, so that there is always one behind.
  const auto behind = std::upper_bound(stops.begin() + 1, stops.end() - 1, position,
                                       [](double p, const ColorStop& stop) { return p < stop.position; });
  const ColorStop& from = *(behind - 1);
  const ColorStop& to = *behind;
  const double fraction = (position - from.position) / (to.position - from.position);
  const auto channel = [&](unsigned shift) {
    const double first = from.rgb >> shift & 0xFF;
    const double second = to.rgb >> shift & 0xFF;
    return static_cast<std::uint8_t>(std::lround(first + fraction * (second - first)));
  };
  return {channel(16), channel(8), channel(0), 255};
}

constexpr std::array<ColorStop, 35> kTurbo = {
    {{0, 0x30123B},   {4, 0x351E58},   {11, 0x3C3286},  {19, 0x4249B1},  {25, 0x4559CB},  {30, 0x4666DD},
     {36, 0x4776EE},  {42, 0x4685FA},  {48, 0x4294FF},  {54, 0x3AA3FC},  {60, 0x2FB2F4},  {68, 0x22C5E2},
     {74, 0x1AD2D2},  {79, 0x18DBC5},  {84, 0x19E3B9},  {90, 0x22EBAA},  {98, 0x38F491},  {108, 0x5DFC6F},
     {119, 0x88FF4E}, {125, 0x9CFE40}, {132, 0xAFFA37}, {138, 0xBEF434}, {145, 0xD0EA34}, {154, 0xE3DB38},
     {162, 0xF1CB3A}, {170, 0xFABA39}, {178, 0xFEA732}, {188, 0xFD8A26}, {198, 0xF66C19}, {208, 0xEB500E},
     {215, 0xE14109}, {226, 0xCC2B04}, {237, 0xB21A01}, {248, 0x920B01}, {255, 0x7A0403}}};

constexpr std::array<ColorStop, 25> kInferno = {
    {{0, 0x000004},   {3, 0x010108},   {9, 0x040314},   {19, 0x0E092B},  {27, 0x190C3E},
     {35, 0x260C51},  {44, 0x360961},  {54, 0x470B6A},  {64, 0x57106E},  {83, 0x751B6E},
     {101, 0x922568}, {122, 0xB3325A}, {141, 0xCE4347}, {158, 0xE25734}, {174, 0xF06F20},
     {190, 0xF98B0B}, {196, 0xFB9606}, {202, 0xFCA108}, {209, 0xFCAE12}, {222, 0xF9C72F},
     {231, 0xF5D949}, {237, 0xF3E55D}, {243, 0xF1EF75}, {250, 0xF5F992}, {255, 0xFCFFA4}}};

constexpr std::array<ColorStop, 18> kPlasma = {{{0, 0x0D0887},
                                                {4, 0x19068C},
                                                {14, 0x2E0595},
                                                {33, 0x4E02A2},
                                                {50, 0x6900A8},
                                                {62, 0x7B02A8},
                                                {71, 0x8808A6},
                                                {85, 0x9C179E},
                                                {101, 0xB02991},
                                                {124, 0xC8437B},
                                                {154, 0xE26561},
                                                {177, 0xF1814D},
                                                {199, 0xFB9F3A},
                                                {221, 0xFEC029},
                                                {234, 0xFBD524},
                                                {250, 0xF3F027},
                                                {254, 0xF0F724},
                                                {255, 0xF0F921}}};

constexpr std::array<ColorStop, 21> kMagma = {
    {{0, 0x000004},   {5, 0x02020B},   {13, 0x07061C},  {25, 0x140E36},  {37, 0x241253},  {47, 0x341069},
     {55, 0x420F75},  {64, 0x51127C},  {79, 0x681C81},  {105, 0x912B81}, {125, 0xB2357B}, {140, 0xCA3E72},
     {154, 0xDF4A68}, {164, 0xEB5760}, {173, 0xF3655C}, {181, 0xF8745C}, {192, 0xFC8961}, {206, 0xFEA36F},
     {220, 0xFEBD82}, {232, 0xFED395}, {255, 0xFCFDBF}}};

constexpr std::array<ColorStop, 20> kViridis = {
    {{0, 0x440154},   {13, 0x481467},  {29, 0x482979},  {46, 0x433E85},  {63, 0x3B518B},
     {84, 0x31678E},  {119, 0x23888E}, {139, 0x1E9B8A}, {149, 0x20A486}, {157, 0x25AC82},
     {166, 0x2FB47C}, {178, 0x42BE71}, {192, 0x5EC962}, {200, 0x70CF57}, {213, 0x90D743},
     {233, 0xC5E021}, {240, 0xD8E219}, {246, 0xE7E419}, {251, 0xF4E61E}, {255, 0xFDE725}}};

constexpr std::array<ColorStop, 22> kCoolToWarm = {
    {{0, 0x3B4CC0},   {9, 0x455CCE},   {25, 0x5977E3},  {43, 0x7093F4},  {60, 0x88ABFD},  {74, 0x9BBCFF},
     {87, 0xADC9FD},  {104, 0xC3D5F4}, {117, 0xD2DBE8}, {127, 0xDCDDDD}, {140, 0xE9D6CB}, {153, 0xF2CBB7},
     {167, 0xF7BCA1}, {182, 0xF7A889}, {195, 0xF39475}, {210, 0xEA7A5F}, {225, 0xDC5D4A}, {239, 0xCB3E38},
     {247, 0xC0282F}, {251, 0xBA1A2B}, {253, 0xB71128}, {255, 0xB40426}}};

constexpr std::array<ColorStop, 8> kThermo = {{{0, 0x00000A},
                                               {32, 0x1C0A64},
                                               {72, 0x6E0C96},
                                               {112, 0xB8208A},
                                               {150, 0xE6504A},
                                               {188, 0xF98F16},
                                               {224, 0xFCCB35},
                                               {255, 0xFFFFE6}}};

}  // namespace

Color Thermo::operator()(double t) const { return colorAt(kThermo, t); }
Color Turbo::operator()(double t) const { return colorAt(kTurbo, t); }
Color Inferno::operator()(double t) const { return colorAt(kInferno, t); }
Color Plasma::operator()(double t) const { return colorAt(kPlasma, t); }
Color Magma::operator()(double t) const { return colorAt(kMagma, t); }
Color Viridis::operator()(double t) const { return colorAt(kViridis, t); }
Color CoolToWarm::operator()(double t) const { return colorAt(kCoolToWarm, t); }

}  // namespace Math::Spectrum
