#include "converter/ProjectInputs.h"

#include <algorithm>
#include <array>
#include <map>
#include <system_error>
#include <utility>

#include "converter/ClosedFormats.h"
#include "converter/ConversionError.h"
#include "converter/ProjectFolder.h"
#include "converter/ProjectMembers.h"
#include "converter/ScanFormats.h"

namespace Converter {
namespace {

namespace fs = std::filesystem;

// What scanner software exports, best first.
constexpr std::array<const char*, 3> kExports{".las", ".laz", ".e57"};

/// The first names of a list, and how many more there are.
std::string listed(const std::vector<std::string>& names) {
  constexpr std::size_t kShown = 3;
  std::string text;
  for (std::size_t i = 0; i < std::min(names.size(), kShown); ++i) text += (i == 0 ? "" : ", ") + names[i];
  if (names.size() > kShown) text += " and " + std::to_string(names.size() - kShown) + " more";
  return text;
}

std::string scans(std::size_t count) {
  return count == 1 ? std::string("1 scan") : std::to_string(count) + " scans";
}

fs::path canonicalOf(const fs::path& path) {
  std::error_code error;
  fs::path result = fs::canonical(path, error);
  if (error) throw ConversionError(Result::InputCannotRead, path.string() + ": " + error.message());
  return result;
}

/// What the members of one project have led to.
struct Found {
  struct Scan {
    fs::path file;
    Math::Pose pose;
  };
  std::vector<Scan> scans;
  std::vector<std::string> leftOut;  // closed, or not there
  std::vector<std::string> outside;
};

/// Whether a file that is there is a scan of a further format.
bool isFurther(const fs::path& file, const ProjectOptions& options) {
  const auto& further = options.furtherExtensions;
  return std::find(further.begin(), further.end(), extensionOf(file)) != further.end() &&
         options.isFurther(file);
}

/// Looks for the members of one project.
class MemberSearch {
 public:
  MemberSearch(const fs::path& project, const ProjectOptions& options)
      : project_(project),
        options_(options),
        folder_(project.parent_path(),
                options.allowOutside ? ProjectFolder::Outside::Allow : ProjectFolder::Outside::Refuse) {}

  Found run(const ProjectMembers& members) {
    for (const Formats::ProjectMember& member : members.members) add(member, members.areListed);
    return std::move(found_);
  }

 private:
  void add(const Formats::ProjectMember& member, bool isListed) {
    const std::string extension = extensionOf(member.path);
    const bool isReadable = canBeRead(extension);
    bool isOutside = false;
    for (const std::string& name : candidates(member.path, isReadable)) {
      const ProjectFolder::Place place = folder_.find(name);
      if (place.file && isScanFile(*place.file)) {
        found_.scans.push_back({*place.file, member.pose});
        return;
      }
      isOutside = isOutside || place.isOutside;
    }
    const bool isScan = isListed || isReadable || closedFormatReason(extension);
    if (!isScan) return;
    const bool isRefused = isOutside && !options_.allowOutside;
    if (isRefused && isListed) {
      throw ConversionError(Result::InputCannotRead, project_.string() + ": its scan " + member.path +
                                                         " lies outside the project's folder, and reading "
                                                         "such files was not allowed");
    }
    (isRefused ? found_.outside : found_.leftOut).push_back(member.path);
  }

  [[nodiscard]] bool canBeRead(const std::string& extension) const {
    const auto& further = options_.furtherExtensions;
    return isExport(extension) || std::find(further.begin(), further.end(), extension) != further.end();
  }

  /// Whether a file of an extension that can be read is what its name says. For what is exported, the reader
  /// will see.
  [[nodiscard]] bool isScanFile(const fs::path& file) const {
    return isExport(extensionOf(file)) || isFurther(file, options_);
  }

  static bool isExport(const std::string& extension) {
    return std::find(kExports.begin(), kExports.end(), extension) != kExports.end();
  }

  /// The names under which a member's points may be, best first.
  static std::vector<std::string> candidates(const std::string& path, bool isReadable) {
    std::vector<std::string> names;
    if (isReadable) names.push_back(path);
    for (const char* const extension : kExports) {
      names.push_back(fs::path(path).replace_extension(extension).string());
    }
    return names;
  }

  const fs::path& project_;
  const ProjectOptions& options_;
  ProjectFolder folder_;
  Found found_;
};

/// Gathers scans by their canonical paths.
class Gathering {
 public:
  Gathering(Core::FileSystem& files, const ProjectOptions& options) : files_(files), options_(options) {}

  void addFile(const fs::path& file) { scans_.emplace(canonicalOf(file), ScanInput{file, std::nullopt}); }

  void addProject(const fs::path& project) {
    const std::string name = project.string();
    result_.projects.push_back(project);
    const ProjectMembers members = readProject(files_, project);
    if (members.areListed && members.members.empty()) {
      throw ConversionError(Result::InputEmpty, name + ": is " + members.kind + " without scans");
    }
    const Found found = MemberSearch(project, options_).run(members);
    if (found.scans.empty()) fail(name, members, found);
    if (options_.applyPose) {
      for (std::string warning : members.warnings) {
        result_.remarks.push_back(std::move(warning.insert(0, name + ": ")));
      }
    }
    bool hasPoses = false;
    for (const Found::Scan& scan : found.scans) {
      hasPoses = hasPoses || scan.pose != Math::Pose();
      addMember(project, scan);
    }
    if (hasPoses && !options_.applyPose) {
      result_.remarks.push_back(name + ": the poses of its scans were not applied");
    }
    addRemark(name, found.leftOut,
              " left out for lack of a reader or of the file, and of a LAS, LAZ or E57 file of the same name "
              "beside it: ");
    addRemark(name, found.outside, " left out, outside the project's folder: ");
  }

  void leaveOut(const std::string& why) { leftOut_.push_back(why); }

  ScanInputs result() && {
    if (scans_.empty())
      throw ConversionError(Result::InputEmpty, leftOut_.empty() ? "no input was named" : leftOut_.front());
    for (const std::string& why : leftOut_) result_.remarks.push_back(why + "; it was left out");
    for (auto& scan : scans_) result_.scans.push_back(std::move(scan.second));
    return std::move(result_);
  }

 private:
  void addMember(const fs::path& project, const Found::Scan& scan) {
    const std::optional<Math::Pose> pose =
        options_.applyPose && scan.pose != Math::Pose() ? std::optional(scan.pose) : std::nullopt;
    const fs::path whole = canonicalOf(scan.file);
    const auto [owner, isNew] = owners_.emplace(whole, project);
    if (!isNew) {
      const bool isElsewhere = options_.applyPose && scans_.at(whole).pose != pose;
      std::string remark = scan.file.string();
      remark.append(" is listed in ").append(owner->second.string());
      remark.append(isElsewhere ? " and, in another pose, in " : " and again in ").append(project.string());
      remark.append(isElsewhere ? "; it is read once, in the first pose" : "; it is read once");
      result_.remarks.push_back(std::move(remark));
      return;
    }
    scans_[whole] = {scan.file, pose};
  }

  void addRemark(const std::string& project, const std::vector<std::string>& names, const char* what) {
    if (names.empty()) return;
    result_.remarks.push_back(project + ": " + scans(names.size()) + what + listed(names));
  }

  [[noreturn]] static void fail(const std::string& name, const ProjectMembers& members, const Found& found) {
    std::string text = name + ": is " + members.kind + " of which no scan can be read: ";
    if (found.leftOut.empty() && found.outside.empty()) text += "it names no scan files that are known";
    if (!found.leftOut.empty()) {
      text +=
          "a reader is missing for the vendor's closed formats, and there is no LAS, LAZ or E57 file of the "
          "same name beside " +
          listed(found.leftOut);
    }
    if (!found.outside.empty()) {
      text += (found.leftOut.empty() ? "" : "; ") + listed(found.outside) +
              " outside the project's folder: reading such files was not allowed";
    }
    throw ConversionError(Result::InputPointCloudFormatUnsupported,
                          text + "; export the scans as LAS, LAZ or E57 beside the project's own files");
  }

  Core::FileSystem& files_;
  const ProjectOptions& options_;
  std::map<fs::path, ScanInput> scans_;
  std::map<fs::path, fs::path> owners_;  // the first project of each member
  std::vector<std::string> leftOut_;     // projects without scans
  ScanInputs result_;
};

}  // namespace

ScanInputs findScans(Core::FileSystem& files, const std::vector<fs::path>& inputs,
                     const ProjectOptions& options, const std::stop_token& stopToken) {
  Gathering gathering(files, options);
  for (const fs::path& input : inputs) {
    if (stopToken.stop_requested()) throw ConversionCancelled();
    if (!isProjectExtension(extensionOf(input)) || isFurther(input, options)) {
      gathering.addFile(input);
      continue;
    }
    try {
      gathering.addProject(input);
    } catch (const ConversionError& error) {
      if (error.result() != Result::InputEmpty) throw;
      gathering.leaveOut(error.what());
    }
  }
  return std::move(gathering).result();
}

}  // namespace Converter
