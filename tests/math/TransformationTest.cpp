#include <gmock/gmock.h>

#include <limits>

#include "math/RandomTransformations.h"
#include "math/Transformation.h"

namespace {

using Math::CameraPose;
using Math::Matrix4;
using Math::Point;
using Math::Quaternion;
using Math::Transformation;
using Testing::affine;
using testing::Each;
using testing::IsNan;
using Testing::RandomTransformations;
using Testing::relativeDifference;
using Testing::wide;

using Vector = Point<float, 3>;

constexpr unsigned kSeed = 20'261'122;
constexpr int kCases = 3'000;

#define TRACE_CASE(i) SCOPED_TRACE(testing::Message() << "seed " << kSeed << ", case " << (i))

Matrix4<float> rounded(const Eigen::Matrix4d& m) {
  Matrix4<float> result{};
  Eigen::Map<Eigen::Matrix4f>(result.data()) = m.cast<float>();
  return result;
}

TEST(Transformation, ScalesThenTurnsThenMoves) {
  RandomTransformations random(kSeed);
  for (int i = 0; i < kCases; ++i) {
    TRACE_CASE(i);
    const Transformation t = random.transformation(false);
    const Vector p = random.point();
    ASSERT_LT(relativeDifference(wide(t.matrix()), affine(t).matrix()), 1e-6);
    ASSERT_LT(relativeDifference(wide(t.toGlobal(p)), affine(t) * wide(p)), 1e-6);
  }
}

TEST(Transformation, InverseMatrixIsThatOfEigen) {
  RandomTransformations random(kSeed);
  for (int i = 0; i < kCases; ++i) {
    TRACE_CASE(i);
    const Transformation t = random.transformation(false);
    ASSERT_LT(relativeDifference(wide(t.inverseMatrix()), affine(t).inverse().matrix()), 1e-5);
  }
}

TEST(Transformation, MapsPointsThereAndBack) {
  RandomTransformations random(kSeed);
  for (int i = 0; i < kCases; ++i) {
    TRACE_CASE(i);
    const Transformation t = random.transformation(false);
    const Vector p = random.point();
    // One rounding of a global coordinate, up to 2,000, is divided by a factor of 0.1 at least.
    ASSERT_LT((wide(t.toLocal(t.toGlobal(p))) - wide(p)).cwiseAbs().maxCoeff(), 5e-3);
  }
}

TEST(Transformation, InverseUndoesAUniformlyScaledOne) {
  RandomTransformations random(kSeed);
  for (int i = 0; i < kCases; ++i) {
    TRACE_CASE(i);
    const Transformation t = random.transformation(true);
    ASSERT_LT(relativeDifference(affine(t.inverse()).matrix(), affine(t).inverse().matrix()), 1e-5);
    ASSERT_LT(relativeDifference(affine(t.inverse().inverse()).matrix(), affine(t).matrix()), 1e-4);
  }
}

TEST(Transformation, IsRecomposedFromAMatrixMirrorsIncluded) {
  RandomTransformations random(kSeed);
  for (int i = 0; i < kCases; ++i) {
    TRACE_CASE(i);
    Transformation source = random.transformation(false);
    Vector scale = source.scale();
    if (i % 2 != 0) scale[i % 3] *= -1;  // a mirror along any axis
    source.setScale(scale);
    Transformation t;
    t.setMatrix(rounded(affine(source).matrix()));
    ASSERT_LT(relativeDifference(wide(t.matrix()), affine(source).matrix()), 1e-6);
    ASSERT_EQ(t.scale()[0] < 0, i % 2 != 0);
    ASSERT_GT(t.scale()[1], 0);
    ASSERT_GT(t.scale()[2], 0);
    ASSERT_NEAR(wide(t.rotation()).norm(), 1, 1e-6);
  }
}

TEST(Transformation, ReadsADeterminantThatSinglePrecisionCannotHold) {
  Transformation t;
  t.setMatrix({-1e-20F, 0, 0, 0, 0, 1e-20F, 0, 0, 0, 0, 1e-20F, 0, 0, 0, 0, 1});
  EXPECT_EQ(t.scale(), (Vector{{-1e-20F, 1e-20F, 1e-20F}}));
  EXPECT_EQ(t.rotation(), Quaternion());
  t.setMatrix({-1e20F, 0, 0, 0, 0, 1e20F, 0, 0, 0, 0, 1e20F, 0, 0, 0, 0, 1});
  EXPECT_EQ(t.scale(), (Vector{{-1e20F, 1e20F, 1e20F}}));
}

TEST(Transformation, LosesShearAndTheLastRowOfAMatrix) {
  Transformation t;
  t.setMatrix({1, 0, 0, 9, 0.6F, 0.8F, 0, 9, 0, 0, 1, 9, 1, 2, 3, 1});
  const Matrix4<float>& m = t.matrix();
  EXPECT_EQ(m[3], 0);
  EXPECT_EQ(m[7], 0);
  EXPECT_EQ(m[11], 0);
  EXPECT_EQ(m[15], 1);
  EXPECT_NE(m[4], 0.6F);
}

TEST(Transformation, HasNoRotationOfAMatrixWithAColumnOfZeros) {
  Transformation t;
  t.setMatrix({1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 4, 5, 6, 1});
  EXPECT_EQ(t.scale(), (Vector{{1, 0, 1}}));
  EXPECT_EQ(t.translation(), (Vector{{4, 5, 6}}));
  EXPECT_THAT(t.rotation().w, IsNan());
}

TEST(Transformation, ComposesLikeEigenStepByStep) {
  RandomTransformations random(kSeed);
  for (int i = 0; i < kCases; ++i) {
    TRACE_CASE(i);
    Transformation t = random.transformation(true);
    Eigen::Affine3d expected = affine(t);
    for (int step = 0; step < 5; ++step) {
      const Vector d = random.point();
      const Quaternion r = random.rotation();
      const float s = random.uniform(0.5F, 2);
      t.translateBy(d);
      t.rotateBy(r);
      t.scaleBy(s);
      expected.pretranslate(wide(d)).prerotate(wide(r)).prescale(s);
    }
    ASSERT_LT(relativeDifference(wide(t.matrix()), expected.matrix()), 1e-5);
    ASSERT_NEAR(wide(t.rotation()).norm(), 1, 1e-6);
  }
}

TEST(Transformation, TurnsItsTranslationByAQuaternionAsItIs) {
  Transformation t;
  t.setTranslation({{1, 2, 3}});
  t.rotateBy({0, 0, 3, 0});
  EXPECT_EQ(t.rotation(), (Quaternion{0, 0, 1, 0}));
  EXPECT_EQ(t.translation(), (Vector{{-9, -18, 27}}));
  t.rotateBy({0, 0, 0, 0});
  EXPECT_EQ(t.rotation(), (Quaternion{0, 0, 0, 0}));
  EXPECT_EQ(t.translation(), Vector());
}

TEST(Transformation, OfACameraPutsItsEyeAtTheOriginItsViewAlongMinusZAndUpAbove) {
  RandomTransformations random(kSeed);
  for (int i = 0; i < kCases; ++i) {
    TRACE_CASE(i);
    const CameraPose pose{random.point(), random.direction(), random.direction()};
    const Eigen::Vector3d view = wide(pose.view).normalized();
    if (view.cross(wide(pose.up)).norm() < 0.05) continue;
    Transformation t;
    t.setCameraPose(pose);
    const Eigen::Affine3d camera = affine(t);
    ASSERT_LT((camera * wide(pose.eye)).norm(), 1e-4);
    ASSERT_LT((camera.linear() * view - Eigen::Vector3d(0, 0, -1)).norm(), 1e-6);
    const Eigen::Vector3d up = camera.linear() * wide(pose.up);
    ASSERT_NEAR(up.x(), 0, 1e-5);
    ASSERT_GT(up.y(), 0);
  }
}

TEST(Transformation, GivesTheCameraPoseBackNormalisedAndSquare) {
  RandomTransformations random(kSeed);
  for (int i = 0; i < kCases; ++i) {
    TRACE_CASE(i);
    const CameraPose pose{random.point(), random.direction(), random.direction()};
    const Eigen::Vector3d view = wide(pose.view).normalized();
    const Eigen::Vector3d side = view.cross(wide(pose.up));
    if (side.norm() < 0.05) continue;
    Transformation t;
    t.setCameraPose(pose);
    const CameraPose back = t.cameraPose();
    ASSERT_LT((wide(back.eye) - wide(pose.eye)).norm(), 1e-4);
    ASSERT_LT((wide(back.view) - view).norm(), 1e-6);
    ASSERT_LT((wide(back.up) - side.normalized().cross(view)).norm(), 1e-6);
  }
}

TEST(Transformation, KeepsItsScaleWhenACameraIsSetAndShowsItInThePose) {
  Transformation t;
  t.setScale({{2, 2, 2}});
  t.setCameraPose({{{1, 0, 0}}, {{0, 0, -5}}, {{0, 3, 0}}});
  const CameraPose pose = t.cameraPose();
  EXPECT_EQ(t.scale(), (Vector{{2, 2, 2}}));
  EXPECT_EQ(pose.eye, (Vector{{2, 0, 0}}));
  EXPECT_EQ(pose.view, (Vector{{0, 0, -2}}));
  EXPECT_EQ(pose.up, (Vector{{0, 2, 0}}));
}

TEST(Transformation, OfACameraThatLooksStraightUpKeepsItsRowsOfZeros) {
  Transformation t;
  t.setCameraPose({{{1, 2, 3}}, {{0, 0, 1}}, {{0, 0, 7}}});
  // Rows 0, 0 and (0, 0, -1): the third branch gives half of x alone, times the root of 2.
  EXPECT_EQ(t.translation(), (Vector{{0, 0, 3}}));
  EXPECT_FLOAT_EQ(t.rotation().x, std::sqrt(0.5F));
  EXPECT_EQ(t.rotation().w, 0);
  t.setCameraPose({{{1, 2, 3}}, {}, {}});
  EXPECT_EQ(t.rotation(), (Quaternion{0.5F, 0, 0, 0}));
  EXPECT_EQ(t.translation(), Vector());
}

TEST(Transformation, OfACameraWhoseUpIsParallelToItsViewHasNoSide) {
  RandomTransformations random(kSeed);
  for (int i = 0; i < kCases; ++i) {
    TRACE_CASE(i);
    const Vector view = random.direction();
    Transformation t;
    t.setCameraPose({{{10, 20, 30}}, view, {{-4 * view[0], -4 * view[1], -4 * view[2]}}});
    ASSERT_EQ(t.translation()[0], 0);
    ASSERT_EQ(t.translation()[1], 0);
  }
}

TEST(Transformation, FitsATurnAboutTheVerticalAndAMoveAfterWhatItWas) {
  RandomTransformations random(kSeed);
  for (int i = 0; i < kCases; ++i) {
    TRACE_CASE(i);
    Transformation t = random.transformation(true);
    const Vector p1 = random.point();
    const Vector p2 = random.point();
    const Point<float, 2> d1{{random.uniform(-5, 5), random.uniform(-5, 5)}};
    const Point<float, 2> d2{{random.uniform(-5, 5), random.uniform(-5, 5)}};
    const double angle = std::atan2(d2[1], d2[0]) - std::atan2(d1[1], d1[0]);
    Eigen::Affine3d expected = affine(t);
    expected.pretranslate(-wide(p1))
        .prerotate(Eigen::AngleAxisd(angle, Eigen::Vector3d::UnitZ()))
        .pretranslate(wide(p2));
    t.fit(p1, p2, d1, d2);
    ASSERT_LT(relativeDifference(wide(t.matrix()), expected.matrix()), 2e-6);
  }
}

TEST(Transformation, FitsDirectionsWithoutLengthAsIfTheyPointedAlongX) {
  Transformation t;
  t.fit({{1, 2, 3}}, {{4, 4, 4}}, {}, {{0, 2}});
  EXPECT_LT(relativeDifference(wide(t.matrix()).topLeftCorner<3, 1>(), Eigen::Vector3d(0, 1, 0)), 1e-6);
  Transformation still;
  still.fit({}, {}, {}, {});
  EXPECT_EQ(still.rotation(), Quaternion());
}

TEST(Transformation, CarriesNanWithoutAComplaint) {
  Transformation t;
  const float nan = std::numeric_limits<float>::quiet_NaN();
  t.setTranslation({{nan, 0, std::numeric_limits<float>::infinity()}});
  t.rotateBy({nan, nan, nan, nan});
  t.fit({}, {}, {{nan, nan}}, {{1, 0}});
  t.setMatrix(t.inverseMatrix());
  EXPECT_THAT(t.toGlobal({}).coordinates, Each(IsNan()));
}

}  // namespace
