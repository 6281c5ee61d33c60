// make_demo_cloud FOLDER [--points N] [--seed S] [--encoding default|brotli]: writes an octree of a synthetic
// survey. Ends with 2 for a call that it does not understand, with 1 and a message when it fails.

#include <charconv>
#include <cstdint>
#include <exception>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "support/OctreeBuilder.h"
#include "support/PointRecords.h"

namespace {

constexpr std::string_view kUsage =
    "usage: make_demo_cloud FOLDER [--points N] [--seed S] [--encoding default|brotli]\n"
    "  N is 1 to 4294967295, 1000000 unless given; S is 0 to 18446744073709551615, 1 unless given;\n"
    "  FOLDER is made, an octree in it is never overwritten.\n";

struct Arguments {
  std::string folder;
  std::uint64_t points = 1'000'000;
  std::uint64_t seed = 1;
  PoTree::Encoding encoding = PoTree::Encoding::Uncompressed;
};

bool parseNumber(std::string_view text, std::uint64_t& value) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc() && end == text.data() + text.size();
}

bool parseEncoding(std::string_view text, PoTree::Encoding& encoding) {
  encoding = text == "brotli" ? PoTree::Encoding::Brotli : PoTree::Encoding::Uncompressed;
  return text == "brotli" || text == "default";
}

bool parseOption(std::string_view option, std::string_view value, Arguments& arguments) {
  if (option == "--points") {
    return parseNumber(value, arguments.points) && arguments.points >= 1 && arguments.points <= UINT32_MAX;
  }
  if (option == "--seed") return parseNumber(value, arguments.seed);
  if (option == "--encoding") return parseEncoding(value, arguments.encoding);
  return false;
}

std::optional<Arguments> parse(const std::vector<std::string_view>& words) {
  Arguments arguments;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (words[i].starts_with("--")) {
      if (i + 1 == words.size() || !parseOption(words[i], words[i + 1], arguments)) return std::nullopt;
      ++i;
    } else if (arguments.folder.empty() && !words[i].empty()) {
      arguments.folder = words[i];
    } else {
      return std::nullopt;
    }
  }
  return arguments.folder.empty() ? std::nullopt : std::optional(arguments);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const std::optional<Arguments> arguments = parse({argv + 1, argv + argc});
    if (!arguments) {
      std::cerr << kUsage;
      return 2;
    }
    const Testing::PointRecords survey = Testing::surveyRecords(arguments->points, arguments->seed);
    Testing::buildOctree(survey, arguments->encoding, arguments->folder);
    std::cout << arguments->folder << ": " << arguments->points << " points\n";
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "make_demo_cloud: " << error.what() << '\n';
    return 1;
  }
}
