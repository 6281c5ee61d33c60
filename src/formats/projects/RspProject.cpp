#include "formats/projects/RspProject.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

#include "formats/UnsupportedFormat.h"
#include "formats/projects/ProjectXml.h"

namespace Formats {
namespace {

constexpr std::size_t kMatrixSize = 16;
constexpr std::string_view kBlanks = " \t\r\n";

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

/// A number of @p text, which is not empty. One that no double holds is infinite; nothing for what is none.
std::optional<double> numberOf(std::string_view text) {
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (end != text.data() + text.size() || error == std::errc::invalid_argument) return std::nullopt;
  return error == std::errc::result_out_of_range ? HUGE_VAL : value;
}

/// The numbers of a matrix; fewer than there are texts when one of these is no number, and one more than a
/// matrix has at most.
std::vector<double> numbersOf(std::string_view text) {
  std::vector<double> numbers;
  while (numbers.size() <= kMatrixSize) {
    text = trimmed(text);
    const std::string_view first = text.substr(0, text.find_first_of(kBlanks));
    if (first.empty()) break;
    const std::optional<double> number = numberOf(first);
    if (!number) break;
    numbers.push_back(*number);
    text.remove_prefix(first.size());
  }
  return numbers;
}

std::string joined(const std::string& folder, std::string_view part) {
  std::string text(trimmed(part));
  for (char& c : text) c = c == '\\' ? '/' : c;
  const bool isAbsolute = text.starts_with('/') || (text.size() > 1 && text[1] == ':');
  if (folder.empty() || isAbsolute) return text;
  return text.empty() ? folder : folder + '/' + text;
}

bool isDeleted(const pugi::xml_node& node) {
  return std::string_view(node.attribute("states").value()).find("deleted") != std::string_view::npos;
}

/// Reads one project.
class Reader {
 public:
  explicit Reader(const Core::Source& source) : source_(source) {}

  RspProject read(const pugi::xml_node& root) {
    const Math::Pose pop = poseOf(root.child("pop"), "the project");
    for (const pugi::xml_node& list : root.children("scanpositions")) {
      const std::string folder = folderOf("", list);
      for (const pugi::xml_node& position : list.children("scanposition")) addPosition(position, folder, pop);
    }
    for (const pugi::xml_node& objects : root.children("geometry_objects")) {
      const std::string folder = folderOf("", objects);
      for (const pugi::xml_node& list : objects.children("pointclouds")) addList(list, folder, pop);
    }
    return std::move(project_);
  }

 private:
  static std::string folderOf(const std::string& parent, const pugi::xml_node& node) {
    return joined(parent, node.attribute("fold").value());
  }

  void addPosition(const pugi::xml_node& position, const std::string& parent, const Math::Pose& pop) {
    if (isDeleted(position)) {
      ++project_.numDeleted;
      return;
    }
    ++project_.numPositions;
    const std::string name = nameOf(position);
    const pugi::xml_node sop = position.child("sop");
    const Math::Pose ofPosition = poseOf(sop, name);
    if (ofPosition == Math::Pose() && std::string_view(position.child_value("registered")) == "0") {
      project_.warnings.push_back(name + " is not registered: its scans stand in no relation to others.");
    }
    const Math::Pose pose = pop * ofPosition;
    const std::string folder = folderOf(parent, position);
    for (const char* const list : {"singlescans", "scansequences", "profilescans", "rdb2pointclouds"}) {
      for (const pugi::xml_node& found : position.children(list)) addList(found, folder, pose);
    }
  }

  /// The files of a list, each named by an element of its own.
  void addList(const pugi::xml_node& list, const std::string& parent, const Math::Pose& pose) {
    const std::string folder = folderOf(parent, list);
    for (const pugi::xml_node& member : list.children()) {
      if (isDeleted(member)) {
        ++project_.numDeleted;
        continue;
      }
      const std::string_view file = trimmed(member.child_value("file"));
      if (file.empty()) continue;
      project_.members.push_back({joined(folderOf(folder, member), file), pose});
    }
  }

  static std::string nameOf(const pugi::xml_node& position) {
    const std::string name(trimmed(position.child_value("name")));
    return "the position " + (name.empty() ? position.attribute("name").value() : name);
  }

  /// The matrix below @p node, which belongs to @p owner.
  Math::Pose poseOf(const pugi::xml_node& node, const std::string& owner) {
    const pugi::xml_node matrix = node.child("matrix");
    const std::vector<double> numbers = numbersOf(matrix.child_value());
    if (!std::all_of(numbers.begin(), numbers.end(), [](double number) { return std::isfinite(number); })) {
      const Core::Source at{source_.name, source_.offset + static_cast<std::uint64_t>(matrix.offset_debug())};
      throw Core::FormatError(at, "the matrix of " + owner, "finite numbers", "one that is not");
    }
    constexpr std::array<double, 4> kLastRow{0, 0, 0, 1};
    Math::Pose pose;
    if (numbers.size() != kMatrixSize || !std::equal(kLastRow.begin(), kLastRow.end(), &numbers[12])) {
      project_.warnings.push_back("The matrix of " + owner +
                                  (numbers.empty() ? " is missing" : " is not that of a pose") +
                                  "; the identity is taken.");
      return pose;
    }
    for (std::size_t i = 0; i < 12; ++i) pose.rows[i / 4][i % 4] = numbers[i];
    return pose;
  }

  const Core::Source& source_;
  RspProject project_;
};

}  // namespace

RspProject readRspProject(std::span<const std::byte> bytes, const Core::Source& source) {
  pugi::xml_document document;
  parseProjectXml(bytes, source, document);
  const pugi::xml_node root = document.document_element();
  if (std::string_view(root.name()) != "project") {
    throw UnsupportedFormat(source, "root element of a RiSCAN PRO project", "project", root.name());
  }
  return Reader(source).read(root);
}

}  // namespace Formats
