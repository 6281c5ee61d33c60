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

}  // namespace
}  // namespace Program
