#include <gmock/gmock.h>

#include <cmath>
#include <cstring>

#include "formats/e57/PointDecoder.h"

namespace {

using Formats::E57::Columns;
using Formats::E57::DroppedPoints;
using Formats::E57::PointAttribute;
using Formats::E57::PointDecoder;
using Formats::E57::PointField;
using Formats::E57::PointTarget;
using Formats::E57::Role;
using Formats::E57::Scan;
using Formats::E57::ValueScale;
using testing::ElementsAre;

const std::vector<Role> kCartesian{Role::CartesianX, Role::CartesianY, Role::CartesianZ};
const std::vector<Role> kSpherical{Role::SphericalRange, Role::SphericalAzimuth, Role::SphericalElevation};

/// A scan whose fields are of double precision, and its values by field.
struct Fields {
  Scan scan;
  std::vector<std::vector<double>> values;

  Fields& add(Role role, const std::vector<double>& ofRecords) {
    PointField& field = scan.fields.emplace_back();
    field.role = role;
    values.push_back(ofRecords);
    return *this;
  }
  Fields& add(const std::vector<Role>& roles, const std::vector<std::vector<double>>& ofRecords) {
    for (std::size_t i = 0; i < roles.size(); ++i) add(roles[i], ofRecords[i]);
    return *this;
  }
};

struct Decoded {
  std::vector<double> world;
  std::vector<std::byte> records;
  std::size_t size = 0;
  DroppedPoints dropped;

  template <class Value>
  [[nodiscard]] std::vector<Value> column(std::size_t elements = 1) const {
    std::vector<Value> values(size * elements);
    std::memcpy(values.data(), records.data(), values.size() * sizeof(Value));
    return values;
  }
};

/// All points, and one of their attributes.
Decoded decode(const Fields& fields, PointAttribute attribute = PointAttribute::ScanIndex,
               const ValueScale& scale = {}) {
  const std::size_t count = fields.values.front().size();
  Columns columns;
  columns.reset(std::vector<std::size_t>(fields.values.size(), count * sizeof(double)));
  for (std::size_t i = 0; i < fields.values.size(); ++i) {
    std::memcpy(columns[i], fields.values[i].data(), count * sizeof(double));
  }
  Decoded decoded;
  decoded.world.resize(3 * count);
  PointTarget target;
  target.offsets.fill(PointTarget::kUnwanted);
  target.offsets[static_cast<std::size_t>(attribute)] = 0;
  target.stride = describe(attribute).size();
  decoded.records.assign(count * target.stride, std::byte{0xAA});
  target.records = decoded.records.data();
  decoded.size = PointDecoder(fields.scan, scale, scale)
                     .decode(columns, count, decoded.world.data(), target, decoded.dropped);
  decoded.world.resize(3 * decoded.size);
  return decoded;
}

TEST(E57PointDecoder, PointsThatAreFlaggedLeaveNoGap) {
  const Decoded decoded = decode(Fields()
                                     .add(kCartesian, {{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}})
                                     .add(Role::CartesianInvalidState, {0, 1, 2, 0})
                                     .add(Role::RowIndex, {20, 21, 22, 23}),
                                 PointAttribute::RowIndex);
  EXPECT_THAT(decoded.world, ElementsAre(1, 5, 9, 4, 8, 12));
  EXPECT_THAT(decoded.column<std::uint32_t>(), ElementsAre(20, 23));
  EXPECT_EQ(decoded.dropped.invalid, 2U);
  EXPECT_EQ(decoded.dropped.notFinite, 0U);
}

TEST(E57PointDecoder, PointsWithoutFiniteCoordinatesAreDroppedAndCounted) {
  const Decoded decoded = decode(Fields().add(
      kCartesian, {{1, NAN, 3, 4}, {5, 6, INFINITY, 8}, {9, 10, 11, -static_cast<double>(INFINITY)}}));
  EXPECT_THAT(decoded.world, ElementsAre(1, 5, 9));
  EXPECT_EQ(decoded.dropped.notFinite, 3U);
}

TEST(E57PointDecoder, PointsThatLeaveTheRangeOfDoublesByTheirPoseAreDropped) {
  Fields fields;
  fields.add(kCartesian, {{1e308, 1}, {1e308, 1}, {0, 1}}).scan.pose.translation = {5e307, 0, 0};
  EXPECT_EQ(decode(fields).size, 2U);
  fields.scan.pose.rotation = {1, 1, 0, -1, 1, 0, 0, 0, 1};
  EXPECT_EQ(decode(fields).size, 1U);
}

TEST(E57PointDecoder, PosesAreAppliedToPointsAndTheirRotationToNormals) {
  Fields fields;
  fields.add(kCartesian, {{1}, {2}, {3}})
      .add({Role::NormalX, Role::NormalY, Role::NormalZ}, {{0.6}, {0.8}, {0}});
  fields.scan.pose.rotation = {0, -1, 0, 1, 0, 0, 0, 0, 1};
  fields.scan.pose.translation = {100, 200, 300};
  EXPECT_THAT(decode(fields).world, ElementsAre(98, 201, 303));
  EXPECT_THAT(decode(fields, PointAttribute::NormalX).column<double>(), ElementsAre(-0.8));
  EXPECT_THAT(decode(fields, PointAttribute::NormalY).column<double>(), ElementsAre(0.6));
}

TEST(E57PointDecoder, SphericalCoordinatesCountFromXTowardsYAndUp) {
  constexpr double kQuarter = 1.5707963267948966;
  const Decoded decoded =
      decode(Fields().add(kSpherical, {{2, 2, 2, 2}, {0, kQuarter, 0, 0.5}, {0, 0, kQuarter, -0.25}}));
  constexpr double kTolerance = 1e-15;
  const std::vector<double> expected{2,
                                     0,
                                     0,
                                     0,
                                     2,
                                     0,
                                     0,
                                     0,
                                     2,
                                     2 * std::cos(-0.25) * std::cos(0.5),
                                     2 * std::cos(-0.25) * std::sin(0.5),
                                     2 * std::sin(-0.25)};
  EXPECT_THAT(decoded.world, testing::Pointwise(testing::DoubleNear(kTolerance), expected));
}

TEST(E57PointDecoder, SphericalCoordinatesStandInWhereCartesianOnesAreInvalid) {
  const Decoded decoded = decode(Fields()
                                     .add(kCartesian, {{1, 2, 3}, {1, 2, 3}, {1, 2, 3}})
                                     .add(Role::CartesianInvalidState, {0, 1, 2})
                                     .add(kSpherical, {{7, 8, 9}, {0, 0, 0}, {0, 0, 0}})
                                     .add(Role::SphericalInvalidState, {0, 0, 1}));
  EXPECT_THAT(decoded.world, ElementsAre(1, 1, 1, 8, 0, 0));
  EXPECT_EQ(decoded.dropped.invalid, 1U);
}

TEST(E57PointDecoder, ColoursAndIntensitiesAreScaledAndZeroWhereFlagged) {
  const ValueScale scale({0, 255});
  Fields fields;
  fields.add(kCartesian, {{1, 2}, {1, 2}, {1, 2}})
      .add({Role::ColorRed, Role::ColorGreen, Role::ColorBlue}, {{255, 9}, {128, 9}, {0, 9}})
      .add(Role::IsColorInvalid, {0, 1})
      .add(Role::Intensity, {300, 1})
      .add(Role::IsIntensityInvalid, {0, 0});
  EXPECT_THAT(decode(fields, PointAttribute::Rgb, scale).column<std::uint16_t>(3),
              ElementsAre(65535, 128 * 257, 0, 0, 0, 0));
  EXPECT_THAT(decode(fields, PointAttribute::Intensity, scale).column<std::uint16_t>(),
              ElementsAre(65535, 257));
}

TEST(E57PointDecoder, ReturnsCountFromOneAndNumbersAreClamped) {
  Fields fields;
  fields.add(kCartesian, {{1, 2, 3}, {1, 2, 3}, {1, 2, 3}})
      .add(Role::ReturnIndex, {0, 3, 1000})
      .add(Role::ReturnCount, {1, 4, -5})
      .add(Role::ColumnIndex, {7, 1e12, NAN});
  EXPECT_THAT(decode(fields, PointAttribute::ReturnNumber).column<std::uint8_t>(), ElementsAre(1, 4, 255));
  EXPECT_THAT(decode(fields, PointAttribute::NumberOfReturns).column<std::uint8_t>(), ElementsAre(1, 4, 0));
  EXPECT_THAT(decode(fields, PointAttribute::ColumnIndex).column<std::uint32_t>(),
              ElementsAre(7, UINT32_MAX, 0));
}

TEST(E57PointDecoder, TimesAreGpsTimesWhereTheScanSaysWhenItBegan) {
  Fields fields;
  fields.add(kCartesian, {{1, 2}, {1, 2}, {1, 2}})
      .add(Role::TimeStamp, {0.25, 9})
      .add(Role::IsTimeStampInvalid, {0, 1});
  EXPECT_FALSE(holds(fields.scan, PointAttribute::GpsTime));
  EXPECT_THAT(decode(fields, PointAttribute::TimeStamp).column<double>(), ElementsAre(0.25, 0));
  fields.scan.acquisitionStart = 1'300'000'000;
  EXPECT_FALSE(holds(fields.scan, PointAttribute::TimeStamp));
  EXPECT_THAT(decode(fields, PointAttribute::GpsTime).column<double>(), ElementsAre(300'000'000.25, 0));
}

TEST(E57PointDecoder, WhatAScanDoesNotHoldIsZero) {
  const Fields fields = Fields().add(kCartesian, {{1, 2}, {1, 2}, {1, 2}});
  EXPECT_THAT(decode(fields, PointAttribute::Rgb).column<std::uint16_t>(3), testing::Each(0));
  EXPECT_THAT(decode(fields, PointAttribute::ReturnNumber).column<std::uint8_t>(), ElementsAre(0, 0));
}

TEST(E57PointDecoder, GivesTheNumberOfTheScan) {
  Fields fields;
  fields.add(kCartesian, {{1, 2}, {1, 2}, {1, 2}}).scan.number = 70'000;
  EXPECT_THAT(decode(fields).column<std::uint32_t>(), ElementsAre(70'000, 70'000));
}

TEST(E57PointDecoder, WantsTheFieldsOfPositionsAndOfWhatIsAskedFor) {
  Fields fields;
  fields.add(kCartesian, {{1}, {1}, {1}}).add(Role::Intensity, {1}).add(Role::TimeStamp, {1});
  PointTarget target;
  target.offsets.fill(PointTarget::kUnwanted);
  const PointDecoder decoder(fields.scan, {}, {});
  EXPECT_THAT(decoder.wanted(target), ElementsAre(1, 1, 1, 0, 0));
  target.offsets[static_cast<std::size_t>(PointAttribute::Intensity)] = 0;
  EXPECT_THAT(decoder.wanted(target), ElementsAre(1, 1, 1, 1, 0));
}

TEST(E57PointDecoder, DecodesManyRecordsAsItDoesFew) {
  std::vector<double> x(5000);
  std::vector<double> state(x.size());
  for (std::size_t i = 0; i < x.size(); ++i) {
    x[i] = static_cast<double>(i);
    state[i] = i % 3 == 0 ? 1 : 0;
  }
  const Decoded decoded = decode(
      Fields().add(kCartesian, {x, x, x}).add(Role::CartesianInvalidState, state).add(Role::RowIndex, x),
      PointAttribute::RowIndex);
  const auto rows = decoded.column<std::uint32_t>();
  ASSERT_EQ(rows.size(), 3333U);
  for (std::size_t p = 0; p < rows.size(); ++p) {
    ASSERT_EQ(rows[p], p / 2 * 3 + 1 + p % 2);
    ASSERT_EQ(decoded.world[3 * p + 2], rows[p]);
  }
}

}  // namespace
