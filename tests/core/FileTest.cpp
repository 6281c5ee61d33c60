#include <gmock/gmock.h>

#include <system_error>

#include "core/File.h"
#include "core/FormatError.h"
#include "support/TempFolder.h"

namespace {

using testing::HasSubstr;
using testing::ThrowsMessage;

TEST(File, ReadsByPosition) {
  const Testing::TempFolder folder;
  const Core::File file(folder.write("ten.bin", "0123456789"));
  EXPECT_EQ(file.size(), 10U);
  EXPECT_EQ(file.read(3, 4), "3456");
  EXPECT_EQ(file.read(10, 0), "");
}

TEST(File, RefusesARangeBeyondTheEndBeforeAllocatingForIt) {
  const Testing::TempFolder folder;
  const Core::File file(folder.write("ten.bin", "0123456789"));
  EXPECT_THAT([&] { (void)file.read(8, std::uint64_t{1} << 62U); },
              ThrowsMessage<Core::FormatError>(
                  HasSubstr("ten.bin, byte 8: bytes to read: expected 4611686018427387904, found 2")));
  EXPECT_THROW((void)file.read(UINT64_MAX, UINT64_MAX), Core::FormatError);
}

TEST(File, RefusesAFolderAndAMissingFileByName) {
  const Testing::TempFolder folder;
  EXPECT_THROW(Core::File(folder.path()), std::system_error);
  EXPECT_THAT([&] { Core::File(folder.path() / "none"); },
              ThrowsMessage<std::system_error>(HasSubstr("none")));
}

}  // namespace
