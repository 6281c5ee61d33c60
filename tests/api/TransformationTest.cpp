#include <gmock/gmock.h>

#include <cmath>
#include <functional>
#include <numbers>
#include <stdexcept>

#include "Sorvik/Transformation.h"
#include "api/Elements.h"

namespace {

using Sorvik::Span;
using Sorvik::Transformation;
using testing::ElementsAre;
using Testing::filled;
using testing::FloatNear;
using testing::Pointwise;
using testing::ThrowsMessage;
using Testing::Vector3;

using Quaternion = std::array<float, 4>;
using Matrix33 = std::array<float, 9>;
using Matrix44 = std::array<float, 16>;

constexpr float kHalfPi = std::numbers::pi_v<float> / 2;
constexpr Matrix44 kIdentity{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
/// A quarter turn about z.
constexpr Matrix33 kQuarterTurn{0, 1, 0, -1, 0, 0, 0, 0, 1};
const float kRoot = std::sqrt(0.5F);

Vector3 translation(const Transformation& t) { return filled<3>(t, &Transformation::getTranslation); }
Quaternion rotation(const Transformation& t) { return filled<4>(t, &Transformation::getRotationQuaternion); }
Vector3 euler(const Transformation& t) { return filled<3>(t, &Transformation::getRotationEuler); }
Matrix44 matrix(const Transformation& t) { return filled<16>(t, &Transformation::getTransformationMatrix44); }
Matrix44 inverseMatrix(const Transformation& t) {
  return filled<16>(t, &Transformation::getInverseTransformationMatrix44);
}
float uniformScale(const Transformation& t) {
  float scale = 0;
  t.getUniformScale(scale);
  return scale;
}
Vector3 toGlobal(const Transformation& t, Vector3 p) {
  t.localToGlobalPoint(p);
  return p;
}

/// A turned, scaled and moved one.
Transformation sample() {
  Transformation t;
  t.setRotationMatrix33(kQuarterTurn);
  t.setUniformScale(2);
  t.setTranslation(10, 20, 30);
  return t;
}

TEST(Transformation, IsTheIdentityAtFirst) {
  const Transformation t;
  EXPECT_EQ(toGlobal(t, {1, -2, 3.5F}), (Vector3{1, -2, 3.5F}));
  EXPECT_EQ(matrix(t), kIdentity);
  EXPECT_EQ(inverseMatrix(t), kIdentity);
  EXPECT_EQ(t.toJsonString(),
            R"({"rotation":[0.0,0.0,0.0,1.0],"scale":[1.0,1.0,1.0],"translation":[0.0,0.0,0.0]})");
}

TEST(Transformation, FaultsWhenConstructedFromAMatrix) {
  const auto construct = [] { const Transformation t{Span<const float>(kIdentity)}; };
  GTEST_FLAG_SET(death_test_style,
                 "threadsafe");  // threads of other tests in this program may still be there
  EXPECT_DEATH(construct(), "");
}

TEST(Transformation, TakesTheSameMatrixAfterDefaultConstruction) {
  Transformation t;
  t.setTransformationMatrix44(Matrix44{0, 2, 0, 0, -2, 0, 0, 0, 0, 0, 2, 0, 10, 20, 30, 1});
  EXPECT_THAT(rotation(t), Pointwise(FloatNear(1e-6F), {0.0F, 0.0F, kRoot, kRoot}));
  EXPECT_EQ(uniformScale(t), 2);
  EXPECT_EQ(translation(t), (Vector3{10, 20, 30}));
}

TEST(Transformation, ScalesThenTurnsThenMoves) {
  const Transformation t = sample();
  EXPECT_THAT(toGlobal(t, {1, 2, 3}), Pointwise(FloatNear(1e-5F), {6.0F, 22.0F, 36.0F}));
  Vector3 p{6, 22, 36};
  t.globalToLocalPoint(p);
  EXPECT_THAT(p, Pointwise(FloatNear(1e-5F), {1.0F, 2.0F, 3.0F}));
}

TEST(Transformation, BecomesTheIdentityAgain) {
  Transformation t = sample();
  t.setIdentity();
  EXPECT_EQ(matrix(t), kIdentity);
  EXPECT_EQ(inverseMatrix(t), kIdentity);
  EXPECT_EQ(t.toJsonString(), Transformation().toJsonString());
}

TEST(Transformation, GivesTheSameByReferenceAndBySpan) {
  const Transformation t = sample();
  float x = 0;
  float y = 0;
  float z = 0;
  float w = 0;
  t.getTranslation(x, y, z);
  EXPECT_EQ(translation(t), (Vector3{x, y, z}));
  t.getRotationQuaternion(x, y, z, w);
  EXPECT_EQ(rotation(t), (Quaternion{x, y, z, w}));
  t.getRotationEuler(x, y, z);
  EXPECT_EQ(euler(t), (Vector3{x, y, z}));
}

TEST(Transformation, TakesTheSameBySingleValuesAndBySpan) {
  Transformation a;
  Transformation b;
  a.setTranslation(1, 2, 3);
  b.setTranslation(Vector3{1, 2, 3});
  a.translateBy(4, 5, 6).rotateByEuler(1, 2, 3).rotateByQuaternion(0, 1, 0, 2);
  b.translateBy(Vector3{4, 5, 6}).rotateByEuler(Vector3{1, 2, 3}).rotateByQuaternion(Quaternion{0, 1, 0, 2});
  EXPECT_EQ(a.toJsonString(), b.toJsonString());
  a.setRotationQuaternion(1, 2, 3, 4);
  b.setRotationQuaternion(Quaternion{1, 2, 3, 4});
  EXPECT_EQ(rotation(a), rotation(b));
  a.setRotationEuler(1, 2, 3);
  b.setRotationEuler(Vector3{1, 2, 3});
  EXPECT_EQ(rotation(a), rotation(b));
}

TEST(Transformation, StoresAQuaternionAsGiven) {
  Transformation t;
  t.setRotationQuaternion(0, 0, 2, 0);
  EXPECT_EQ(rotation(t), (Quaternion{0, 0, 2, 0}));
  EXPECT_EQ(filled<9>(t, &Transformation::getRotationMatrix33), (Matrix33{-7, 0, 0, 0, -7, 0, 0, 0, 1}));
}

TEST(Transformation, GivesItsRotationWithoutScaleAndTranslation) {
  const Transformation t = sample();
  EXPECT_THAT(filled<9>(t, &Transformation::getRotationMatrix33), Pointwise(FloatNear(1e-6F), kQuarterTurn));
  EXPECT_THAT(filled<16>(t, &Transformation::getRotationMatrix44),
              Pointwise(FloatNear(1e-6F), Matrix44{0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}));
}

TEST(Transformation, TakesOnlyTheRotationOutOfA44Matrix) {
  Transformation t = sample();
  t.setRotationMatrix44(Matrix44{1, 0, 0, 5, 0, 1, 0, 6, 0, 0, 1, 7, 1, 2, 3, 8});
  EXPECT_EQ(rotation(t), (Quaternion{0, 0, 0, 1}));
  EXPECT_EQ(translation(t), (Vector3{10, 20, 30}));
  EXPECT_EQ(uniformScale(t), 2);
}

TEST(Transformation, OfScaleZeroHasNoMeaningfulInverse) {
  Transformation t;
  t.setUniformScale(0);
  EXPECT_EQ(uniformScale(t), 0);
  EXPECT_EQ(toGlobal(t, {1, 2, 3}), (Vector3{0, 0, 0}));
  EXPECT_FALSE(std::isfinite(inverseMatrix(t)[0]));
}

TEST(Transformation, GivesTheLargestOfItsScaleFactors) {
  Transformation t;
  t.setTransformationMatrix44(Matrix44{1, 0, 0, 0, 0, 2, 0, 0, 0, 0, 3, 0, 0, 0, 0, 1});
  EXPECT_EQ(uniformScale(t), 3);
}

TEST(Transformation, GivesItsEulerAnglesBack) {
  Transformation t;
  t.setRotationEuler(0.5F, -1.25F, 2.5F);
  EXPECT_THAT(euler(t), Pointwise(FloatNear(1e-6F), {0.5F, -1.25F, 2.5F}));
}

TEST(Transformation, PutsTheWholeTurnIntoTheFirstAngleAtGimbalLock) {
  for (const float side : {1.0F, -1.0F}) {
    Transformation t;
    t.setRotationEuler(0.25F, side * kHalfPi, 0.5F);
    EXPECT_EQ(euler(t)[2], 0);
    EXPECT_THAT(euler(t)[0], FloatNear(0.25F + side * 0.5F, 1e-6F));
  }
}

TEST(Transformation, TakesAMirrorAsANegativeXScaleAndAProperRotation) {
  const Matrix44 mirror{0, 2, 0, 0, 3, 0, 0, 0, 0, 0, 4, 0, 1, 2, 3, 1};  // swaps x and y
  Transformation t;
  t.setTransformationMatrix44(mirror);
  EXPECT_THAT(t.toJsonString(), testing::HasSubstr(R"("scale":[-2.0,3.0,4.0])"));
  EXPECT_THAT(matrix(t), Pointwise(FloatNear(1e-6F), mirror));
  const Quaternion q = rotation(t);
  EXPECT_THAT(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3], FloatNear(1, 1e-6F));
}

TEST(Transformation, KeepsAUnitRotationButScalesTheTranslationByADoubleQuaternion) {
  Transformation t;
  t.setTranslation(1, 2, 3);
  t.rotateByQuaternion(0, 0, 0, 2);
  EXPECT_EQ(rotation(t), (Quaternion{0, 0, 0, 1}));
  EXPECT_EQ(translation(t), (Vector3{4, 8, 12}));
}

TEST(Transformation, ComposesInGlobalCoordinatesAndChains) {
  Transformation t;
  Transformation& same = t.translateBy(1, 0, 0).rotateByZ(kHalfPi).scaleBy(2).translateBy(0, 0, 5);
  EXPECT_EQ(&same, &t);
  EXPECT_THAT(toGlobal(t, {0, 0, 0}), Pointwise(FloatNear(1e-6F), {0.0F, 2.0F, 5.0F}));
  EXPECT_THAT(toGlobal(t, {1, 0, 0}), Pointwise(FloatNear(1e-6F), {0.0F, 4.0F, 5.0F}));
}

TEST(Transformation, TurnsAboutEachAxisFromTheNextAxisToTheOneAfter) {
  const auto near = [](const Vector3& expected) { return Pointwise(FloatNear(1e-6F), expected); };
  EXPECT_THAT(toGlobal(Transformation().rotateByX(kHalfPi), {0, 1, 0}), near({0, 0, 1}));
  EXPECT_THAT(toGlobal(Transformation().rotateByY(kHalfPi), {0, 0, 1}), near({1, 0, 0}));
  EXPECT_THAT(toGlobal(Transformation().rotateByZ(kHalfPi), {1, 0, 0}), near({0, 1, 0}));
  EXPECT_THAT(toGlobal(Transformation().rotateByAxisAngle(Vector3{0, 0, 9}, kHalfPi), {1, 0, 0}),
              near({0, 1, 0}));
}

TEST(Transformation, TurnsByAMatrixAsByTheQuaternionOfIt) {
  const Transformation by33 = sample().rotateByMatrix33(kQuarterTurn);
  const Transformation by44 =
      sample().rotateByMatrix44(Matrix44{0, 1, 0, 7, -1, 0, 0, 7, 0, 0, 1, 7, 7, 7, 7, 7});
  EXPECT_EQ(by33.toJsonString(), by44.toJsonString());
  EXPECT_THAT(translation(by33), Pointwise(FloatNear(1e-5F), {-20.0F, 10.0F, 30.0F}));
}

TEST(Transformation, TurnsByNothingAboutAnAxisWithoutLength) {
  Transformation t;
  t.setTranslation(1, 0, 0);
  t.rotateByAxisAngle(Vector3{0, 0, 0}, 2);
  EXPECT_EQ(rotation(t), (Quaternion{0, 0, 0, 1}));
  const float cosine = std::cos(1.0F);
  EXPECT_THAT(translation(t), ElementsAre(FloatNear(cosine * cosine, 1e-6F), 0, 0));
}

TEST(Transformation, HasAnInverseOfItsOwn) {
  const Transformation t = sample();
  const Transformation inverse = t.inverse();
  EXPECT_THAT(matrix(inverse), Pointwise(FloatNear(1e-5F), inverseMatrix(t)));
  EXPECT_THAT(toGlobal(inverse, toGlobal(t, {1, 2, 3})), Pointwise(FloatNear(1e-5F), {1.0F, 2.0F, 3.0F}));
}

TEST(Transformation, ShowsEveryChangeInMatricesThatWereAskedForBefore) {
  const std::vector<std::function<void(Transformation&)>> changes{
      [](Transformation& t) { t.setTranslation(1, 2, 3); },
      [](Transformation& t) { t.setUniformScale(3); },
      [](Transformation& t) { t.setRotationEuler(1, 0, 0); },
      [](Transformation& t) { t.setTransformationMatrix44(kIdentity); },
      [](Transformation& t) { t.setIdentity(); },
      [](Transformation& t) { t.translateBy(1, 1, 1); },
      [](Transformation& t) { t.scaleBy(2); },
      [](Transformation& t) { t.rotateByX(1); },
      [](Transformation& t) {
        t.setCameraPose(Vector3{1, 2, 3}, Vector3{1, 0, 0}, Vector3{0, 0, 1});
      },
      [](Transformation& t) {
        t.setTranslationByCorrespondences(Vector3{0, 0, 0}, Vector3{1, 1, 1});
      },
      [](Transformation& t) { t.fromJsonString(Transformation().toJsonString()); }};
  for (std::size_t i = 0; i < changes.size(); ++i) {
    Transformation t = sample();
    const Matrix44 before = matrix(t);
    changes[i](t);
    EXPECT_NE(matrix(t), before) << i;
    EXPECT_THAT(toGlobal(t, toGlobal(t.inverse(), {1, 2, 3})),
                Pointwise(FloatNear(1e-4F), {1.0F, 2.0F, 3.0F}))
        << i;
  }
}

TEST(Transformation, OfACameraMapsTheWorldInFrontOfIt) {
  Transformation t;
  t.setCameraPose(Vector3{10, 0, 2}, Vector3{0, 5, 0}, Vector3{0, 3, 3});
  EXPECT_THAT(toGlobal(t, {10, 0, 2}), Pointwise(FloatNear(1e-5F), {0.0F, 0.0F, 0.0F}));
  EXPECT_THAT(toGlobal(t, {11, 4, 5}), Pointwise(FloatNear(1e-5F), {1.0F, 3.0F, -4.0F}));
  Vector3 eye;
  Vector3 view;
  Vector3 up;
  t.getCameraPose(eye, view, up);
  EXPECT_THAT(eye, Pointwise(FloatNear(1e-5F), {10.0F, 0.0F, 2.0F}));
  EXPECT_THAT(view, Pointwise(FloatNear(1e-6F), {0.0F, 1.0F, 0.0F}));
  EXPECT_THAT(up, Pointwise(FloatNear(1e-6F), {0.0F, 0.0F, 1.0F}));
}

TEST(Transformation, ChecksTheVectorsOfACameraInTheirOrder) {
  Transformation t = sample();
  const std::string before = t.toJsonString();
  std::array<float, 2> wrong{7, 7};
  Vector3 right{7, 7, 7};
  const auto says = [](const char* message) { return ThrowsMessage<std::invalid_argument>(message); };
  EXPECT_THAT([&] { t.setCameraPose(wrong, wrong, wrong); }, says("Error: eye.size() != 3"));
  EXPECT_THAT([&] { t.setCameraPose(right, wrong, wrong); }, says("Error: view.size() != 3"));
  EXPECT_THAT([&] { t.setCameraPose(right, right, wrong); }, says("Error: up.size() != 3"));
  EXPECT_THAT([&] { t.getCameraPose(wrong, wrong, wrong); }, says("Error: eye.size() != 3"));
  EXPECT_THAT([&] { t.getCameraPose(right, wrong, wrong); }, says("Error: view.size() != 3"));
  EXPECT_THAT([&] { t.getCameraPose(right, right, wrong); }, says("Error: up.size() != 3"));
  EXPECT_EQ(t.toJsonString(), before);
  EXPECT_EQ(right, (Vector3{7, 7, 7}));
}

TEST(Transformation, FitsTwoDirectionsBehindTheCutByTheShortWayRound) {
  Transformation t;
  t.setTranslationAndZRotationByCorrespondences(Vector3{0, 0, 0}, Vector3{0, 0, 0}, Vector3{-1, 0.0001F, 5},
                                                Vector3{-1, -0.0001F, 9});
  const Quaternion q = rotation(t);
  EXPECT_THAT(2 * std::atan2(q[2], q[3]), FloatNear(0.0002F, 1e-6F));
  EXPECT_GT(q[3], 0);
}

TEST(Transformation, FitsAPointAndADirectionAfterWhatItWas) {
  Transformation t;
  t.setTranslation(1, 1, 1);
  t.setTranslationAndZRotationByCorrespondences(Vector3{1, 1, 1}, Vector3{5, 6, 7}, Vector3{3, 0, 0},
                                                Vector3{0, 2, 0});
  EXPECT_THAT(toGlobal(t, {0, 0, 0}), Pointwise(FloatNear(1e-5F), {5.0F, 6.0F, 7.0F}));
  EXPECT_THAT(toGlobal(t, {1, 0, 0}), Pointwise(FloatNear(1e-5F), {5.0F, 7.0F, 7.0F}));
}

TEST(Transformation, FitsATranslationAlone) {
  Transformation t = sample();
  const Quaternion before = rotation(t);
  t.setTranslationByCorrespondences(Vector3{1, 2, 3}, Vector3{4, 4, 4});
  EXPECT_EQ(translation(t), (Vector3{13, 22, 31}));
  EXPECT_THAT(rotation(t), Pointwise(FloatNear(1e-6F), before));
}

TEST(Transformation, NormalisesItsRotationWhenATranslationIsFitted) {
  Transformation t;
  t.setRotationQuaternion(0, 0, 0, 5);
  t.setTranslationByCorrespondences(Vector3{0, 0, 0}, Vector3{1, 1, 1});
  EXPECT_EQ(rotation(t), (Quaternion{0, 0, 0, 1}));
}

TEST(Transformation, FitsATurnAboutAPivot) {
  Transformation t;
  t.setZRotationByCorrespondences(Vector3{1, 1, 0}, Vector3{3, 1, 4}, Vector3{1, 9, 5});
  EXPECT_THAT(toGlobal(t, {1, 1, 0}), Pointwise(FloatNear(1e-5F), {1.0F, 1.0F, 0.0F}));
  EXPECT_THAT(toGlobal(t, {3, 1, 4}), Pointwise(FloatNear(1e-5F), {1.0F, 3.0F, 4.0F}));
}

}  // namespace
