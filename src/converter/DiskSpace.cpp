#include "converter/DiskSpace.h"

#include <sys/stat.h>

#include <array>
#include <charconv>
#include <string>
#include <system_error>

#include "converter/ConversionError.h"

namespace Converter {
namespace {

constexpr double kPositionSize = 12;
// Of uncompressed records, for data that compress well.
constexpr double kCompressedShare = 0.25;

double recordSize(const ScanInfo& info) {
  double size = kPositionSize;
  for (const Math::Attribute& attribute : info.attributes) size += static_cast<double>(attribute.size());
  return size;
}

std::string sizeText(double bytes) {
  constexpr double kMegabyte = 1e6;
  std::array<char, 400> buffer{};  // any double has at most 309 digits before the point
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), bytes / kMegabyte,
                                 std::chars_format::fixed, 1);
  return std::string(buffer.data(), end.ptr) + " MB";
}

bool onOneFileSystem(const std::filesystem::path& a, const std::filesystem::path& b) {
  struct stat ofA {};
  struct stat ofB {};
  return stat(a.c_str(), &ofA) == 0 && stat(b.c_str(), &ofB) == 0 && ofA.st_dev == ofB.st_dev;
}

void check(const std::filesystem::path& folder, double need, Result whenTooSmall, Core::FileSystem& files) {
  double available = 0;
  try {
    available = static_cast<double>(files.freeBytes(folder));
  } catch (const std::system_error&) {
    return;  // the disk that cannot be asked may have the space
  }
  if (need <= available) return;
  throw ConversionError(whenTooSmall, folder.string() + ": the conversion needs about " + sizeText(need) +
                                          " here, " + sizeText(available) + " are free");
}

}  // namespace

SpaceNeed spaceNeed(std::span<const std::unique_ptr<ScanReader>> scans, PoTree::Encoding encoding) {
  double records = 0;
  for (const std::unique_ptr<ScanReader>& scan : scans) {
    records += recordSize(scan->info()) * static_cast<double>(scan->info().numPoints);
  }
  return {records, encoding == PoTree::Encoding::Brotli ? records * kCompressedShare : records};
}

void checkDiskSpace(const SpaceNeed& need, const ConversionFolders& folders, Core::FileSystem& files) {
  if (onOneFileSystem(folders.output, folders.temporary)) {
    return check(folders.output, need.output + need.temporary, Result::OutputDiskFull, files);
  }
  check(folders.output, need.output, Result::OutputDiskFull, files);
  check(folders.temporary, need.temporary, Result::ConvertTempFull, files);
}

}  // namespace Converter
