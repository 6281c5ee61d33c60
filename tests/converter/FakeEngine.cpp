#include "converter/FakeEngine.h"

#include <stdexcept>

#include "converter/ConversionError.h"

namespace Testing {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void unexpected() { throw std::logic_error("an unexpected call of the file system"); }

class FakePlace final : public Converter::OutputPlace {
 public:
  explicit FakePlace(FakeEngine& engine) : engine_(engine) {}
  ~FakePlace() override { engine_.released = true; }
  FakePlace(const FakePlace&) = delete;
  FakePlace& operator=(const FakePlace&) = delete;

  [[nodiscard]] const fs::path& partial() const override { return folder_; }
  [[nodiscard]] const fs::path& temporary() const override { return folder_; }
  [[nodiscard]] std::vector<std::string> remarks() const override {
    if (engine_.committed) return {"the place was cleaned up", "the old octree stays"};
    return {"the place was cleaned up"};
  }
  void commit() override { engine_.committed = true; }

 private:
  FakeEngine& engine_;
  fs::path folder_ = "/";
};

}  // namespace

void FakeScan::checkUnchanged() const {
  if (!changed_) return;
  throw Converter::ConversionError(Converter::Result::InputCannotRead, info_.name + ": has changed");
}

Converter::ScanInfo scanInfo(const fs::path& file, const std::string& attribute) {
  Converter::ScanInfo info;
  info.name = file.string();
  info.numPoints = 100;
  info.attributes.push_back({attribute, "", Math::AttributeType::UInt16, 1, {}, {}});
  return info;
}

std::unique_ptr<Core::ReadableFile> FreeSpace::open(const fs::path& /*path*/) { unexpected(); }
std::unique_ptr<Core::WritableFile> FreeSpace::create(const fs::path& /*path*/) { unexpected(); }
void FreeSpace::createDirectories(const fs::path& /*path*/) { unexpected(); }
void FreeSpace::rename(const fs::path& /*from*/, const fs::path& /*to*/) { unexpected(); }
bool FreeSpace::exchange(const fs::path& /*a*/, const fs::path& /*b*/) { unexpected(); }
void FreeSpace::removeAll(const fs::path& /*path*/) { unexpected(); }
void FreeSpace::syncDirectory(const fs::path& /*path*/) { unexpected(); }

Converter::ConverterEngine FakeEngine::parts() {
  Converter::ConverterEngine engine;
  engine.files = std::make_shared<FreeSpace>([this](const fs::path&) { return freeBytes; });
  engine.openScan = [this](Core::FileSystem&, const fs::path& file, const Converter::ScanOptions& options) {
    scanOptions = options;
    return open(file);
  };
  engine.prepareOutput = [this](Core::FileSystem&, const fs::path& path,
                                const Converter::OutputPlaceOptions& options) {
    output = path;
    placeOptions = options;
    prepareOutput();
    return std::make_unique<FakePlace>(*this);
  };
  engine.convert = [this](std::span<const std::unique_ptr<Converter::ScanReader>> scans,
                          const Converter::ConversionSettings& given, const Converter::ConversionFolders&,
                          Core::FileSystem&, Converter::Progress& progress,
                          const std::stop_token& stopToken) {
    for (const auto& scan : scans) converted.emplace_back(scan->info().name);
    settings = given;
    return convert(progress, stopToken);
  };
  return engine;
}

}  // namespace Testing
