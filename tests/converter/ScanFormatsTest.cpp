#include <gmock/gmock.h>

#include "converter/ScanFormats.h"

namespace {

TEST(ScanFormats, AreListedInAFixedOrder) {
  std::vector<std::string> names;
  for (const Converter::ScanFormat& format : Converter::scanFormats()) names.emplace_back(format.name);
  EXPECT_THAT(names, testing::ElementsAre("E57", "Las", "Compressed Las", "Riegl RiScan", "Riegl RiProcess",
                                          "Autodesk ReCap Project", "Autodesk ReCap Scan",
                                          "Zoller+Froehlich Scan", "Zoller+Froehlich Project"));
}

TEST(ScanFormats, AreKnownByTheirExtensionsInLettersOfAnyCase) {
  for (const Converter::ScanFormat& format : Converter::scanFormats()) {
    EXPECT_TRUE(Converter::isScanExtension(format.extension)) << format.name;
  }
  EXPECT_TRUE(Converter::isScanExtension(".ZfPrJ"));
  for (const char* const other : {"", ".", "las", ".las ", ".txt", ".e5", ".e577", ".l\xC3\xA4s"}) {
    EXPECT_FALSE(Converter::isScanExtension(other)) << other;
  }
}

TEST(ScanFormats, GiveTheExtensionOfAFileInSmallLetters) {
  EXPECT_EQ(Converter::extensionOf("a.b/C.LAZ"), ".laz");
  EXPECT_EQ(Converter::extensionOf("a.b/.las"), "");
}

}  // namespace
