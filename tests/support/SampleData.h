#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace Testing {

/// The folder of real sample files beside the checkout, if it is there. Missing with CI=true is an exception:
/// a green run without real files must not happen unseen.
[[nodiscard]] std::optional<std::filesystem::path> sampleData();

/// The whole file as bytes. Throws std::runtime_error naming the path when it cannot be read.
[[nodiscard]] std::string readFile(const std::filesystem::path& path);

}  // namespace Testing

/// Defines `name`, the path of a file or folder below the sample data, or skips the test and says so.
#define SORVIK_SAMPLE_OR_SKIP(name, relative)                                                      \
  const std::optional<std::filesystem::path> name##Root = Testing::sampleData();                   \
  if (!name##Root) GTEST_SKIP() << "no sample data: needs " << (relative) << " in ../shared/data"; \
  const std::filesystem::path name = *name##Root / (relative)
