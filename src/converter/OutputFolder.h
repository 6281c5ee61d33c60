#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "converter/OutputLock.h"
#include "converter/OutputPaths.h"
#include "core/FileSystem.h"

namespace Converter {

struct OutputOptions {
  bool overwrite = false;  ///< replace the octree that is there
  /// Where temporary files go, into a folder of their own; nothing: beside the output.
  std::optional<std::filesystem::path> temporaryFolder;
  std::vector<std::filesystem::path>
      inputs;  ///< what is read; an output that holds one of them is not replaced
};

/// The place where an octree is written so that nothing half-made is ever taken for one: at every moment,
/// also if the process is killed or the power fails, the output is the complete old octree, the complete new
/// one, or nothing.
///
/// Files are written to partial(), temporary ones to temporary(); commit() renames the one into place and
/// removes the other. Without commit() the destructor removes both. What a killed conversion leaves is
/// cleaned up by the next one to the same output: the lock beside it says whether its owner lives, and what
/// is its own. The file system object may be told to sync; locks and look-ups go past it. Threads: one at a
/// time.
class OutputFolder {
 public:
  /// Takes the lock, cleans up behind a killed conversion, and makes both folders.
  /// @param files  must outlive this object.
  /// @throws ConversionError, and nothing was left behind:
  ///   OutputPathExists         something is at the output that is neither an empty folder nor, with
  ///                            overwrite, an octree; or in the way beside it
  ///   OutputCannotCreateDirs   a parent of the output is missing and cannot be made
  ///   OutputCannotWrite        no permission; the output is a mount point; another conversion has the lock
  ///   OutputDiskFull           no space even for that
  ///   ConvertTempPathNotFound  the temporary folder does not exist
  ///   ConvertTempDirInvalid    it is no folder, or cannot be written
  ///   ConvertTempFull          it has no space
  OutputFolder(Core::FileSystem& files, const std::filesystem::path& output, const OutputOptions& options);
  ~OutputFolder();
  OutputFolder(const OutputFolder&) = delete;
  OutputFolder& operator=(const OutputFolder&) = delete;

  /// Where the octree is written: an empty folder beside the output.
  [[nodiscard]] const std::filesystem::path& partial() const { return paths_.partial; }
  /// Where temporary files are written: an empty folder.
  [[nodiscard]] const std::filesystem::path& temporary() const { return temporary_; }
  /// What the user should know of leftovers, each a sentence. commit() may add to them.
  [[nodiscard]] const std::vector<std::string>& remarks() const { return remarks_; }

  /// Puts the octree, whose files have all been closed, into its place. Temporary files go before. An old
  /// octree that then cannot be removed is a remark, since the new one is in place.
  /// @throws ConversionError: OutputDescriptorDamaged or OutputDataFilesMissing when a file of the octree is
  ///         gone; OutputPathExists when something has come to the output meanwhile; what FileRole.h says.
  void commit();

 private:
  OutputFolder(Core::FileSystem& files, OutputPaths paths, OutputOptions options);

  void makeParents();
  void makeFolders(bool replaces, const std::optional<std::filesystem::path>& temporaryParent);
  void requireFiles() const;
  void putIntoPlace();
  std::vector<std::string> cleanUp();
  void release();

  Core::FileSystem& files_;
  OutputPaths paths_;
  OutputOptions options_;
  std::filesystem::path temporary_;
  std::vector<std::filesystem::path> madeParents_;  // deepest first
  std::vector<std::string> remarks_;
  std::optional<OutputLock> lock_;  // empty before it is taken and once its file was removed
};

}  // namespace Converter
