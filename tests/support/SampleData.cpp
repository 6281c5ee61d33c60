#include "support/SampleData.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string_view>

namespace Testing {

std::optional<std::filesystem::path> sampleData() {
  const char* const root = std::getenv("SORVIK_SAMPLE_DATA");
  if (root != nullptr && std::filesystem::is_directory(root)) return root;
  const char* const ci = std::getenv("CI");
  if (ci != nullptr && std::string_view(ci) == "true") {
    throw std::runtime_error("CI=true, and the sample data are missing (SORVIK_SAMPLE_DATA=" +
                             std::string(root == nullptr ? "" : root) + ")");
  }
  return std::nullopt;
}

std::string readFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("cannot read " + path.string());
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace Testing
