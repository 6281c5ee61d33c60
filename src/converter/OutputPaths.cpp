#include "converter/OutputPaths.h"

#include <algorithm>
#include <string>
#include <system_error>
#include <utility>

#include "converter/ConversionError.h"

namespace Converter {
namespace {

namespace fs = std::filesystem;

fs::path resolved(const fs::path& given, std::error_code& error) {
  fs::path path = fs::absolute(given, error);
  if (!error) path = fs::weakly_canonical(path, error);
  return path.has_filename() ? path : path.parent_path();  // without the separator at the end
}

fs::path resolvedOutput(const fs::path& given) {
  if (given.empty()) throw ConversionError(Result::OutputCannotWrite, "No output folder was given.");
  std::error_code error;
  fs::path path = resolved(given, error);
  if (error) {
    throw ConversionError(Result::OutputCannotWrite, "The output cannot be written: " + given.string() +
                                                         ": " + error.message() +
                                                         ". Choose another output folder.");
  }
  return path;
}

fs::path withSuffix(fs::path path, const char* suffix) { return path += suffix; }

}  // namespace

OutputPaths::OutputPaths(const fs::path& given)
    : output(resolvedOutput(given)),
      partial(withSuffix(output, ".partial")),
      lock(withSuffix(output, ".partial.lock")),
      old(withSuffix(output, ".old")) {}

bool isWithin(const fs::path& path, const fs::path& folder) {
  std::error_code error;
  const fs::path whole = resolved(path, error);
  return !error &&
         std::mismatch(folder.begin(), folder.end(), whole.begin(), whole.end()).first == folder.end();
}

}  // namespace Converter
