#include "converter/OutputChecks.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <string_view>
#include <system_error>

#include "converter/ConversionError.h"
#include "converter/OctreeFiles.h"
#include "converter/OutputPaths.h"

namespace Converter {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void refuse(const fs::path& path, const std::string& why) {
  throw ConversionError(Result::OutputPathExists, path.string() + " exists already" + why);
}

[[noreturn]] void refuseToWrite(const fs::path& path, const std::string& why) {
  throw ConversionError(Result::OutputCannotWrite,
                        "The output cannot be written: " + path.string() + ": " + why);
}

/// Whether another file system is mounted there, so that no folder can be renamed onto it.
bool isMountPoint(const fs::path& folder) {
  struct statx status = {};
  return statx(AT_FDCWD, folder.c_str(), 0, STATX_TYPE, &status) == 0 &&
         (status.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
}

void requireReplaceableFolder(const fs::path& folder) {
  if (isMountPoint(folder)) refuseToWrite(folder, "it is a mount point. Choose a folder in it.");
  if (access(folder.c_str(), W_OK | X_OK) != 0) {
    refuseToWrite(folder, std::generic_category().message(errno) + ". Check your permissions.");
  }
}

/// Whether a folder holds a file that octrees have.
bool looksLikeOctree(const fs::path& folder) {
  return std::any_of(kOctreeFiles.begin(), kOctreeFiles.end(),
                     [&](std::string_view name) { return somethingIsAt(folder / name); });
}

void requireOctreeToReplace(const fs::path& output, std::span<const fs::path> inputs) {
  if (!looksLikeOctree(output)) {
    refuse(output, " and is no octree, so it is not overwritten. Choose another output folder.");
  }
  for (const fs::path& input : inputs) {
    if (isWithin(input, output)) {
      refuse(output, " and holds the input " + input.string() +
                         ", so it is not overwritten. Choose another output folder.");
    }
  }
}

}  // namespace

bool somethingIsAt(const fs::path& path) {
  std::error_code ignored;
  return fs::exists(fs::symlink_status(path, ignored));
}

bool replacesOctree(const fs::path& output, bool overwrite, std::span<const fs::path> inputs) {
  if (!somethingIsAt(output)) return false;
  std::error_code error;
  const bool isFolder = fs::is_directory(fs::status(output, error));
  const bool isEmpty = isFolder && fs::is_empty(output, error);
  if (isFolder && error) refuseToWrite(output, error.message() + ". Check your permissions.");
  if (!isEmpty && !overwrite)
    refuse(output, ". Choose another output folder, or ask for it to be overwritten.");
  if (!isFolder) refuse(output, " and is no folder. Choose another output folder.");
  if (!isEmpty) requireOctreeToReplace(output, inputs);
  requireReplaceableFolder(output);
  return !isEmpty;
}

fs::path checkedTemporaryFolder(const fs::path& folder) {
  std::error_code error;
  const fs::file_status status = fs::status(folder, error);
  if (!fs::exists(status)) {
    throw ConversionError(Result::ConvertTempPathNotFound,
                          "The temporary folder " + folder.string() +
                              " cannot be found. Make it, or choose another temporary folder.");
  }
  fs::path whole = fs::canonical(folder, error);
  if (error || !fs::is_directory(status)) {
    throw ConversionError(Result::ConvertTempDirInvalid,
                          "The temporary folder " + folder.string() +
                              " cannot be used: " + (error ? error.message() : "it is no folder") +
                              ". Choose another temporary folder.");
  }
  return whole;
}

}  // namespace Converter
