#include "converter/ConverterEngine.h"

#include "converter/OutputFolder.h"

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

}  // namespace

ConverterEngine standardEngine(Core::DiskFileSystem::Sync sync) {
  return {std::make_shared<Core::DiskFileSystem>(sync), openScan, prepareFolder, convertScans};
}

}  // namespace Converter
