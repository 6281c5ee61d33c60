#include "converter/OutputFolder.h"

#include <cerrno>
#include <string_view>
#include <system_error>
#include <utility>

#include "converter/ConversionError.h"
#include "converter/FileRole.h"
#include "converter/OctreeFiles.h"
#include "converter/OutputChecks.h"

namespace Converter {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void failToMakeTemporaryFolder(const std::system_error& error) {
  const int number = error.code().value();
  if (number == ENOSPC || number == EDQUOT) failWithRole(FileRole::Temporary, error);
  throw ConversionError(Result::ConvertTempDirInvalid,
                        std::string("The temporary folder cannot be written: ") + error.what() +
                            ". Check your permissions, or choose another temporary folder.");
}

void requireFree(const fs::path& path) {
  if (!somethingIsAt(path)) return;
  throw ConversionError(Result::OutputPathExists,
                        path.string() +
                            " is in the way, and no conversion is known to have left it. "
                            "Rename it, or choose another output folder.");
}

/// Lets the new folder be used by whom the present one could be used; by its owner in any case.
void copyPermissions(const fs::path& from, const fs::path& to) {
  std::error_code ignored;
  const fs::file_status status = fs::status(from, ignored);
  if (fs::is_directory(status)) fs::permissions(to, status.permissions() | fs::perms::owner_all, ignored);
}

}  // namespace

OutputFolder::OutputFolder(Core::FileSystem& files, OutputPaths paths, OutputOptions options)
    : files_(files), paths_(std::move(paths)), options_(std::move(options)) {}

// Delegates, so that the destructor cleans up when something throws here.
OutputFolder::OutputFolder(Core::FileSystem& files, const fs::path& output, const OutputOptions& options)
    : OutputFolder(files, OutputPaths(output), options) {
  std::optional<fs::path> temporaryParent;
  if (options_.temporaryFolder) temporaryParent = checkedTemporaryFolder(*options_.temporaryFolder);
  // Where no killed conversion has left anything, a refusal does not touch the disk at all.
  if (!somethingIsAt(paths_.lock)) (void)replacesOctree(paths_.output, options_.overwrite, options_.inputs);
  makeParents();
  withRole(FileRole::Output, [&] {
    lock_.emplace(paths_.lock);
    remarks_ = cleanUp();
  });
  makeFolders(replacesOctree(paths_.output, options_.overwrite, options_.inputs), temporaryParent);
}

OutputFolder::~OutputFolder() {
  try {
    if (lock_) release();
  } catch (const std::exception&) {
    return;  // the lock stays, so that the next conversion cleans up
  }
  std::error_code ignored;
  for (const fs::path& parent : madeParents_) fs::remove(parent, ignored);  // those that are empty
}

void OutputFolder::makeParents() {
  const fs::path parent = paths_.output.parent_path();
  for (fs::path missing = parent; !somethingIsAt(missing); missing = missing.parent_path()) {
    madeParents_.push_back(missing);
  }
  try {
    files_.createDirectories(parent);
    for (const fs::path& made : madeParents_) files_.syncDirectory(made.parent_path());
  } catch (const std::system_error& error) {
    throw ConversionError(Result::OutputCannotCreateDirs,
                          std::string("The folder for the output cannot be made: ") + error.what() +
                              ". Check your permissions, or choose another output folder.");
  }
}

void OutputFolder::makeFolders(bool replaces, const std::optional<fs::path>& temporaryParent) {
  requireFree(paths_.partial);
  if (replaces) requireFree(paths_.old);
  temporary_ = temporaryParent.value_or(paths_.partial) / temporaryFolderName();
  withRole(FileRole::Output, [&] {
    // What the lock names must not exist before the disk has the lock.
    lock_->note({false, temporary_});
    files_.syncDirectory(paths_.output.parent_path());
    files_.createDirectories(paths_.partial);
    copyPermissions(paths_.output, paths_.partial);
    if (!temporaryParent) files_.createDirectories(temporary_);
  });
  try {
    if (temporaryParent) files_.createDirectories(temporary_);
  } catch (const std::system_error& error) {
    failToMakeTemporaryFolder(error);
  }
}

void OutputFolder::commit() {
  requireFiles();
  withRole(FileRole::Temporary, [&] { files_.removeAll(temporary_); });
  withRole(FileRole::Output, [&] { files_.syncDirectory(paths_.partial); });
  putIntoPlace();
  madeParents_.clear();
  withRole(FileRole::Output, [&] { files_.syncDirectory(paths_.output.parent_path()); });
  try {
    release();
  } catch (const std::exception& error) {
    remarks_.push_back(std::string("What lies beside the octree could not be removed: ") + error.what());
  }
}

void OutputFolder::requireFiles() const {
  std::error_code ignored;
  for (const std::string_view name : kOctreeFiles) {
    const fs::path file = paths_.partial / name;
    if (fs::is_regular_file(file, ignored)) continue;
    throw ConversionError(
        name == kMetaDataFile ? Result::OutputDescriptorDamaged : Result::OutputDataFilesMissing,
        file.string() + " is gone. Somebody or something removed it while the conversion ran; start again.");
  }
}

/// Renames whole folders, which is atomic, so that the metadata are never there without the other files.
void OutputFolder::putIntoPlace() {
  // Looks again, since much can have happened while the octree was made.
  const bool replaces = replacesOctree(paths_.output, options_.overwrite, options_.inputs);
  withRole(FileRole::Output, [&] {
    if (replaces) {
      if (files_.exchange(paths_.partial, paths_.output)) return;
      requireFree(paths_.old);
      lock_->note({true, temporary_});
      files_.rename(paths_.output, paths_.old);
    }
    files_.rename(paths_.partial, paths_.output);
  });
}

/// Removes all that belongs to the conversion of the lock's record, be it killed, failed or done, and puts an
/// octree that it had set aside back if there is no new one. Can be interrupted and done again.
/// @return what was done, a sentence each.
std::vector<std::string> OutputFolder::cleanUp() {
  std::vector<std::string> done;
  if (!lock_->record()) return done;
  const auto remove = [&](const fs::path& path) {
    if (!somethingIsAt(path)) return;
    files_.removeAll(path);
    done.push_back(path.string() + ", left by an interrupted conversion, was removed.");
  };
  remove(lock_->record()->temporary);
  if (lock_->record()->setsAside && somethingIsAt(paths_.old)) {
    if (somethingIsAt(paths_.output)) {
      remove(paths_.old);
    } else {
      files_.rename(paths_.old, paths_.output);
      done.push_back(paths_.output.string() + ", set aside by an interrupted conversion, was put back.");
    }
  }
  remove(paths_.partial);
  // No removal may be undone by a loss of power that the lock's removal survives.
  files_.syncDirectory(paths_.output.parent_path());
  return done;
}

void OutputFolder::release() {
  (void)cleanUp();
  lock_->remove();
  lock_.reset();
}

}  // namespace Converter
