#pragma once

#include <filesystem>
#include <stop_token>
#include <string>
#include <vector>

namespace Converter {

/// What a user named as input.
struct InputChoice {
  /// Files, and folders that are searched with their subfolders for files of the known formats.
  std::vector<std::filesystem::path> inputs;
  /// When not empty, these files are read and `inputs` are not. Relative ones are taken from the first input
  /// if that is a folder, else from its folder.
  std::vector<std::filesystem::path> files;
  /// Where the octree will stand: it, `<output>.partial` and `<output>.old` are not searched.
  std::filesystem::path output;
  /// Of further formats whose files are found in folders: small letters, with the dot.
  std::vector<std::string> furtherExtensions = {};
};

/// The files to convert.
struct InputFiles {
  std::vector<std::filesystem::path> files;  ///< sorted by their canonical paths, each once; not empty
  std::vector<std::string> remarks;          ///< about files that were named more than once
};

/// Finds the files to convert; links are followed, and folders that link to one of their own are searched
/// once. Nothing is opened.
/// @throws ConversionError: InputFileNotFound, InputNotFile, InputCannotRead; InputEmpty when the folders
/// hold
///         no files at all, InputPointCloudFormatUnsupported when they hold none of a known format;
///         OutputCannotWrite when the output's path is none.
/// @throws ConversionCancelled when a stop was requested; looked at for each folder entry.
[[nodiscard]] InputFiles findInputFiles(const InputChoice& choice, const std::stop_token& stopToken);

}  // namespace Converter
