#include <gmock/gmock.h>

#include "converter/ConversionError.h"
#include "converter/FakeEngine.h"
#include "converter/OpenScan.h"

namespace Testing {
namespace {

using Converter::Result;
using testing::HasSubstr;

void expectUnsupported(const std::filesystem::path& file, const std::string& text) {
  FreeSpace files([](const std::filesystem::path&) { return 0; });
  try {
    (void)Converter::openScan(files, file, {});
    FAIL() << "expected: " << text;
  } catch (const Converter::ConversionError& error) {
    EXPECT_EQ(error.result(), Result::InputPointCloudFormatUnsupported);
    EXPECT_THAT(error.what(), HasSubstr(text));
  }
}

TEST(OpenScan, TakesNoProjectForAScan) {
  expectUnsupported("a/p.RSP", "a/p.RSP: is a project; name it as an input of its own");
}

TEST(OpenScan, NamesTheVendorOfClosedFormatsAndTheWayOut) {
  expectUnsupported(
      "a/scan.rcs",
      "a/scan.rcs: is an Autodesk ReCap scan (.rcs), whose format its vendor has not published: a "
      "reader for its points is missing; export them as E57 or LAS, as ReCap does, and convert");
  expectUnsupported("a.ZFS", "a.ZFS: is a Zoller+Froehlich scan (.zfs)");
  expectUnsupported("a.zfprj", "is a Zoller+Froehlich project (.zfprj)");
  expectUnsupported("a.rxp", "is a RIEGL scan (.rxp)");
  expectUnsupported("a.rdbx", "is a RIEGL point database (.rdbx)");
}

TEST(OpenScan, RefusesWhatIsNoScanFile) {
  expectUnsupported("scan.txt", "scan.txt: is no scan file");
  expectUnsupported("scan", "scan: is no scan file");
}

TEST(OpenScan, OpensFilesWhateverTheLettersOfTheirExtension) {
  FreeSpace files([](const std::filesystem::path&) { return 0; });
  for (const char* const file : {"a.las", "a.LAS", "a.Laz", "a.e57", "a.E57"}) {
    // The reader asks the file system, which is made to fail.
    EXPECT_THROW((void)Converter::openScan(files, file, {}), std::exception) << file;
    try {
      (void)Converter::openScan(files, file, {});
    } catch (const Converter::ConversionError& error) {
      EXPECT_NE(error.result(), Result::InputPointCloudFormatUnsupported) << file;
    } catch (const std::exception&) {
    }
  }
}

}  // namespace
}  // namespace Testing
