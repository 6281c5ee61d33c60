#include "converter/OutputLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <random>
#include <span>
#include <string>
#include <string_view>

#include "converter/ConversionError.h"

namespace Converter {
namespace {

constexpr std::string_view kTemporaryPrefix = "sorvik-temporary-";
constexpr std::string_view kHexDigits = "0123456789abcdef";
constexpr std::size_t kRandomDigits = 16;

// A record is a line and the bytes of a path, which may hold line feeds itself. The lines are of one length,
// so that noting the other one leaves a whole record at every moment.
constexpr std::string_view kWriting = "writing; temporary folder:\n";
constexpr std::string_view kPlacing = "placing; temporary folder:\n";
static_assert(kWriting.size() == kPlacing.size());
constexpr std::uint64_t kLongestRecord = 8192;  // paths take at most 4096 bytes

bool isTemporaryFolderName(std::string_view name) {
  return name.size() == kTemporaryPrefix.size() + kRandomDigits && name.starts_with(kTemporaryPrefix) &&
         name.find_first_not_of(kHexDigits, kTemporaryPrefix.size()) == std::string_view::npos;
}

/// Nothing for a text that is no whole record: its end is missing when writing it was cut short.
std::optional<LockRecord> parseRecord(std::string_view text) {
  LockRecord record;
  record.setsAside = text.starts_with(kPlacing);
  if (!record.setsAside && !text.starts_with(kWriting)) return std::nullopt;
  record.temporary = text.substr(kWriting.size());
  if (!record.temporary.is_absolute() || !isTemporaryFolderName(record.temporary.filename().native())) {
    return std::nullopt;
  }
  return record;
}

std::optional<LockRecord> readRecord(const Core::Descriptor& file) {
  const std::uint64_t size = file.size();
  if (size > kLongestRecord) return std::nullopt;
  std::string text(size, '\0');
  file.read(0, std::as_writable_bytes(std::span(text)));
  return parseRecord(text);
}

/// Whether the lock could be had. @throws std::system_error where the file system has no locks.
bool tryLock(const Core::Descriptor& file) {
  while (flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
    if (errno == EWOULDBLOCK) return false;
    if (errno != EINTR) Core::failWith(errno, file.path());
  }
  return true;
}

/// Whether the open file still has its name: who had it before may have removed it before we got the lock.
bool hasItsName(const Core::Descriptor& file) {
  struct stat open = {};
  struct stat named = {};
  return fstat(file.get(), &open) == 0 && lstat(file.path().c_str(), &named) == 0 &&
         open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}

}  // namespace

std::filesystem::path temporaryFolderName() {
  std::random_device random;
  std::uniform_int_distribution<std::size_t> digit(0, kHexDigits.size() - 1);
  std::string name(kTemporaryPrefix);
  for (std::size_t i = 0; i < kRandomDigits; ++i) name += kHexDigits[digit(random)];
  return name;
}

OutputLock::OutputLock(const std::filesystem::path& path) {
  do {
    // Neither a link nor a pipe that somebody put there is followed or waited for.
    file_ = std::make_unique<Core::Descriptor>(path, O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK);
    file_->requireRegularFile();
    if (!tryLock(*file_)) {
      throw ConversionError(Result::OutputCannotWrite,
                            "Another conversion to this output is running: it holds " + path.string() +
                                ". Wait until it has ended, or choose another output folder.");
    }
  } while (!hasItsName(*file_));
  record_ = readRecord(*file_);
}

void OutputLock::note(const LockRecord& record) {
  std::string text(record.setsAside ? kPlacing : kWriting);
  text += record.temporary.native();
  file_->write(0, std::as_bytes(std::span(text)));
  if (ftruncate(file_->get(), static_cast<off_t>(text.size())) != 0) Core::failWith(errno, file_->path());
  file_->sync();
  record_ = record;
}

void OutputLock::remove() {
  if (unlink(file_->path().c_str()) != 0 && errno != ENOENT) Core::failWith(errno, file_->path());
}

}  // namespace Converter
