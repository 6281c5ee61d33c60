#include "support/TempFolder.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>

#include "support/KeptClouds.h"

namespace Testing {

TempFolder::TempFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "sorvik-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make " + name);
  path_ = name;
}

TempFolder::~TempFolder() {
  keepClouds(path_);
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::filesystem::path TempFolder::write(const std::filesystem::path& relative, std::string_view bytes) const {
  const std::filesystem::path path = path_ / relative;
  std::filesystem::create_directories(path.parent_path());
  std::ofstream file(path, std::ios::binary);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!file.flush()) throw std::runtime_error("cannot write " + path.string());
  return path;
}

}  // namespace Testing
