#include "converter/OutputFile.h"

#include <cerrno>
#include <system_error>
#include <utility>

namespace Converter {

OutputFile::OutputFile(std::filesystem::path path)
    : path_(std::move(path)), file_(std::fopen(path_.c_str(), "wbx")) {
  if (file_ == nullptr) fail();
}

OutputFile::~OutputFile() {
  if (file_ != nullptr) std::fclose(file_);
  if (kept_) return;
  std::error_code ignored;
  std::filesystem::remove(path_, ignored);
}

void OutputFile::write(std::string_view bytes) {
  if (std::fwrite(bytes.data(), 1, bytes.size(), file_) != bytes.size()) fail();
}

void OutputFile::close() {
  if (std::fclose(std::exchange(file_, nullptr)) != 0) fail();
  kept_ = true;
}

void OutputFile::fail() const {
  throw std::system_error(errno, std::generic_category(), "cannot write " + path_.string());
}

}  // namespace Converter
