#include "converter/InputFiles.h"

#include <algorithm>
#include <map>
#include <set>
#include <system_error>
#include <utility>

#include "converter/ClosedFormats.h"
#include "converter/ConversionError.h"
#include "converter/OutputPaths.h"
#include "converter/ScanFormats.h"

namespace Converter {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void failToRead(const fs::path& path, const std::error_code& error) {
  throw ConversionError(Result::InputCannotRead, path.string() + ": " + error.message());
}

/// The type of what a path leads to, links followed.
fs::file_type typeOf(const fs::path& path) {
  std::error_code error;
  const fs::file_type type = fs::status(path, error).type();
  if (type == fs::file_type::not_found) {
    const bool link = fs::is_symlink(fs::symlink_status(path, error));
    throw ConversionError(
        Result::InputFileNotFound,
        path.string() + (link ? ": link to a file that does not exist" : ": does not exist"));
  }
  if (type == fs::file_type::none) failToRead(path, error);
  return type;
}

fs::path canonicalOf(const fs::path& path) {
  std::error_code error;
  fs::path result = fs::canonical(path, error);
  if (error) failToRead(path, error);
  return result;
}

std::string listedExtensions(const std::vector<std::string>& further) {
  std::string text;
  for (const ScanFormat& format : scanFormats()) {
    if (!text.empty()) text += ", ";
    text += format.extension;
  }
  for (const std::string& extension : further) text += ", " + extension;
  return text;
}

/// Gathers files by their canonical paths.
class Search {
 public:
  Search(const InputChoice& choice, const std::stop_token& stopToken)
      : output_(choice.output), further_(choice.furtherExtensions), stopToken_(stopToken) {}

  void add(const fs::path& input) {
    const fs::file_type type = typeOf(input);
    if (type != fs::file_type::directory) return take(input, type);
    folders_.push_back(input);
    while (!folders_.empty()) {
      const fs::path folder = std::move(folders_.back());
      folders_.pop_back();
      if (searched_.insert(canonicalOf(folder)).second) searchFolder(folder);
    }
  }

  void addFile(const fs::path& file) {
    const fs::file_type type = typeOf(file);
    if (type == fs::file_type::directory) {
      throw ConversionError(Result::InputNotFile, file.string() + ": is a folder, expected a file");
    }
    take(file, type);
  }

  InputFiles result() && {
    if (files_.empty()) failForNoFile();
    for (auto& file : files_) found_.files.push_back(std::move(file.second));
    return std::move(found_);
  }

 private:
  void searchFolder(const fs::path& folder) {
    std::error_code error;
    fs::directory_iterator entry(folder, error);
    std::vector<fs::path> paths;
    while (!error && entry != fs::directory_iterator()) {
      if (stopToken_.stop_requested()) throw ConversionCancelled();
      paths.push_back(entry->path());
      entry.increment(error);
    }
    if (error) failToRead(folder, error);
    // The order of a folder's entries is the file system's; the remarks must not depend on it.
    std::sort(paths.begin(), paths.end());
    for (const fs::path& path : paths) addEntry(path);
  }

  void addEntry(const fs::path& path) {
    if (stopToken_.stop_requested()) throw ConversionCancelled();
    std::error_code ignored;
    const bool isFolder = fs::is_directory(path, ignored);
    if (isFolder && !isOutput(path)) {
      folders_.push_back(path);
    } else if (!isFolder && isScan(path)) {
      take(path, typeOf(path));
    } else if (!isFolder && otherFile_.empty()) {
      otherFile_ = path;
    }
  }

  void take(const fs::path& file, fs::file_type type) {
    if (type != fs::file_type::regular) {
      throw ConversionError(Result::InputNotFile, file.string() + ": is neither a file nor a folder");
    }
    const auto [place, isNew] = files_.emplace(canonicalOf(file), file);
    if (isNew) return;
    const std::string& first = place->second.native();
    found_.remarks.push_back(first == file.native()
                                 ? first + " was named more than once and is read once"
                                 : file.string() + " is the same file as " + first + " and is read once");
  }

  [[nodiscard]] bool isScan(const fs::path& file) const {
    const std::string extension = extensionOf(file);
    return isScanExtension(extension) ||
           std::find(further_.begin(), further_.end(), extension) != further_.end();
  }

  [[nodiscard]] bool isOutput(const fs::path& folder) const {
    const fs::path whole = canonicalOf(folder);
    return whole == output_.output || whole == output_.partial || whole == output_.old;
  }

  [[noreturn]] void failForNoFile() const {
    if (searched_.empty()) throw ConversionError(Result::InputEmpty, "no input was named");
    if (otherFile_.empty()) {
      throw ConversionError(Result::InputEmpty, searched_.begin()->string() + ": the folder holds no files");
    }
    if (const auto reason = closedFormatReason(extensionOf(otherFile_))) {
      throw ConversionError(Result::InputPointCloudFormatUnsupported, otherFile_.string() + ": " + *reason);
    }
    throw ConversionError(Result::InputPointCloudFormatUnsupported,
                          otherFile_.string() +
                              " and what else was found are no scan files: expected one of " +
                              listedExtensions(further_));
  }

  const OutputPaths output_;
  const std::vector<std::string>& further_;  // extensions
  const std::stop_token& stopToken_;
  std::vector<fs::path> folders_;       // still to be searched
  std::set<fs::path> searched_;         // canonical
  std::map<fs::path, fs::path> files_;  // as named, by canonical path
  fs::path otherFile_;                  // the first that was found and is of no known format
  InputFiles found_;
};

fs::path baseOfFiles(const InputChoice& choice) {
  if (choice.inputs.empty()) return {};
  const fs::path& input = choice.inputs.front();
  std::error_code ignored;
  return fs::is_regular_file(input, ignored) ? input.parent_path() : input;
}

}  // namespace

InputFiles findInputFiles(const InputChoice& choice, const std::stop_token& stopToken) {
  Search search(choice, stopToken);
  const fs::path base = baseOfFiles(choice);
  for (const fs::path& file : choice.files) search.addFile(base / file);
  if (choice.files.empty()) {
    for (const fs::path& input : choice.inputs) search.add(input);
  }
  return std::move(search).result();
}

}  // namespace Converter
