#include <gmock/gmock.h>

#include <limits>
#include <nlohmann/json.hpp>
#include <set>

#include "core/FormatError.h"
#include "math/ClassificationInfo.h"

namespace {

using Core::FormatError;
using Math::ClassificationInfo;
using Math::Color;
using nlohmann::json;
using testing::HasSubstr;

/// What reading says: "read", or the text of the FormatError. Any other exception gets out.
std::string saidOf(const std::string& text) {
  ClassificationInfo table;
  table.add(3, {1, 2, 3, 4}, "before", false);
  const ClassificationInfo before = table;
  try {
    from_json(json::parse(text), table);
    return "read";
  } catch (const FormatError& error) {
    EXPECT_EQ(table, before);
    return error.what();
  }
}

/// A table of one valid class whose member is replaced by @p text.
std::string withMember(const char* name, const char* text) {
  json value{{"id", 2}, {"name", "Ground"}, {"color", {1, 2, 3, 4}}, {"visible", true}};
  value[name] = json::parse(text);
  return json{{"classes", {value}}}.dump();
}

int distanceSquared(const Color& a, const Color& b) {
  const auto square = [](int d) { return d * d; };
  return square(a.r() - b.r()) + square(a.g() - b.g()) + square(a.b() - b.b());
}

/// Of the two closest colours of the table.
int smallestDistanceSquared(const ClassificationInfo& table) {
  int smallest = std::numeric_limits<int>::max();
  for (const auto& [id, a] : table.classes()) {
    for (const auto& [other, b] : table.classes()) {
      if (id < other) smallest = std::min(smallest, distanceSquared(a.color, b.color));
    }
  }
  return smallest;
}

TEST(ClassificationInfo, HasTheStandardClassesWithTheirNames) {
  const auto table = ClassificationInfo::standardASPRSClasses();
  ASSERT_EQ(table.classes().size(), 23);
  EXPECT_EQ(table.name(0), "Created, Never Classified");
  EXPECT_EQ(table.name(2), "Ground");
  EXPECT_EQ(table.name(6), "Building");
  EXPECT_EQ(table.name(7), "Low Point (Noise)");
  EXPECT_EQ(table.name(9), "Water");
  EXPECT_EQ(table.name(17), "Bridge Deck");
  EXPECT_EQ(table.name(18), "High Noise");
  EXPECT_EQ(table.name(22), "Temporal Exclusion");
  EXPECT_FALSE(table.contains(23));
  for (const auto& entry : table.classes()) {
    EXPECT_TRUE(entry.second.visible && entry.second.color.a() == 255) << entry.first;
  }
}

TEST(ClassificationInfo, HasStandardColoursThatDiffer) {
  EXPECT_GE(smallestDistanceSquared(ClassificationInfo::standardASPRSClasses()), 14 * 14);
}

TEST(ClassificationInfo, HasRandomColoursThatAreDistinctAndNeitherDarkNorPale) {
  const auto table = ClassificationInfo::randomColoredClasses(256);
  ASSERT_EQ(table.classes().size(), 256);
  EXPECT_GE(smallestDistanceSquared(table), 30 * 30);
  for (const auto& entry : table.classes()) {
    const Color& c = entry.second.color;
    const double brightness = 0.299 * c.r() + 0.587 * c.g() + 0.114 * c.b();
    EXPECT_TRUE(brightness >= 70 && brightness < 216 && c.a() == 255) << entry.first;
    EXPECT_EQ(entry.second.name, "Class " + std::to_string(entry.first));
  }
}

TEST(ClassificationInfo, HasTheSameRandomColoursOnEveryCall) {
  EXPECT_EQ(ClassificationInfo::randomColoredClasses(40), ClassificationInfo::randomColoredClasses(40));
  EXPECT_EQ(ClassificationInfo::randomColoredClasses(256).color(39),
            ClassificationInfo::randomColoredClasses(40).color(39));
}

TEST(ClassificationInfo, HasThousandsOfDistinctRandomColours) {
  const auto table = ClassificationInfo::randomColoredClasses(4'000);
  std::set<std::array<int, 3>> colors;
  for (const auto& entry : table.classes()) {
    const Color& c = entry.second.color;
    colors.insert({c.r(), c.g(), c.b()});
  }
  EXPECT_EQ(colors.size(), 4'000);
}

TEST(ClassificationInfo, HasAsManyRandomClassesAsAreAskedFor) {
  EXPECT_TRUE(ClassificationInfo::randomColoredClasses(0).classes().empty());
  EXPECT_EQ(ClassificationInfo::randomColoredClasses(1).classes().size(), 1);
}

TEST(ClassificationInfo, IsWrittenByRisingIdWithColoursAsRedGreenBlueAlpha) {
  ClassificationInfo table;
  table.add(300, {1, 2, 3, 4}, "b", false);
  table.add(2, {5, 6, 7, 8}, "a", true);
  json value;
  to_json(value, table);
  EXPECT_EQ(value.dump(), R"({"classes":[{"color":[5,6,7,8],"id":2,"name":"a","visible":true},)"
                          R"({"color":[1,2,3,4],"id":300,"name":"b","visible":false}]})");
  to_json(value, ClassificationInfo());
  EXPECT_EQ(value.dump(), R"({"classes":[]})");
}

TEST(ClassificationInfo, ComesBackFromItsText) {
  ClassificationInfo table = ClassificationInfo::standardASPRSClasses();
  table.add(std::numeric_limits<std::size_t>::max(), {9, 8, 7, 0}, "quotes \" and \n \u00e9", false);
  json value;
  to_json(value, table);
  ClassificationInfo back;
  from_json(json::parse(value.dump()), back);
  EXPECT_EQ(back, table);
}

TEST(ClassificationInfo, IsReplacedWhenItIsRead) {
  ClassificationInfo table = ClassificationInfo::standardASPRSClasses();
  from_json(json::parse(withMember("id", "70")), table);
  EXPECT_EQ(table.classes().size(), 1);
  EXPECT_EQ(table.name(70), "Ground");
}

TEST(ClassificationInfo, IgnoresMembersThatItDoesNotKnow) {
  EXPECT_EQ(saidOf(withMember("comment", "[1,{}]")), "read");
  EXPECT_EQ(saidOf(R"({"version":2,"classes":[]})"), "read");
}

TEST(ClassificationInfo, RefusesADocumentWithoutAListOfClasses) {
  EXPECT_EQ(saidOf("7"), "class table: document: expected an object, found number");
  EXPECT_EQ(saidOf("{}"), "class table: classes: expected an array, found no such member");
  EXPECT_EQ(saidOf(R"({"classes":{}})"), "class table: classes: expected an array, found object");
  EXPECT_EQ(saidOf(R"({"classes":[7]})"), "class table: classes[0]: expected an object, found number");
  EXPECT_EQ(saidOf(R"({"classes":[{}]})"),
            "class table: classes[0].id: expected a value, found no such member");
}

TEST(ClassificationInfo, RefusesIdsThatAreNoCountsOrComeTwice) {
  for (const char* id : {"-1", "2.0", "\"2\"", "null", "1e3", "18446744073709551616"}) {
    EXPECT_THAT(saidOf(withMember("id", id)), HasSubstr("classes[0].id: expected a whole number")) << id;
  }
  const std::string one = R"({"id":2,"name":"","color":[1,2,3,4],"visible":true})";
  EXPECT_EQ(saidOf(R"({"classes":[)" + one + "," + one + "]}"),
            "class table: classes[1].id: expected ids that differ, found 2 again");
}

TEST(ClassificationInfo, RefusesColoursThatAreNotFourBytes) {
  for (const char* color : {"[1,2,3]", "[1,2,3,4,5]", "[1,2,3,256]", "[1,2,3,-1]", "[1,2,3,4.5]",
                            "[1,2,3,true]", "\"#ffffff\"", "{}"}) {
    EXPECT_THAT(saidOf(withMember("color", color)),
                HasSubstr("classes[0].color: expected 4 whole numbers from 0 to 255"))
        << color;
  }
}

TEST(ClassificationInfo, RefusesNamesAndFlagsOfOtherTypes) {
  EXPECT_THAT(saidOf(withMember("name", "7")), HasSubstr("classes[0].name: expected a text, found 7"));
  EXPECT_THAT(saidOf(withMember("visible", "1")), HasSubstr("visible: expected true or false, found 1"));
}

}  // namespace
