#include "converter/OutputFolders.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <span>
#include <utility>

#include "converter/OctreeFiles.h"

namespace Testing {

namespace fs = std::filesystem;

std::vector<std::string> names(const fs::path& folder) {
  std::vector<std::string> found;
  for (const auto& entry : fs::directory_iterator(folder)) found.push_back(entry.path().filename().string());
  std::sort(found.begin(), found.end());
  return found;
}

void writeOctree(Core::FileSystem& files, const fs::path& folder, std::string_view content) {
  files.createDirectories(folder);
  for (const std::string_view name :
       {Converter::kOctreeFile, Converter::kHierarchyFile, Converter::kMetaDataFile}) {
    const auto file = files.create(folder / name);
    file->write(0, std::as_bytes(std::span(content)));
    file->close();
  }
}

std::string octreeAt(const fs::path& folder) {
  if (!fs::exists(fs::symlink_status(folder))) return "none";
  std::vector<std::string> contents;
  for (const std::string_view name : Converter::kOctreeFiles) {
    std::ifstream file(folder / name, std::ios::binary);
    contents.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  }
  const bool isWhole = !contents[0].empty() && contents[1] == contents[0] && contents[2] == contents[0] &&
                       std::distance(fs::directory_iterator(folder), fs::directory_iterator()) == 3;
  return isWhole ? contents[0] : "half";
}

Converter::OutputOptions OutputFolders::overwrite() {
  Converter::OutputOptions options;
  options.overwrite = true;
  return options;
}

std::vector<std::string> OutputFolders::convert(const fs::path& output,
                                                const Converter::OutputOptions& options) {
  Converter::OutputFolder folder(files_, output, options);
  writeOctree(folder.partial(), "new");
  folder.commit();
  return folder.remarks();
}

Converter::Result OutputFolders::resultOf(const fs::path& output, const Converter::OutputOptions& options) {
  try {
    convert(output, options);
  } catch (const Converter::ConversionError& error) {
    return error.result();
  }
  return Converter::Result::Success;
}

}  // namespace Testing
