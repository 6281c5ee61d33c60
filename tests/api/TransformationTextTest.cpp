#include <gmock/gmock.h>

#include <random>

#include "Sorvik/Transformation.h"
#include "api/Elements.h"
#include "api/MutatedTexts.h"

namespace {

using Sorvik::Transformation;
using Testing::filled;
using testing::HasSubstr;
using Testing::Vector3;

constexpr const char* kIdentity =
    R"({"rotation":[0.0,0.0,0.0,1.0],"scale":[1.0,1.0,1.0],"translation":[0.0,0.0,0.0]})";

Vector3 translation(const Transformation& t) { return filled<3>(t, &Transformation::getTranslation); }

TEST(TransformationText, HasTheDigitsOfSinglePrecision) {
  Transformation t;
  t.setTranslation(0.1F, -2, 1e-3F);
  EXPECT_THAT(t.toJsonString(),
              HasSubstr(R"("translation":[0.10000000149011612,-2.0,0.0010000000474974513])"));
}

TEST(TransformationText, ReadsBackWithTheSameBits) {
  std::mt19937 random(8);
  std::normal_distribution<float> normal(0, 100);
  for (int i = 0; i < 1'000; ++i) {
    const auto next = [&] { return normal(random); };
    Transformation t;
    t.setTranslation(next(), next(), next());
    t.setRotationQuaternion(next(), next(), next(), next());
    t.setUniformScale(next());
    Transformation back;
    ASSERT_TRUE(back.fromJsonString(t.toJsonString()));
    ASSERT_EQ(back.toJsonString(), t.toJsonString()) << "seed 8, case " << i;
  }
}

TEST(TransformationText, WithoutScaleResetsIt) {
  Transformation t;
  t.setUniformScale(7);
  EXPECT_TRUE(t.fromJsonString(R"({"rotation":[0,0,0,1],"translation":[0,0,0]})"));
  EXPECT_EQ(t.toJsonString(), kIdentity);
}

TEST(TransformationText, WithoutTranslationChangesNothing) {
  Transformation t;
  t.setTranslation(1, 2, 3);
  const std::string before = t.toJsonString();
  EXPECT_FALSE(t.fromJsonString(R"({"rotation":[0,0,1,0],"scale":[2,2,2]})"));
  EXPECT_EQ(t.toJsonString(), before);
}

TEST(TransformationText, WithoutRotationHasSetTheTranslation) {
  Transformation t;
  float before[16];
  t.getTransformationMatrix44(before);
  EXPECT_FALSE(t.fromJsonString(R"({"translation":[4,5,6]})"));
  EXPECT_EQ(translation(t), (Vector3{4, 5, 6}));
  EXPECT_EQ((filled<16>(t, &Transformation::getTransformationMatrix44)[12]), 4);
  EXPECT_EQ((filled<16>(t, &Transformation::getInverseTransformationMatrix44)[12]), -4);
}

TEST(TransformationText, WithAWrongScaleHasSetTheRest) {
  Transformation t;
  t.setUniformScale(3);
  EXPECT_FALSE(t.fromJsonString(R"({"translation":[4,5,6],"rotation":[0,0,1,0],"scale":"big"})"));
  EXPECT_EQ(t.toJsonString(),
            R"({"rotation":[0.0,0.0,1.0,0.0],"scale":[3.0,3.0,3.0],"translation":[4.0,5.0,6.0]})");
}

TEST(TransformationText, OfNanIsWrittenAsNullAndNotReadAgain) {
  Transformation t;
  t.setTranslation(NAN, 1, INFINITY);
  EXPECT_THAT(t.toJsonString(), HasSubstr(R"("translation":[null,1.0,null])"));
  EXPECT_FALSE(Transformation().fromJsonString(t.toJsonString()));
}

TEST(TransformationText, IsRefusedWithNothingChangedWhenItIsNoJson) {
  Transformation t;
  for (const std::string text : {"", "{", "NaN", "null", "[1,2,3]", "\"text\"", "<a/>"}) {
    EXPECT_FALSE(t.fromJsonString(text)) << text;
  }
  EXPECT_FALSE(t.fromJsonString(R"({"rotation":[0,0,0,1],"translation":[NaN,0,0]})"));
  EXPECT_FALSE(t.fromJsonString(kIdentity + std::string(1, '\0')));
  EXPECT_EQ(t.toJsonString(), kIdentity);
}

TEST(TransformationText, IsRefusedWhenItNamesAMemberTwice) {
  Transformation t;
  EXPECT_FALSE(t.fromJsonString(R"({"translation":[1,1,1],"rotation":[0,0,0,1],"translation":[2,2,2]})"));
  EXPECT_EQ(t.toJsonString(), kIdentity);
}

TEST(TransformationText, IsRefusedWhenAMillionArraysAreNested) {
  const std::string nested = std::string(1'000'000, '[') + std::string(1'000'000, ']');
  const std::string deep = std::string(400'000, '[') + std::string(400'000, ']');
  EXPECT_FALSE(Transformation().fromJsonString(nested));
  EXPECT_FALSE(
      Transformation().fromJsonString(R"({"x":)" + deep + R"(,"rotation":[0,0,0,1],"translation":[0,0,0]})"));
}

TEST(TransformationText, IsRefusedAbove1MiB) {
  const auto padded = [](std::size_t size) {
    return kIdentity + std::string(size - std::string(kIdentity).size(), ' ');
  };
  EXPECT_TRUE(Transformation().fromJsonString(padded(1 << 20)));
  EXPECT_FALSE(Transformation().fromJsonString(padded((1 << 20) + 1)));
}

TEST(TransformationText, IsReadAndWrittenAgainTheSameOrRefusedHoweverItIsDamaged) {
  constexpr unsigned kSeed = 39;
  Testing::MutatedTexts texts(kIdentity, kSeed);
  int numRead = 0;
  for (int i = 0; i < 5'000; ++i) {
    Transformation t;
    if (!t.fromJsonString(texts.next())) continue;
    ++numRead;
    Transformation again;
    ASSERT_TRUE(again.fromJsonString(t.toJsonString())) << "seed " << kSeed << ", case " << i;
    ASSERT_EQ(again.toJsonString(), t.toJsonString());
  }
  EXPECT_GT(numRead, 50);
}

}  // namespace
