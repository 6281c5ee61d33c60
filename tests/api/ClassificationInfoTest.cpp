#include <gmock/gmock.h>

#include <limits>

#include "Sorvik/ClassificationInfo.h"
#include "api/MutatedTexts.h"

namespace {

using Sorvik::ClassificationInfo;
using Sorvik::Color;
using testing::HasSubstr;

constexpr Color kColor{.b = 10, .g = 20, .r = 30, .a = 40};
constexpr Color kWhite{.b = 255, .g = 255, .r = 255, .a = 255};

ClassificationInfo sample() {
  ClassificationInfo info;
  info.add(2, kColor, "Ground", true);
  info.add(70, kWhite, "Ours", false);
  return info;
}

TEST(ClassificationInfo, HoldsNoClassAtFirst) {
  const ClassificationInfo info;
  EXPECT_FALSE(info.contains(2));
  EXPECT_EQ(info.toJsonString(), R"({"classes":[]})");
}

TEST(ClassificationInfo, GivesBackTheSameBytesOfAColour) {
  ClassificationInfo info = sample();
  EXPECT_TRUE(info.contains(2));
  EXPECT_EQ(info.color(2), kColor);
  EXPECT_EQ(info.name(2), "Ground");
  EXPECT_TRUE(info.visible(2));
  info.setColor(2, {1, 2, 3, 4});
  EXPECT_EQ(info.color(2), (Color{1, 2, 3, 4}));
}

TEST(ClassificationInfo, WritesColoursAsRedGreenBlueAlpha) {
  EXPECT_EQ(sample().toJsonString(),
            R"({"classes":[{"color":[30,20,10,40],"id":2,"name":"Ground","visible":true},)"
            R"({"color":[255,255,255,255],"id":70,"name":"Ours","visible":false}]})");
}

TEST(ClassificationInfo, ReplacesAClassThatIsAddedAgain) {
  ClassificationInfo info = sample();
  info.add(2, kWhite, "Again", false);
  EXPECT_EQ(info.name(2), "Again");
  EXPECT_EQ(info.color(2), kWhite);
  EXPECT_FALSE(info.visible(2));
}

TEST(ClassificationInfo, ChangesAndForgetsClasses) {
  ClassificationInfo info = sample();
  info.setName(2, "Soil");
  info.setVisible(2, false);
  EXPECT_EQ(info.name(2), "Soil");
  EXPECT_FALSE(info.visible(2));
  info.setAllVisible(true);
  EXPECT_TRUE(info.visible(2) && info.visible(70));
  info.remove(2);
  EXPECT_FALSE(info.contains(2));
  EXPECT_TRUE(info.contains(70));
  info.clear();
  EXPECT_FALSE(info.contains(70));
}

TEST(ClassificationInfo, SaysOfAMissingClassThatItIsVisibleWhiteAndNameless) {
  const ClassificationInfo info = sample();
  for (const std::size_t id : {std::size_t{3}, std::numeric_limits<std::size_t>::max()}) {
    EXPECT_TRUE(info.visible(id));
    EXPECT_EQ(info.color(id), kWhite);
    EXPECT_EQ(info.name(id), "");
  }
}

TEST(ClassificationInfo, DoesNothingToAMissingClass) {
  ClassificationInfo info = sample();
  const std::string before = info.toJsonString();
  info.setVisible(3, false);
  info.setColor(3, kColor);
  info.setName(3, "three");
  info.remove(3);
  EXPECT_FALSE(info.contains(3));
  EXPECT_EQ(info.toJsonString(), before);
}

TEST(ClassificationInfo, IsAValueWhoseCopiesAreTheirOwn) {
  static_assert(sizeof(ClassificationInfo) == sizeof(void*));
  ClassificationInfo info = sample();
  ClassificationInfo copy(info);
  copy.setName(2, "copy");
  EXPECT_EQ(info.name(2), "Ground");
  ClassificationInfo assigned;
  assigned = copy;
  copy.clear();
  EXPECT_EQ(assigned.name(2), "copy");
}

TEST(ClassificationInfo, SurvivesAssignmentFromItselfAndCanBeAssignedToWhenMovedFrom) {
  ClassificationInfo info = sample();
  auto& itself = info;
  info = itself;
  info = std::move(itself);
  EXPECT_EQ(info.name(2), "Ground");
  ClassificationInfo moved(std::move(info));
  info = moved;  // NOLINT(bugprone-use-after-move): this is what a moved-from table allows
  EXPECT_EQ(info.toJsonString(), moved.toJsonString());
}

TEST(ClassificationInfo, HasTheStandardClasses0To22) {
  const auto info = ClassificationInfo::standardASPRSClasses();
  for (std::size_t id = 0; id <= 22; ++id) EXPECT_NE(info.name(id), "") << id;
  EXPECT_FALSE(info.contains(23));
  EXPECT_EQ(info.name(2), "Ground");
}

TEST(ClassificationInfo, Has256RandomlyColouredClassesTheSameOnEveryCall) {
  const auto info = ClassificationInfo::randomColoredClasses();
  EXPECT_TRUE(info.contains(0) && info.contains(255));
  EXPECT_FALSE(info.contains(256));
  EXPECT_EQ(info.toJsonString(), ClassificationInfo::randomColoredClasses().toJsonString());
}

TEST(ClassificationInfo, ComesBackFromItsText) {
  for (const auto& info : {ClassificationInfo(), sample(), ClassificationInfo::standardASPRSClasses(),
                           ClassificationInfo::randomColoredClasses()}) {
    ClassificationInfo back;
    ASSERT_TRUE(back.fromJsonString(info.toJsonString()));
    EXPECT_EQ(back.toJsonString(), info.toJsonString());
  }
}

TEST(ClassificationInfo, WritesNamesThatAreNotUtf8WithReplacements) {
  ClassificationInfo info;
  info.add(2, kColor, "a\xff", true);
  EXPECT_THAT(info.toJsonString(), HasSubstr("a\xef\xbf\xbd"));
  EXPECT_TRUE(info.fromJsonString(info.toJsonString()));
}

TEST(ClassificationInfo, IsReplacedByWhatIsRead) {
  ClassificationInfo info = sample();
  EXPECT_TRUE(
      info.fromJsonString(R"({"classes":[{"id":5,"name":"New","color":[1,2,3,4],"visible":false}]})"));
  EXPECT_FALSE(info.contains(2));
  EXPECT_EQ(info.name(5), "New");
  EXPECT_EQ(info.color(5), (Color{.b = 3, .g = 2, .r = 1, .a = 4}));
  EXPECT_FALSE(info.visible(5));
}

TEST(ClassificationInfo, StaysAsItWasWhenATextIsRefused) {
  ClassificationInfo info = sample();
  const std::string before = info.toJsonString();
  const std::string good = R"({"id":5,"name":"New","color":[1,2,3,4],"visible":false})";
  const std::vector<std::string> texts{"",
                                       "not JSON",
                                       "[]",
                                       R"({"classes":7})",
                                       R"({"classes":[],"classes":[]})",
                                       R"({"classes":[NaN]})",
                                       R"({"classes":[)" + good + R"(,{"id":6}]})",
                                       R"({"classes":[)" + good + "," + good + "]}",
                                       before + "x"};
  for (const std::string& text : texts) {
    EXPECT_FALSE(info.fromJsonString(text)) << text;
  }
  EXPECT_EQ(info.toJsonString(), before);
}

TEST(ClassificationInfo, RefusesAMillionNestedArrays) {
  ClassificationInfo info;
  const std::string nested = std::string(1'000'000, '[') + std::string(1'000'000, ']');
  EXPECT_FALSE(info.fromJsonString(nested));
  EXPECT_FALSE(info.fromJsonString(R"({"x":)" + nested + R"(,"classes":[]})"));
}

TEST(ClassificationInfo, RefusesTextsAbove16MiB) {
  const auto withName = [](std::size_t size) {
    const std::string start = R"({"classes":[{"id":1,"color":[1,2,3,4],"visible":true,"name":")";
    const std::string end = "\"}]}";
    return start + std::string(size - start.size() - end.size(), 'a') + end;
  };
  EXPECT_TRUE(ClassificationInfo().fromJsonString(withName(16 << 20)));
  EXPECT_FALSE(ClassificationInfo().fromJsonString(withName((16 << 20) + 1)));
}

TEST(ClassificationInfo, IsReadAndWrittenAgainTheSameOrLeftAloneHoweverATextIsDamaged) {
  constexpr unsigned kSeed = 40;
  Testing::MutatedTexts texts(sample().toJsonString(), kSeed);
  const std::string before = R"({"classes":[]})";
  int numRead = 0;
  for (int i = 0; i < 5'000; ++i) {
    SCOPED_TRACE(testing::Message() << "seed " << kSeed << ", case " << i);
    ClassificationInfo info;
    const bool read = info.fromJsonString(texts.next());
    ASSERT_TRUE(read || info.toJsonString() == before);
    ClassificationInfo again;
    ASSERT_TRUE(again.fromJsonString(info.toJsonString()));
    ASSERT_EQ(again.toJsonString(), info.toJsonString());
    numRead += read ? 1 : 0;
  }
  EXPECT_GT(numRead, 50);
}

}  // namespace
