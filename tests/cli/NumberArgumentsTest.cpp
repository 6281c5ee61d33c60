#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "sorvik/CallError.h"
#include "sorvik/NumberArguments.h"

namespace Program {
namespace {

using testing::ElementsAre;
using testing::ThrowsMessage;

TEST(NumberArguments, AreReadInDouble) {
  EXPECT_EQ(parseNumber("--x", "636001.76"), 636001.76);
  EXPECT_EQ(parseNumber("--x", "-1e-3"), -0.001);
  EXPECT_EQ(parseNumber("--x", ".5"), 0.5);
}

TEST(NumberArguments, AreSeparatedByCommas) {
  EXPECT_THAT(parseNumbers("--x", "1,-2.5,3e2"), ElementsAre(1, -2.5, 300));
  EXPECT_THAT(parseNumbers("--x", "7"), ElementsAre(7));
}

TEST(NumberArguments, RefuseWhatIsNoNumberOrMore) {
  for (const char* const text : {"x", "1x", "1 ", " 1", "1;2", "0x10", "--1", "1.2.3", "1e", "+1"}) {
    EXPECT_THAT([&] { (void)parseNumber("--x", text); },
                ThrowsMessage<CallError>("--x: '" + std::string(text) + "' is not a number"));
  }
}

TEST(NumberArguments, RefuseWhatIsNotFinite) {
  for (const char* const text : {"nan", "-nan", "inf", "-infinity"}) {
    EXPECT_THAT([&] { (void)parseNumber("--x", text); },
                ThrowsMessage<CallError>("--x: '" + std::string(text) + "' is not a finite number"));
  }
}

TEST(NumberArguments, RefuseWhatNoFloatHolds) {
  for (const char* const text : {"1e39", "-1e39", "1e400"}) {
    EXPECT_THAT([&] { (void)parseNumber("--x", text); },
                ThrowsMessage<CallError>("--x: '" + std::string(text) + "' is out of range"));
  }
  EXPECT_EQ(parseNumber("--x", "3.4e38"), 3.4e38);
}

TEST(NumberArguments, RefuseEmptyItems) {
  for (const char* const text : {"", ",1", "1,", "1,,2"}) {
    EXPECT_THAT([&] { (void)parseNumbers("--x", text); },
                ThrowsMessage<CallError>("--x: a number is missing"))
        << text;
  }
}

TEST(NumberArguments, AreCountsFromOneToALimit) {
  EXPECT_EQ(parseCount("--n", "1", 8), 1U);
  EXPECT_EQ(parseCount("--n", "8", 8), 8U);
  for (const char* const text : {"0", "9", "18446744073709551616"}) {
    EXPECT_THAT([&] { (void)parseCount("--n", text, 8); },
                ThrowsMessage<CallError>("--n: '" + std::string(text) + "' is out of range"));
  }
  for (const char* const text : {"", "-1", "1.5", "2 ", "two"}) {
    EXPECT_THAT([&] { (void)parseCount("--n", text, 8); },
                ThrowsMessage<CallError>("--n: '" + std::string(text) + "' is not a whole number"));
  }
}

TEST(NumberArguments, AreBytesWithUnits) {
  EXPECT_EQ(parseByteCount("--m", "1000"), 1000U);
  EXPECT_EQ(parseByteCount("--m", "3K"), 3072U);
  EXPECT_EQ(parseByteCount("--m", "512m"), 512U << 20U);
  EXPECT_EQ(parseByteCount("--m", "1.5G"), 3ULL << 29U);
  for (const char* const text : {"-1", "1e30", "2000000000G"}) {
    EXPECT_THAT([&] { (void)parseByteCount("--m", text); },
                ThrowsMessage<CallError>("--m: '" + std::string(text) + "' is out of range"));
  }
  for (const char* const text : {"", "G", "1T", "1 G", "1GB"}) {
    EXPECT_THROW((void)parseByteCount("--m", text), CallError) << text;
  }
}

}  // namespace
}  // namespace Program
