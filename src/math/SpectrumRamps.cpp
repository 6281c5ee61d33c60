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

constexpr std::array<ColorStop, 27> kTurbo = {
    {{0, 0x30123B},   {7, 0x38276D},   {14, 0x3F3B97},  {22, 0x4451BF},  {29, 0x4664DA},  {36, 0x4776EE},
     {43, 0x4687FB},  {50, 0x4099FF},  {58, 0x33ADF7},  {66, 0x25C0E7},  {74, 0x1AD2D2},  {82, 0x18E0BD},
     {89, 0x20EAAC},  {98, 0x38F491},  {112, 0x6DFE62}, {123, 0x96FE44}, {132, 0xAFFA37}, {141, 0xC6F034},
     {155, 0xE5D938}, {167, 0xF7C13A}, {178, 0xFEA732}, {190, 0xFC8423}, {203, 0xF15D13}, {213, 0xE4450A},
     {228, 0xC82803}, {241, 0xA71401}, {255, 0x7A0403}}};

constexpr std::array<ColorStop, 19> kInferno = {{{0, 0x000004},
                                                 {6, 0x02020E},
                                                 {22, 0x120A32},
                                                 {35, 0x260C51},
                                                 {45, 0x380962},
                                                 {58, 0x4D0D6C},
                                                 {81, 0x721A6E},
                                                 {103, 0x952667},
                                                 {126, 0xB93556},
                                                 {151, 0xDA4E3C},
                                                 {172, 0xEF6C23},
                                                 {194, 0xFA9207},
                                                 {201, 0xFC9F07},
                                                 {209, 0xFCAE12},
                                                 {220, 0xFAC42A},
                                                 {232, 0xF5DB4C},
                                                 {241, 0xF1EC6D},
                                                 {249, 0xF4F88E},
                                                 {255, 0xFCFFA4}}};

constexpr std::array<ColorStop, 14> kPlasma = {{{0, 0x0D0887},
                                                {7, 0x20068F},
                                                {26, 0x43039E},
                                                {50, 0x6900A8},
                                                {64, 0x7E03A8},
                                                {78, 0x920FA3},
                                                {101, 0xB02991},
                                                {138, 0xD5536F},
                                                {173, 0xEF7C51},
                                                {199, 0xFB9F3A},
                                                {219, 0xFEBD2A},
                                                {234, 0xFBD524},
                                                {251, 0xF2F227},
                                                {255, 0xF0F921}}};

constexpr std::array<ColorStop, 16> kMagma = {{{0, 0x000004},
                                               {6, 0x02020D},
                                               {20, 0x0E0B2B},
                                               {37, 0x241253},
                                               {48, 0x36106B},
                                               {58, 0x471078},
                                               {74, 0x601880},
                                               {105, 0x912B81},
                                               {129, 0xB83779},
                                               {151, 0xDB476A},
                                               {167, 0xEE5B5E},
                                               {179, 0xF7705C},
                                               {189, 0xFB835F},
                                               {206, 0xFEA36F},
                                               {229, 0xFECD90},
                                               {255, 0xFCFDBF}}};

constexpr std::array<ColorStop, 15> kViridis = {{{0, 0x440154},
                                                 {17, 0x481A6C},
                                                 {34, 0x472F7D},
                                                 {52, 0x404588},
                                                 {84, 0x31678E},
                                                 {132, 0x1F948C},
                                                 {147, 0x1FA287},
                                                 {162, 0x2AB07F},
                                                 {177, 0x40BD72},
                                                 {192, 0x5EC962},
                                                 {211, 0x8BD646},
                                                 {233, 0xC5E021},
                                                 {242, 0xDDE318},
                                                 {249, 0xEFE51C},
                                                 {255, 0xFDE725}}};

constexpr std::array<ColorStop, 16> kCoolToWarm = {{{0, 0x3B4CC0},
                                                    {20, 0x526EDD},
                                                    {42, 0x6F92F3},
                                                    {63, 0x8CAFFE},
                                                    {84, 0xA9C6FE},
                                                    {105, 0xC4D6F3},
                                                    {127, 0xDCDDDD},
                                                    {142, 0xEBD4C8},
                                                    {160, 0xF5C4AC},
                                                    {182, 0xF7A889},
                                                    {201, 0xF08A6C},
                                                    {219, 0xE26952},
                                                    {236, 0xCF453C},
                                                    {247, 0xC0282F},
                                                    {252, 0xB91629},
                                                    {255, 0xB40426}}};

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
