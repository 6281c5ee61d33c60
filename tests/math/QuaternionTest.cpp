#include <gmock/gmock.h>

#include <limits>

#include "math/Quaternion.h"
#include "math/RandomTransformations.h"

namespace {

using Math::EulerAngles;
using Math::Matrix3;
using Math::Quaternion;
using testing::FloatNear;
using testing::IsNan;
using Testing::RandomTransformations;
using Testing::relativeDifference;
using Testing::wide;

constexpr unsigned kSeed = 20'261'121;
constexpr int kCases = 3'000;
constexpr float kHalfPi = std::numbers::pi_v<float> / 2;

/// Rx(a)·Ry(b)·Rz(c) by Eigen.
Eigen::Matrix3d eulerMatrix(const EulerAngles& angles) {
  using Eigen::AngleAxisd;
  using Eigen::Vector3d;
  return (AngleAxisd(angles.x, Vector3d::UnitX()) * AngleAxisd(angles.y, Vector3d::UnitY()) *
          AngleAxisd(angles.z, Vector3d::UnitZ()))
      .toRotationMatrix();
}

/// How far two quaternions' turns are from each other: q and -q are one turn.
double turnDifference(const Quaternion& a, const Quaternion& b) {
  return std::min(relativeDifference(wide(a).coeffs(), wide(b).coeffs()),
                  relativeDifference(-wide(a).coeffs(), wide(b).coeffs()));
}

Matrix3 rounded(const Eigen::Matrix3d& m) {
  Matrix3 result{};
  Eigen::Map<Eigen::Matrix3f>(result.data()) = m.cast<float>();
  return result;
}

TEST(Quaternion, GivesTheMatrixThatEigenGives) {
  RandomTransformations random(kSeed);
  for (int i = 0; i < kCases; ++i) {
    SCOPED_TRACE(testing::Message() << "seed " << kSeed << ", case " << i);
    const Quaternion q = random.rotation();
    const Eigen::Matrix3d expected = wide(q).toRotationMatrix();
    ASSERT_LT(relativeDifference(wide(Math::matrixFromQuaternion<double>(q)), expected), 1e-7);
    ASSERT_LT(relativeDifference(wide(Math::matrixFromQuaternion<float>(q)), expected), 1e-6);
  }
}

TEST(Quaternion, GivesAMatrixThatIsNoRotationWhenItIsNoUnitOne) {
  const Matrix3 matrix = Math::matrixFromQuaternion<double>({0, 0, 2, 0});
  EXPECT_EQ(matrix, (Matrix3{-7, 0, 0, 0, -7, 0, 0, 0, 1}));
}

TEST(Quaternion, ComesBackFromItsMatrix) {
  RandomTransformations random(kSeed);
  for (int i = 0; i < kCases; ++i) {
    SCOPED_TRACE(testing::Message() << "seed " << kSeed << ", case " << i);
    const Quaternion q = random.rotation();
    ASSERT_LT(turnDifference(Math::quaternionFromMatrix(Math::matrixFromQuaternion<double>(q)), q), 1e-6);
  }
}

TEST(Quaternion, ComesBackFromTheMatrixOfAHalfTurnAboutAnyAxis) {
  RandomTransformations random(kSeed);
  for (int i = 0; i < kCases; ++i) {
    SCOPED_TRACE(testing::Message() << "seed " << kSeed << ", case " << i);
    const Quaternion q = Math::quaternionFromAxisAngle(random.direction(), std::numbers::pi_v<float>);
    ASSERT_LT(turnDifference(Math::quaternionFromMatrix(Math::matrixFromQuaternion<double>(q)), q), 1e-6);
  }
}

TEST(Quaternion, ComesBackFromEveryTurnByQuarters) {
  for (int turns = 0; turns < 64; ++turns) {
    const auto quarters = [](int n) { return static_cast<float>(n % 4) * kHalfPi; };
    const Eigen::Matrix3d matrix =
        eulerMatrix({quarters(turns), quarters(turns / 4), quarters(turns / 16)}).array().round();
    const Matrix3 narrow = rounded(matrix);
    ASSERT_LT(relativeDifference(wide(Math::matrixFromQuaternion<double>(Math::quaternionFromMatrix(narrow))),
                                 matrix),
              1e-7)
        << turns;
  }
}

TEST(Quaternion, OfAMatrixFollowsTheBranchOfItsDiagonal) {
  EXPECT_EQ(Math::quaternionFromMatrix({1, 0, 0, 0, 1, 0, 0, 0, 1}), (Quaternion{0, 0, 0, 1}));
  EXPECT_EQ(Math::quaternionFromMatrix({-1, 0, 0, 0, -1, 0, 0, 0, 1}), (Quaternion{0, 0, 1, 0}));
  EXPECT_EQ(Math::quaternionFromMatrix({1, 0, 0, 0, -1, 0, 0, 0, -1}), (Quaternion{1, 0, 0, 0}));
  EXPECT_EQ(Math::quaternionFromMatrix({-1, 0, 0, 0, 1, 0, 0, 0, -1}), (Quaternion{0, 1, 0, 0}));
}

TEST(Quaternion, OfAMatrixOfZerosIsTheThirdBranchs) {
  EXPECT_EQ(Math::quaternionFromMatrix({}), (Quaternion{0.5F, 0, 0, 0}));
}

TEST(Quaternion, OfAMatrixIsChosenBySignsNotByTheLargestElement) {
  // z > 0 and x + y > 0 though x is the largest: the quarter turn about x takes the first branch.
  const Quaternion q = Math::quaternionFromMatrix({1, 0, 0, 0, 1e-7F, 1, 0, -1, 1e-7F});
  EXPECT_THAT(q.x, FloatNear(std::sqrt(0.5F), 1e-6F));
  EXPECT_THAT(q.w, FloatNear(std::sqrt(0.5F), 1e-6F));
}

TEST(Quaternion, OfEulerAnglesIsThatOfTheThreeTurns) {
  RandomTransformations random(kSeed);
  for (int i = 0; i < kCases; ++i) {
    SCOPED_TRACE(testing::Message() << "seed " << kSeed << ", case " << i);
    const EulerAngles angles{random.angle(), random.angle(), random.angle()};
    const Quaternion q = Math::quaternionFromEuler(angles);
    ASSERT_LT(relativeDifference(wide(q).toRotationMatrix(), eulerMatrix(angles)), 1e-6);
  }
}

TEST(Quaternion, GivesItsEulerAnglesBackWhereTheMiddleOneIsBelowAQuarterTurn) {
  RandomTransformations random(kSeed);
  for (int i = 0; i < kCases; ++i) {
    SCOPED_TRACE(testing::Message() << "seed " << kSeed << ", case " << i);
    const EulerAngles angles{random.angle(), random.uniform(-1.5F, 1.5F), random.angle()};
    const EulerAngles back = Math::eulerFromQuaternion(Math::quaternionFromEuler(angles));
    // Towards the quarter turn an angle is the quotient of small numbers.
    const float tolerance = 1e-6F / std::cos(angles.y);
    ASSERT_THAT(back.x, FloatNear(angles.x, tolerance));
    ASSERT_THAT(back.y, FloatNear(angles.y, tolerance));
    ASSERT_THAT(back.z, FloatNear(angles.z, tolerance));
  }
}

TEST(Quaternion, GivesEulerAnglesOfTheSameTurnNearGimbalLock) {
  RandomTransformations random(kSeed);
  for (int i = 0; i < kCases; ++i) {
    SCOPED_TRACE(testing::Message() << "seed " << kSeed << ", case " << i);
    const float side = i % 2 == 0 ? 1 : -1;
    const EulerAngles angles{random.angle(), side * (kHalfPi - random.uniform(2e-3F, 2e-2F)), random.angle()};
    const Quaternion q = Math::quaternionFromEuler(angles);
    ASSERT_LT(relativeDifference(eulerMatrix(Math::eulerFromQuaternion(q)), wide(q).toRotationMatrix()),
              5e-4);
  }
}

TEST(Quaternion, GivesEulerAnglesOfTheSameTurnAtGimbalLock) {
  RandomTransformations random(kSeed);
  int numLocked = 0;
  for (int i = 0; i < kCases; ++i) {
    SCOPED_TRACE(testing::Message() << "seed " << kSeed << ", case " << i);
    const Quaternion q =
        Math::quaternionFromEuler({random.angle(), i % 2 == 0 ? kHalfPi : -kHalfPi, random.angle()});
    const EulerAngles angles = Math::eulerFromQuaternion(q);
    if (std::abs(Math::matrixFromQuaternion<double>(q)[6]) < 0.9999999) continue;  // by rounding
    ++numLocked;
    ASSERT_EQ(angles.z, 0);
    // The lock leaves out the middle angle's cosine, up to sqrt(2e-7).
    ASSERT_LT(relativeDifference(eulerMatrix(angles), wide(q).toRotationMatrix()), 1e-3);
  }
  EXPECT_GT(numLocked, kCases / 2);
}

TEST(Quaternion, PutsTheWholeTurnIntoTheFirstAngleAtGimbalLock) {
  for (const float side : {1.0F, -1.0F}) {
    const EulerAngles angles =
        Math::eulerFromQuaternion(Math::quaternionFromEuler({0.25F, side * kHalfPi, 0.5F}));
    EXPECT_EQ(angles.z, 0);
    EXPECT_THAT(angles.y, FloatNear(side * kHalfPi, 1e-3F));
    EXPECT_THAT(angles.x, FloatNear(0.25F + side * 0.5F, 1e-6F));
  }
}

TEST(Quaternion, OfAnAxisOfAnyLengthIsEigens) {
  RandomTransformations random(kSeed);
  for (int i = 0; i < kCases; ++i) {
    SCOPED_TRACE(testing::Message() << "seed " << kSeed << ", case " << i);
    const auto axis = random.direction();
    const float angle = 3 * random.angle();
    const Eigen::Quaterniond expected(Eigen::AngleAxisd(angle, wide(axis).normalized()));
    ASSERT_LT(
        relativeDifference(wide(Math::quaternionFromAxisAngle(axis, angle)).coeffs(), expected.coeffs()),
        1e-7);
  }
}

TEST(Quaternion, OfAnAxisWithoutLengthHasNoVectorPart) {
  const Quaternion q = Math::quaternionFromAxisAngle({}, 2);
  EXPECT_EQ(q, (Quaternion{0, 0, 0, std::cos(1.0F)}));
}

TEST(Quaternion, ProductsAndTurnedVectorsAreEigens) {
  RandomTransformations random(kSeed);
  for (int i = 0; i < kCases; ++i) {
    SCOPED_TRACE(testing::Message() << "seed " << kSeed << ", case " << i);
    const Quaternion a = random.rotation();
    const Quaternion b = random.rotation();
    const auto v = random.point();
    ASSERT_LT(relativeDifference(wide(Math::product(a, b)).coeffs(), (wide(a) * wide(b)).coeffs()), 1e-7);
    ASSERT_LT(relativeDifference(wide(Math::rotated(a, v)), wide(a).toRotationMatrix() * wide(v)), 1e-6);
  }
}

TEST(Quaternion, IsNormalisedUnlessItIsZero) {
  EXPECT_EQ(Math::normalised({0, 0, 0, -4}), (Quaternion{0, 0, 0, -1}));
  EXPECT_EQ(Math::normalised({0, 0, 0, 0}), (Quaternion{0, 0, 0, 0}));
  EXPECT_EQ(Math::normalised({0, 1e-30F, 0, 0}), (Quaternion{0, 1, 0, 0}));
  EXPECT_EQ(Math::normalised({0, 0, 3e38F, 0}), (Quaternion{0, 0, 1, 0}));
}

TEST(Quaternion, OfNanIsNan) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_THAT(Math::quaternionFromEuler({nan, 0, 0}).x, IsNan());
  EXPECT_THAT(Math::quaternionFromMatrix({nan, nan, nan, nan, nan, nan, nan, nan, nan}).y, IsNan());
  EXPECT_THAT(Math::eulerFromQuaternion({nan, 0, 0, 1}).y, IsNan());
}

}  // namespace
