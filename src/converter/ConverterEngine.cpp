#include "converter/ConverterEngine.h"

#include <sys/resource.h>

#include <algorithm>

#include "converter/OutputFolder.h"
#include "core/BoundedFiles.h"

namespace Converter {
namespace {

/// An output folder as a place of an output.
class FolderPlace final : public OutputPlace {
 public:
  FolderPlace(Core::FileSystem& files, const std::filesystem::path& output, const OutputPlaceOptions& options)
      : folder_(files, output,
                OutputOptions{.overwrite = options.overwrite,
                              .temporaryFolder = options.temporaryFolder,
                              .inputs = options.inputs}) {}

  [[nodiscard]] const std::filesystem::path& partial() const override { return folder_.partial(); }
  [[nodiscard]] const std::filesystem::path& temporary() const override { return folder_.temporary(); }
  [[nodiscard]] std::vector<std::string> remarks() const override { return folder_.remarks(); }
  void commit() override { folder_.commit(); }

 private:
  OutputFolder folder_;
};

std::unique_ptr<OutputPlace> prepareFolder(Core::FileSystem& files, const std::filesystem::path& output,
                                           const OutputPlaceOptions& options) {
  return std::make_unique<FolderPlace>(files, output, options);
}

/// Inputs may be thousands of tiles: a part of the files that the process may have open.
std::size_t mostOpenInputs() {
  constexpr rlim_t kMany = 256;
  struct rlimit limit = {};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return 1;
  return static_cast<std::size_t>(std::clamp<rlim_t>(limit.rlim_cur / 4, 1, kMany));
}

}  // namespace

ConverterEngine standardEngine(Core::DiskFileSystem::Sync sync) {
  const auto disk = std::make_shared<Core::DiskFileSystem>(sync);
  return {std::make_shared<Core::BoundedFiles>(disk, mostOpenInputs()), openScan, prepareFolder,
          convertScans};
}

}  // namespace Converter
