#include <gmock/gmock.h>

#include <limits>
#include <system_error>

#include "converter/ConversionError.h"
#include "converter/DiskSpace.h"
#include "converter/FakeEngine.h"

namespace Testing {
namespace {

using Converter::checkDiskSpace;
using Converter::ConversionFolders;
using Converter::Result;
using Converter::SpaceNeed;
using testing::HasSubstr;

// Two file systems that every Linux machine has; nothing is written to them.
const ConversionFolders kApart{"/proc", "/"};
const ConversionFolders kTogether{"/", "/"};

/// Expects a failure that names @p result and @p text.
void expectRefusal(const SpaceNeed& need, const ConversionFolders& folders, std::uint64_t available,
                   Result result, const std::string& text) {
  FreeSpace files([=](const std::filesystem::path&) { return available; });
  try {
    checkDiskSpace(need, folders, files);
    FAIL() << "expected: " << text;
  } catch (const Converter::ConversionError& error) {
    EXPECT_EQ(error.result(), result);
    EXPECT_THAT(error.what(), HasSubstr(text));
  }
}

TEST(DiskSpace, NeededIsThatOfAllRecordsTwice) {
  std::vector<std::unique_ptr<Converter::ScanReader>> scans;
  scans.push_back(std::make_unique<FakeScan>(scanInfo("a.las")));
  scans.push_back(std::make_unique<FakeScan>(scanInfo("b.las")));
  const SpaceNeed plain = Converter::spaceNeed(scans, PoTree::Encoding::Uncompressed);
  EXPECT_EQ(plain.temporary, 200 * 14);
  EXPECT_EQ(plain.output, 200 * 14);
  const SpaceNeed compressed = Converter::spaceNeed(scans, PoTree::Encoding::Brotli);
  EXPECT_EQ(compressed.temporary, 200 * 14);
  EXPECT_LT(compressed.output, 100 * 14);
}

TEST(DiskSpace, IsCountedTogetherOnOneFileSystem) {
  FreeSpace enough([](const std::filesystem::path&) { return 5'000'000; });
  EXPECT_NO_THROW(checkDiskSpace({3e6, 2e6}, kTogether, enough));
  expectRefusal({3e6, 2e6}, kTogether, 4'900'000, Result::OutputDiskFull,
                "/: the conversion needs about 5.0 MB here, 4.9 MB are free");
}

TEST(DiskSpace, IsCountedApartOnTwo) {
  FreeSpace enough([](const std::filesystem::path&) { return 3'000'000; });
  EXPECT_NO_THROW(checkDiskSpace({3e6, 2e6}, kApart, enough));
  expectRefusal({2e6, 3e6}, kApart, 2'000'000, Result::OutputDiskFull, "/proc: ");
  expectRefusal({3e6, 2e6}, kApart, 2'000'000, Result::ConvertTempFull, "/: ");
}

TEST(DiskSpace, OfAbsurdNeedsIsRefusedInWords) {
  expectRefusal({std::numeric_limits<double>::max(), 0}, kTogether, UINT64_MAX, Result::OutputDiskFull, "MB");
}

TEST(DiskSpace, ThatCannotBeAskedForIsNoReasonToRefuse) {
  FreeSpace silent([](const std::filesystem::path&) -> std::uint64_t {
    throw std::system_error(EIO, std::generic_category(), "/");
  });
  EXPECT_NO_THROW(checkDiskSpace({3e6, 2e6}, kTogether, silent));
}

}  // namespace
}  // namespace Testing
