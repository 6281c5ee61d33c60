#include "support/KeptClouds.h"

#include <unistd.h>

#include <cerrno>  // program_invocation_short_name
#include <cstdlib>
#include <functional>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>

#include "support/SampleData.h"

namespace Testing {
namespace {

namespace fs = std::filesystem;

constexpr const char* kFiles[] = {"metadata.json", "hierarchy.bin", "octree.bin"};

bool isBrotliCloud(const fs::path& folder) {
  for (const char* const name : kFiles) {
    std::error_code ignored;
    if (!fs::is_regular_file(folder / name, ignored)) return false;
  }
  return folder.extension() != ".partial" && fs::file_size(folder / "octree.bin") <= kLargestKeptCloud &&
         readFile(folder / "metadata.json").find("\"BROTLI\"") != std::string::npos;
}

std::string keptName(const fs::path& cloud) {
  std::ostringstream name;
  name << program_invocation_short_name << '-' << std::hex
       << std::hash<std::string_view>()(readFile(cloud / "octree.bin"));
  return name.str();
}

void keepCloud(const fs::path& cloud, const fs::path& root) {
  const std::string name = keptName(cloud);
  if (fs::exists(root / name)) return;
  const fs::path copy = root / ("." + name + "-" + std::to_string(getpid()));
  fs::create_directories(copy);
  for (const char* const file : kFiles) fs::copy_file(cloud / file, copy / file);
  std::error_code keptByAnother;
  fs::rename(copy, root / name, keptByAnother);
  if (keptByAnother) fs::remove_all(copy);
}

}  // namespace

void keepClouds(const fs::path& folder) {
  const char* const root = std::getenv("SORVIK_KEEP_CLOUDS");
  if (root == nullptr) return;
  if (isBrotliCloud(folder)) keepCloud(folder, root);
  std::error_code unreadable;
  fs::recursive_directory_iterator entry(folder, unreadable);
  for (; !unreadable && entry != fs::recursive_directory_iterator(); entry.increment(unreadable)) {
    std::error_code ignored;  // of links to themselves
    if (entry->is_directory(ignored) && isBrotliCloud(entry->path())) keepCloud(entry->path(), root);
  }
}

}  // namespace Testing
