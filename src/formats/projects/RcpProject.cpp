#include "formats/projects/RcpProject.h"

#include <zip.h>

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "formats/UnsupportedFormat.h"
#include "formats/projects/ProjectXml.h"

namespace Formats {
namespace {

struct ArchiveCloser {
  void operator()(zip_t* archive) const { zip_discard(archive); }
};
struct EntryCloser {
  void operator()(zip_file_t* entry) const { zip_fclose(entry); }
};
using Archive = std::unique_ptr<zip_t, ArchiveCloser>;
using Entry = std::unique_ptr<zip_file_t, EntryCloser>;

std::string textOf(zip_error_t& error) {
  std::string text = zip_error_strerror(&error);
  zip_error_fini(&error);
  return text;
}

Archive open(std::span<const std::byte> bytes, const Core::Source& source) {
  zip_error_t error;
  zip_error_init(&error);
  zip_source_t* const memory = zip_source_buffer_create(bytes.data(), bytes.size(), 0, &error);
  if (memory == nullptr)
    throw Core::FormatError(source, "ZIP archive", "one that can be read", textOf(error));
  Archive archive(zip_open_from_source(memory, ZIP_RDONLY, &error));
  if (!archive) {
    zip_source_free(memory);
    throw Core::FormatError(source, "ZIP archive", "a whole one", textOf(error));
  }
  zip_error_fini(&error);
  return archive;
}

/// Whether an entry's name could be that of a file below a folder.
bool isInside(std::string_view name) {
  if (name.empty() || name.front() == '/' || name.front() == '\\') return false;
  if (name.size() > 1 && name[1] == ':') return false;
  while (!name.empty()) {
    const std::size_t end = std::min(name.find_first_of("/\\"), name.size());
    if (name.substr(0, end) == "..") return false;
    name.remove_prefix(std::min(end + 1, name.size()));
  }
  return true;
}

/// Reads the entries of one archive.
class Reader {
 public:
  Reader(zip_t* archive, const Core::Source& source, const ArchiveLimits& limits)
      : archive_(archive), source_(source), limits_(limits) {}

  ProjectTexts read() {
    const auto numEntries = static_cast<std::uint64_t>(zip_get_num_entries(archive_, 0));
    require(numEntries <= limits_.entries, "entries", "at most " + std::to_string(limits_.entries),
            std::to_string(numEntries));
    for (std::uint64_t i = 0; i < numEntries; ++i) check(i);
    ProjectTexts texts;
    for (std::uint64_t i = 0; i < numEntries; ++i) addTexts(i, texts);
    return texts;
  }

 private:
  void require(bool holds, std::string_view what, const std::string& expected,
               const std::string& found) const {
    if (!holds) throw Core::FormatError(source_.name, what, expected, found);
  }

  [[nodiscard]] zip_stat_t statOf(std::uint64_t index) const {
    constexpr zip_uint64_t kNeeded = ZIP_STAT_NAME | ZIP_STAT_SIZE | ZIP_STAT_COMP_SIZE |
                                     ZIP_STAT_COMP_METHOD | ZIP_STAT_ENCRYPTION_METHOD;
    zip_stat_t stat;
    zip_stat_init(&stat);
    const bool isKnown = zip_stat_index(archive_, index, 0, &stat) == 0 && (stat.valid & kNeeded) == kNeeded;
    require(isKnown, "ZIP entry " + std::to_string(index), "a description", "none");
    return stat;
  }

  /// Refuses an entry for what the archive says of it.
  void check(std::uint64_t index) {
    const zip_stat_t stat = statOf(index);
    const std::string_view name = stat.name;
    const std::string what = "ZIP entry " + std::to_string(index);
    require(name.size() <= limits_.nameBytes, what + ": length of its name",
            "at most " + std::to_string(limits_.nameBytes), std::to_string(name.size()));
    require(isInside(name), what + ": name", "a relative path", std::string(name));
    require(stat.encryption_method == ZIP_EM_NONE, what, "no encryption", "an encrypted entry");
    require(stat.comp_method == ZIP_CM_STORE || stat.comp_method == ZIP_CM_DEFLATE, what + ": compression",
            "0 or 8 (deflate)", std::to_string(stat.comp_method));
    require(stat.size <= limits_.entryBytes, what + ": size", "at most " + std::to_string(limits_.entryBytes),
            std::to_string(stat.size));
    totalBytes_ += stat.size;
    require(totalBytes_ <= limits_.totalBytes, "size of all ZIP entries",
            "at most " + std::to_string(limits_.totalBytes), std::to_string(totalBytes_));
    const bool isDense = stat.size > limits_.smallEntryBytes && stat.size / limits_.ratio > stat.comp_size;
    require(!isDense, what + ": size",
            "at most " + std::to_string(limits_.ratio) + " times the compressed one",
            std::to_string(stat.size) + " from " + std::to_string(stat.comp_size));
  }

  void addTexts(std::uint64_t index, ProjectTexts& texts) const {
    const std::vector<std::byte> bytes = contentOf(index);
    if (startsAsXml(bytes)) {
      require(bytes.size() <= limits_.xmlBytes, "ZIP entry " + std::to_string(index) + ": size of its XML",
              "at most " + std::to_string(limits_.xmlBytes), std::to_string(bytes.size()));
      const std::string name = std::string(source_.name) + ", ZIP entry " + std::to_string(index);
      addXmlTexts(bytes, {name}, texts);
    } else if (std::find(bytes.begin(), bytes.end(), std::byte{0}) == bytes.end()) {
      addLines(bytes, texts);
    }
  }

  [[nodiscard]] std::vector<std::byte> contentOf(std::uint64_t index) const {
    const std::string what = "ZIP entry " + std::to_string(index);
    const Entry entry(zip_fopen_index(archive_, index, 0));
    require(entry != nullptr, what, "one that can be read", zip_strerror(archive_));
    // One byte more than there should be: the end, where the checksum is compared, lies behind the last one.
    std::vector<std::byte> bytes(static_cast<std::size_t>(statOf(index).size) + 1);
    std::size_t size = 0;
    while (size < bytes.size()) {
      const zip_int64_t count = zip_fread(entry.get(), bytes.data() + size, bytes.size() - size);
      require(count >= 0, what, "sound data", zip_file_strerror(entry.get()));
      if (count == 0) break;
      size += static_cast<std::size_t>(count);
    }
    require(size + 1 == bytes.size(), what, std::to_string(bytes.size() - 1) + " bytes",
            std::to_string(size));
    bytes.pop_back();
    return bytes;
  }

  zip_t* archive_;
  const Core::Source& source_;
  const ArchiveLimits& limits_;
  std::uint64_t totalBytes_ = 0;
};

}  // namespace

ProjectTexts readRcpTexts(std::span<const std::byte> bytes, const Core::Source& source,
                          const ArchiveLimits& limits) {
  const std::string_view start(reinterpret_cast<const char*>(bytes.data()),
                               std::min<std::size_t>(bytes.size(), 2));
  if (start != "PK") {
    throw UnsupportedFormat(source, "signature of a ReCap project", "'PK' of a ZIP archive",
                            "something else");
  }
  const Archive archive = open(bytes, source);
  return Reader(archive.get(), source, limits).read();
}

}  // namespace Formats
