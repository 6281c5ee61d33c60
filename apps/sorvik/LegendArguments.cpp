#include "sorvik/LegendArguments.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>

#include "sorvik/CallError.h"
#include "sorvik/ColorMapArgument.h"
#include "sorvik/NumberArguments.h"

namespace Program {
namespace {

constexpr std::size_t kUsualLength = 512;
constexpr std::size_t kUsualThickness = 64;
// A longer side is a slip of the keyboard; two of them are a picture of 1 GiB in memory.
constexpr std::size_t kLongestSide = 16'384;

std::size_t sideOf(const char* option, const std::optional<std::string>& text, std::size_t usual) {
  return text ? parseCount(option, *text, 1, kLongestSide) : usual;
}

void checkPngName(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  std::ranges::transform(extension, extension.begin(),
                         [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  if (extension != ".png") throw CallError("-o: '" + path + "' is no .png file");
}

}  // namespace

LegendArguments::LegendArguments(CLI::App& app) {
  CLI::App* const legend = app.add_subcommand("legend", "Draw a colour map as a bar into a PNG file");
  CLI::Option* const map = legend->add_option("MAP", map_, "Name of a colour map")->type_name("");
  CLI::Option* const file =
      legend->add_option("-o,--output", file_, "The picture; one that is there is replaced")
          ->type_name("FILE.png");
  legend->add_flag("--vertical", vertical_, "Let the map run from the bottom to the top, not to the right");
  legend->add_option("--width", width_, "Pixels: 512 unless given, 64 with --vertical")->type_name("N");
  legend->add_option("--height", height_, "Pixels: 64 unless given, 512 with --vertical")->type_name("N");
  legend->add_flag("--list", list_, "Print the names of the colour maps")->excludes(map)->excludes(file);
  legend->footer("Along a side of n pixels, pixel i has the colour at i/n of the map.");
}

LegendOptions LegendArguments::options() const {
  LegendOptions options;
  options.list = list_;
  if (list_) return options;
  if (map_.empty()) throw CallError("MAP is missing: sorvik legend --list lists them");
  options.colorMap = parseColorMap("MAP", map_);
  if (file_.empty()) throw CallError("-o is missing: the picture's file");
  checkPngName(file_);
  options.file = file_;
  if (vertical_) options.orientation = Sorvik::ColorMapOrientation::Vertical;
  options.width = sideOf("--width", width_, vertical_ ? kUsualThickness : kUsualLength);
  options.height = sideOf("--height", height_, vertical_ ? kUsualLength : kUsualThickness);
  return options;
}

}  // namespace Program
