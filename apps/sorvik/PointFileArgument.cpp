#include "sorvik/PointFileArgument.h"

#include <filesystem>

#include "Sorvik/PointFileWriter.h"
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

}  // namespace Program
