#include "converter/E57Pages.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "core/FormatError.h"
#include "formats/e57/Pages.h"

namespace Converter {

using Formats::E57::kPageContent;
using Formats::E57::kPageSize;

E57Pages::E57Pages(const Core::ReadableFile& file, std::uint64_t fileSize, std::string_view name,
                   std::size_t pagesPerRead)
    : file_(file),
      numPages_(fileSize / kPageSize),
      name_(name),
      pagesPerRead_(pagesPerRead),
      pages_(std::make_unique_for_overwrite<std::byte[]>(pagesPerRead * kPageSize)) {}

void E57Pages::read(std::uint64_t logicalOffset, std::span<std::byte> out) {
  while (!out.empty()) {
    const std::uint64_t page = logicalOffset / kPageContent;
    const auto inside = static_cast<std::size_t>(logicalOffset % kPageContent);
    if (page < first_ || page - first_ >= loaded_) load(page);
    const std::size_t count = std::min(out.size(), kPageContent - inside);
    std::memcpy(out.data(), pages_.get() + static_cast<std::size_t>(page - first_) * kPageSize + inside,
                count);
    out = out.subspan(count);
    logicalOffset += count;
  }
}

void E57Pages::load(std::uint64_t page) {
  if (page >= numPages_) {
    throw Core::FormatError({name_, numPages_ * kPageSize}, "the file is truncated: its pages",
                            "page " + std::to_string(page), std::to_string(numPages_));
  }
  loaded_ = 0;
  const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(pagesPerRead_, numPages_ - page));
  const std::span<std::byte> bytes(pages_.get(), count * kPageSize);
  file_.read(page * kPageSize, bytes);
  Formats::E57::verifyPages(bytes, page, name_);
  first_ = page;
  loaded_ = count;
}

}  // namespace Converter
