#include "sorvik/PointFileArgument.h"

#include <filesystem>

#include "sorvik/CallError.h"
#include "sorvik/LocationArgument.h"

namespace Program {

void checkPointFile(std::string_view option, const std::string& path) {
  constexpr const char* kUse = ": use .las, .laz, .ply or .csv";
  if (Sorvik::PointFileWriter::canWrite(widePath(path))) return;
  const std::string extension = std::filesystem::path(path).extension().string();
  if (extension.empty()) throw CallError(std::string(option) + ": '" + path + "' has no extension" + kUse);
  throw CallError(std::string(option) + ": cannot write " + extension + " files" + kUse);
}

bool isLasFile(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  for (char& c : extension) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  return extension == ".las" || extension == ".laz";
}

Sorvik::LasVersion parseLasVersion(const std::string& text, const std::string& path) {
  if (!isLasFile(path)) throw CallError("--las-version: is for .las and .laz files");
  if (text == "1.4") return Sorvik::LasVersion::V14;
  if (text == "1.2") return Sorvik::LasVersion::V12;
  throw CallError("--las-version: '" + text + "' is not written: use 1.2 or 1.4");
}

}  // namespace Program
