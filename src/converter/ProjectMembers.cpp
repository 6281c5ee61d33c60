#include "converter/ProjectMembers.h"

#include <cstdint>
#include <memory>
#include <system_error>
#include <utility>

#include "converter/ConversionError.h"
#include "converter/ScanFormats.h"
#include "core/FormatError.h"
#include "formats/UnsupportedFormat.h"
#include "formats/projects/ProjectTexts.h"
#include "formats/projects/RcpProject.h"

namespace Converter {
namespace {

// Scans are files of their own beside a project.
constexpr std::uint64_t kLongestProject = std::uint64_t{256} << 20U;

std::vector<std::byte> contentOf(Core::FileSystem& files, const std::filesystem::path& project) {
  const std::unique_ptr<Core::ReadableFile> file = files.open(project);
  const std::uint64_t size = file->size();
  if (size == 0) throw ConversionError(Result::InputEmpty, project.string() + ": the file is empty");
  if (size > kLongestProject) {
    throw Core::FormatError(project.string(), "size", "at most " + std::to_string(kLongestProject) + " bytes",
                            std::to_string(size));
  }
  std::vector<std::byte> bytes(static_cast<std::size_t>(size));
  file->read(0, bytes);
  return bytes;
}

ProjectMembers membersOf(const Formats::ProjectTexts& texts, std::string kind) {
  ProjectMembers members{std::move(kind), false, {}, {}};
  for (const std::string& text : texts) members.members.push_back({text, {}});
  return members;
}

ProjectMembers read(Core::FileSystem& files, const std::filesystem::path& project) {
  const std::vector<std::byte> bytes = contentOf(files, project);
  const std::string name = project.string();
  const Core::Source source{name};
  const std::string extension = extensionOf(project);
  if (extension == ".rcp") {
    return membersOf(Formats::readRcpTexts(bytes, source), "an Autodesk ReCap project");
  }
  if (extension == ".rpp") {
    return membersOf(Formats::readRppTexts(bytes, source), "a RIEGL RiPROCESS project");
  }
  Formats::RspProject found = Formats::readRspProject(bytes, source);
  return {"a RIEGL RiSCAN PRO project", true, std::move(found.members), std::move(found.warnings)};
}

}  // namespace

bool isProjectExtension(const std::string& extension) {
  return extension == ".rsp" || extension == ".rpp" || extension == ".rcp";
}

ProjectMembers readProject(Core::FileSystem& files, const std::filesystem::path& project) {
  try {
    return read(files, project);
  } catch (const Formats::UnsupportedFormat& error) {
    throw ConversionError(Result::InputPointCloudFormatUnsupported, error.what());
  } catch (const Core::FormatError& error) {
    throw ConversionError(Result::InputGetInfoError, error.what());
  } catch (const std::system_error& error) {
    throw ConversionError(Result::InputCannotRead, error.what());
  }
}

}  // namespace Converter
