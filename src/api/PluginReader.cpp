#include "api/PluginReader.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "api/PluginCalls.h"
#include "api/PluginScan.h"

namespace Sorvik {
namespace {

using ::Converter::ConversionError;
using ::Converter::Result;

char inSmallLetters(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

class PluginReader final : public ::Converter::FormatReader {
 public:
  explicit PluginReader(std::shared_ptr<const ScanReaderPlugin> plugin) : plugin_(std::move(plugin)) {}

  [[nodiscard]] std::string extension() const override {
    const std::uint32_t version = plugin_->apiVersion();
    if (version != kScanReaderApiVersion) {
      throw ConversionError(Result::InputCannotRead,
                            "a reader plug-in has version " + std::to_string(version) +
                                " of the interface, expected " + std::to_string(kScanReaderApiVersion) +
                                ": compile it with the headers of this library");
    }
    std::string extension = callPlugin("a reader plug-in", [&] { return plugin_->extension(); });
    std::transform(extension.begin(), extension.end(), extension.begin(), inSmallLetters);
    if (extension.size() < 2 || extension.find_last_of("./") != 0) {
      throw ConversionError(Result::InputCannotRead, "a reader plug-in reads files of the extension '" +
                                                         extension + "', expected one as '.xyz'");
    }
    return extension;
  }

  [[nodiscard]] bool knows(::Core::FileSystem& files, const std::filesystem::path& path) const override {
    return callPlugin(path.string(), [&] {
      const std::vector<std::byte> start = startOf(*files.open(path));
      return plugin_->probe(Span<const std::byte>(start));
    });
  }

  [[nodiscard]] std::unique_ptr<::Converter::ScanReader> open(
      ::Core::FileSystem& files, const std::filesystem::path& path) const override {
    return callPlugin(path.string(), [&] { return openPluginScan(plugin_, files.open(path), path); });
  }

 private:
  static std::vector<std::byte> startOf(const ::Core::ReadableFile& file) {
    std::vector<std::byte> bytes(std::min(file.size(), ScanReaderPlugin::kProbeBytes));
    file.read(0, bytes);
    return bytes;
  }

  std::shared_ptr<const ScanReaderPlugin> plugin_;
};

}  // namespace

std::shared_ptr<const ::Converter::FormatReader> readerOf(std::shared_ptr<const ScanReaderPlugin> plugin) {
  return std::make_shared<PluginReader>(std::move(plugin));
}

}  // namespace Sorvik
