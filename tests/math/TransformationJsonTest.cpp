#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "core/FormatError.h"
#include "math/Transformation.h"

namespace {

using Core::FormatError;
using Math::Point;
using Math::Quaternion;
using Math::Transformation;
using nlohmann::json;
using testing::HasSubstr;

/// What reading says: "read", or the text of the FormatError. Any other exception gets out.
std::string saidOf(const char* text, Transformation& transformation) {
  try {
    from_json(json::parse(text), transformation);
    return "read";
  } catch (const FormatError& error) {
    return error.what();
  }
}
std::string saidOf(const char* text) {
  Transformation transformation;
  return saidOf(text, transformation);
}

TEST(TransformationJson, ComesBackAsItWas) {
  Transformation t;
  t.setTranslation({{0.1F, -1e30F, 1e-40F}});
  t.setRotation({0.5F, -0.5F, 0.25F, 2});
  t.setScale({{1, 2, -3}});
  json value;
  to_json(value, t);
  Transformation back;
  from_json(json::parse(value.dump()), back);
  EXPECT_EQ(back.translation(), t.translation());
  EXPECT_EQ(back.rotation(), t.rotation());
  EXPECT_EQ(back.scale(), t.scale());
}

TEST(TransformationJson, NamesTheMemberThatIsMissing) {
  EXPECT_EQ(saidOf("{}"), "transformation: translation: expected a list of numbers, found no such member");
  EXPECT_THAT(saidOf(R"({"translation":[1,2,3]})"), HasSubstr("rotation: expected a list of numbers"));
}

TEST(TransformationJson, NamesTheMemberThatIsOfTheWrongType) {
  const char* const expected = "translation: expected 3 numbers within single precision, found ";
  EXPECT_EQ(saidOf("[]"), "transformation: document: expected an object, found array");
  EXPECT_THAT(saidOf(R"({"translation":7})"), HasSubstr(std::string(expected) + "number"));
  EXPECT_THAT(saidOf(R"({"translation":[1,2]})"), HasSubstr(std::string(expected) + "2 elements"));
  EXPECT_THAT(saidOf(R"({"translation":[1,2,3,4]})"), HasSubstr(std::string(expected) + "4 elements"));
  EXPECT_THAT(saidOf(R"({"translation":[1,"2",3]})"), HasSubstr(std::string(expected) + "string"));
  EXPECT_THAT(saidOf(R"({"translation":[1,true,3]})"), HasSubstr(std::string(expected) + "boolean"));
  EXPECT_THAT(saidOf(R"({"translation":[1,null,3]})"), HasSubstr(std::string(expected) + "null"));
  EXPECT_THAT(saidOf(R"({"translation":[1,1e39,3]})"), HasSubstr(std::string(expected) + "1e+39"));
}

TEST(TransformationJson, TakesWholeNumbersAndIgnoresMembersThatItDoesNotKnow) {
  Transformation t;
  EXPECT_EQ(saidOf(R"({"name":["a"],"rotation":[0,0,1,0],"translation":[1,-2,18446744073709551615]})", t),
            "read");
  EXPECT_EQ(t.rotation(), (Quaternion{0, 0, 1, 0}));
  EXPECT_EQ(t.translation(), (Point<float, 3>{{1, -2, 0x1p64F}}));
}

TEST(TransformationJson, ThatFailsHalfWayLeavesMatricesThatAgreeWithItsMembers) {
  Transformation t;
  EXPECT_EQ(t.matrix()[12], 0);
  EXPECT_THAT(saidOf(R"({"translation":[5,6,7],"rotation":[0,0,1]})", t), HasSubstr("rotation"));
  EXPECT_EQ(t.translation(), (Point<float, 3>{{5, 6, 7}}));
  EXPECT_EQ(t.matrix()[12], 5);
  EXPECT_EQ(t.inverseMatrix()[12], -5);
}

}  // namespace
