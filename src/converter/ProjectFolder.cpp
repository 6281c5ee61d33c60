#include "converter/ProjectFolder.h"

#include <algorithm>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace Converter {
namespace {

namespace fs = std::filesystem;

std::string inSmallLetters(std::string text) {
  for (char& c : text) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  return text;
}

bool hasDriveLetter(std::string_view name) {
  const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
  return name.size() > 1 && name[1] == ':' && isLetter(name[0]);
}

/// The parts of a name that mean something.
std::vector<std::string> partsOf(std::string_view name) {
  std::vector<std::string> parts;
  while (!name.empty()) {
    const std::size_t end = std::min(name.find('/'), name.size());
    const std::string_view part = name.substr(0, end);
    if (!part.empty() && part != ".") parts.emplace_back(part);
    name.remove_prefix(std::min(end + 1, name.size()));
  }
  return parts;
}

/// The entry of that name, or else the first whose letters differ in case alone.
std::optional<std::string> entryOf(const std::multimap<std::string, std::string>& names,
                                   const std::string& name) {
  const auto [first, last] = names.equal_range(inSmallLetters(name));
  if (first == last) return std::nullopt;
  for (auto entry = first; entry != last; ++entry) {
    if (entry->second == name) return name;
  }
  return first->second;
}

bool isRegular(const fs::path& path) {
  std::error_code ignored;
  return fs::is_regular_file(path, ignored);
}

}  // namespace

ProjectFolder::ProjectFolder(fs::path folder, Outside outside)
    : folder_(folder.empty() ? fs::path(".") : std::move(folder)), allowOutside_(outside == Outside::Allow) {
  std::error_code ignored;
  canonicalFolder_ = fs::canonical(folder_, ignored);
}

ProjectFolder::Place ProjectFolder::find(const std::string& name) {
  // Bytes behind a zero would not reach the system.
  if (name.find('\0') != std::string::npos) return {};
  if (hasDriveLetter(name)) return {std::nullopt, true};
  const std::vector<std::string> parts = partsOf(name);
  const bool isAbsolute = name.starts_with('/');
  const bool climbs = std::find(parts.begin(), parts.end(), "..") != parts.end();
  if ((isAbsolute || climbs) && !allowOutside_) return {std::nullopt, true};

  fs::path path = isAbsolute ? fs::path("/") : folder_;
  for (const std::string& part : parts) {
    const Listing& listing = listingOf(path);
    if (!listing.isBelow && !allowOutside_) return {std::nullopt, true};
    const std::optional<std::string> entry = part == ".." ? part : entryOf(listing.names, part);
    if (!entry) return {std::nullopt, !listing.isBelow};
    path /= *entry;
  }
  const bool isOutside = !isBelow(path);
  if (isOutside && !allowOutside_) return {std::nullopt, true};
  return {isRegular(path) ? std::optional(path) : std::nullopt, isOutside};
}

const ProjectFolder::Listing& ProjectFolder::listingOf(const fs::path& folder) {
  const auto [place, isNew] = listed_.try_emplace(folder);
  Listing& listing = place->second;
  if (!isNew) return listing;
  listing.isBelow = isBelow(folder);
  if (!listing.isBelow && !allowOutside_) return listing;
  std::vector<std::string> names;
  std::error_code error;
  for (fs::directory_iterator entry(folder, error); !error && entry != fs::directory_iterator();
       entry.increment(error)) {
    names.push_back(entry->path().filename().string());
  }
  std::sort(names.begin(), names.end());
  for (std::string& name : names) {
    const std::string key = inSmallLetters(name);
    listing.names.emplace(key, std::move(name));
  }
  return listing;
}

bool ProjectFolder::isBelow(const fs::path& file) const {
  std::error_code error;
  const fs::path whole = fs::canonical(file, error);
  // What leads nowhere is found nowhere.
  if (error) return true;
  const auto [end, ignored] =
      std::mismatch(canonicalFolder_.begin(), canonicalFolder_.end(), whole.begin(), whole.end());
  return end == canonicalFolder_.end();
}

}  // namespace Converter
