#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "core/BoundedJson.h"
#include "core/FormatError.h"

namespace {

using Core::FormatError;
using Core::JsonLimits;
using Core::parseBoundedJson;
using nlohmann::json;
using testing::HasSubstr;

constexpr JsonLimits kLimits{.numBytes = 4'000'000, .numLevels = 3};

/// What parsing says: "parsed", or the text of the FormatError. Any other exception gets out.
std::string saidOf(std::string_view text, const JsonLimits& limits = kLimits) {
  try {
    (void)parseBoundedJson(text, limits, "a.json");
    return "parsed";
  } catch (const FormatError& error) {
    return error.what();
  }
}

TEST(BoundedJson, GivesTheValueOfAText) {
  const json value = parseBoundedJson(R"({"a":[1,{"b":-2.5}],"c":"d"})", kLimits, "a.json");
  EXPECT_EQ(value, json({{"a", {1, {{"b", -2.5}}}}, {"c", "d"}}));
  EXPECT_EQ(parseBoundedJson(" 7 ", {.numBytes = 3, .numLevels = 0}, "a.json"), json(7));
}

TEST(BoundedJson, TakesAsManyLevelsAsItsLimitAndNoMore) {
  EXPECT_EQ(saidOf("[[[1]]]"), "parsed");
  EXPECT_EQ(saidOf(R"([{"a":{}}])"), "parsed");
  EXPECT_EQ(saidOf("[[[[]]]]"), "a.json: document: expected at most 3 nested levels, found more");
  EXPECT_EQ(saidOf(R"([{"a":{"b":{}}}])"), "a.json: document: expected at most 3 nested levels, found more");
  EXPECT_EQ(saidOf("[[[]],[[]],[[]]]"), "parsed");  // side by side is not within each other
}

TEST(BoundedJson, RefusesAMillionNestedArraysWithoutBuildingThem) {
  const std::size_t million = 1'000'000;
  EXPECT_THAT(saidOf(std::string(million, '[') + std::string(million, ']')), HasSubstr("nested levels"));
  EXPECT_THAT(saidOf(std::string(million, '[')), HasSubstr("nested levels"));
  std::string objects;
  for (std::size_t i = 0; i < million / 2; ++i) objects += R"({"a":)";
  EXPECT_THAT(saidOf(objects), HasSubstr("nested levels"));
}

TEST(BoundedJson, TakesTimeInProportionToAListOfManyObjects) {
  std::string list = "[{}";
  while (list.size() < 3'000'000) list += ",{}";
  EXPECT_EQ(parseBoundedJson(list + "]", kLimits, "a.json").size(), list.size() / 3);
}

TEST(BoundedJson, RefusesATextAboveItsLimitOfBytesUnread) {
  const JsonLimits limits{.numBytes = 10, .numLevels = 1};
  EXPECT_EQ(saidOf("\"12345678\"", limits), "parsed");
  EXPECT_EQ(saidOf("\"123456789\"", limits), "a.json: document: expected at most 10 bytes, found 11");
  EXPECT_THAT(saidOf("not JSON at all", limits), HasSubstr("at most 10 bytes"));
}

TEST(BoundedJson, RefusesTwoMembersOfOneNameInAnObject) {
  EXPECT_EQ(saidOf(R"({"a":1,"b":2,"a":3})"),
            "a.json: a: expected one member of that name in an object, found two");
  EXPECT_THAT(saidOf(R"([{"x":{"a":1,"\u0061":2}}])"), HasSubstr("found two"));
  EXPECT_EQ(saidOf(R"([{"a":{"a":1}},{"a":2}])"), "parsed");  // in objects of their own
}

TEST(BoundedJson, TakesTheLastMemberOfANameWhereRepeatedNamesAreAllowed) {
  const JsonLimits limits{.numBytes = 100, .numLevels = 1, .repeatedNames = true};
  EXPECT_EQ(parseBoundedJson(R"({"a":1,"a":2})", limits, "a.json"), json({{"a", 2}}));
}

TEST(BoundedJson, NamesTheByteAtWhichATextIsNoJson) {
  EXPECT_EQ(saidOf(""), "a.json, byte 0: document: expected JSON, found not JSON (starts with '')");
  EXPECT_EQ(saidOf("{\"a\":1]"),
            "a.json, byte 6: document: expected JSON, found not JSON (starts with '{\"a\":1]')");
  EXPECT_THAT(saidOf("[1]]"), HasSubstr("byte 3"));
}

TEST(BoundedJson, RefusesWhatLooksLikeJsonButIsNot) {
  for (const char* text : {"NaN", "[Infinity]", "[1,]", "{a:1}", "'a'", "[01]", "[1.]", "// a\n1", "\"\xff\"",
                           "\"\xc0\x80\"", R"("\ud800")", "tru", "[1 2]", "\"a\nb\"", "+1", "0x10"}) {
    EXPECT_THAT(saidOf(text), HasSubstr("not JSON")) << text;
  }
  EXPECT_THAT(saidOf(std::string("1\0", 2)), HasSubstr("not JSON"));
}

TEST(BoundedJson, RefusesNumbersBeyondDoublePrecision) {
  EXPECT_EQ(saidOf("[1e400]"),
            "a.json, byte 5: document: expected numbers within double precision, found one beyond");
  EXPECT_EQ(saidOf("[1e-400, 1e308]"), "parsed");
}

TEST(BoundedJson, RefusesEveryTruncation) {
  const std::string whole = R"({"a":[1.5,true,null,"\u00e9"],"b":{"c":-1e3}})";
  ASSERT_EQ(saidOf(whole), "parsed");
  for (std::size_t n = 0; n < whole.size(); ++n) {
    EXPECT_THROW((void)parseBoundedJson(std::string(whole, 0, n), kLimits, "cut"), FormatError)
        << n << " bytes";
  }
}

}  // namespace
