#include <gmock/gmock.h>

#include <random>
#include <utility>

#include "core/FormatError.h"
#include "formats/e57/FieldValues.h"
#include "formats/e57/LogicalBytes.h"
#include "formats/e57/PacketIndex.h"
#include "support/E57File.h"

namespace {

using Formats::E57::Columns;
using Formats::E57::PacketIndex;
using Formats::E57::PointField;
using Formats::E57::Role;
using Formats::E57::Scan;
using Testing::E57File;
using Testing::E57Scan;
using testing::HasSubstr;
using Testing::LogicalBytes;

constexpr std::size_t kRecords = 3 * PacketIndex::kRecordsPerStep + 77;
constexpr std::array<unsigned, 3> kBits{1, 19, 8};

/// Fields of 1, 19 and 8 bits whose values follow from the record.
std::int64_t valueOf(std::size_t field, std::size_t record) {
  return static_cast<std::int64_t>((record * 2'654'435'761U + field) >> 7U & ((1U << kBits[field]) - 1U));
}

E57Scan content(std::size_t records = kRecords) {
  E57Scan scan;
  for (std::size_t field = 0; field < kBits.size(); ++field) {
    std::vector<std::int64_t> values;
    for (std::size_t i = 0; i < records; ++i) values.push_back(valueOf(field, i));
    scan.fields.push_back(Testing::integerField("f", 0, (1 << kBits[field]) - 1, values));
  }
  return scan;
}

Scan description(std::uint64_t records = kRecords) {
  Scan scan;
  scan.recordCount = records;
  scan.numStreams = kBits.size();
  for (std::size_t field = 0; field < kBits.size(); ++field) {
    PointField& known = scan.fields.emplace_back();
    known.role = static_cast<Role>(field);
    known.type = Formats::E57::FieldType::Integer;
    known.bits = kBits[field];
    known.stream = field;
  }
  return scan;
}

/// The index of the first section of a file, with what it needs to be read.
struct Indexed {
  LogicalBytes bytes;
  Scan scan;
  PacketIndex index;

  Indexed(const E57File& file, Scan described)
      : bytes(file.bytes()),
        scan(std::move(described)),
        index(scan, Formats::E57::readSection(48, bytes.fileLength(), bytes.fetch(), "a.e57"), bytes.fetch(),
              "a.e57") {}

  /// The values of a field in records from a step on.
  [[nodiscard]] std::vector<double> values(std::size_t field, std::uint64_t step, std::size_t count,
                                           const std::string& wanted = "\1\1\1") const {
    Columns columns;
    index.read(step, count, wanted, bytes.fetch(), "a.e57", columns);
    std::vector<double> values(count);
    decodeValues(scan.fields.at(field), columns[field], 0, count, values.data());
    return values;
  }
};

/// Whether every step, and all steps at once, give the values that were written.
void expectAllValues(const Indexed& file) {
  for (std::size_t field = 0; field < kBits.size(); ++field) {
    for (std::uint64_t step = 0; step < 4; ++step) {
      const std::size_t first = step * PacketIndex::kRecordsPerStep;
      const auto values = file.values(field, step, kRecords - first);
      for (std::size_t i = 0; i < values.size(); ++i) {
        ASSERT_EQ(values[i], static_cast<double>(valueOf(field, first + i)))
            << field << ' ' << step << ' ' << i;
      }
    }
  }
}

TEST(E57PacketIndex, ReadsFromAnyStepOn) {
  expectAllValues(Indexed(E57File().scan(content()), description()));
}

TEST(E57PacketIndex, ReadsStreamsThatAreCutAnywhere) {
  std::mt19937 random(57);
  for (int round = 0; round < 5; ++round) {
    E57Scan scan = content();
    scan.pieceSize = [&](std::size_t, std::size_t) { return random() % (round == 0 ? 40 : 4000); };
    expectAllValues(Indexed(E57File().scan(scan), description()));
  }
}

TEST(E57PacketIndex, ReadsOneStreamBehindTheOther) {
  E57Scan scan = content();
  scan.pieceSize = [](std::size_t packet, std::size_t stream) { return packet / 40 == stream ? 1000 : 0; };
  expectAllValues(Indexed(E57File().scan(scan), description()));
}

TEST(E57PacketIndex, ReadsTheWantedFieldsAlone) {
  const Indexed file(E57File().scan(content()), description());
  EXPECT_EQ(file.values(1, 2, 5, std::string("\0\1\0", 3)), file.values(1, 2, 5));
}

TEST(E57PacketIndex, FieldsOfNoBitsNeedNoPackets) {
  Scan scan = description(1'000'000);
  scan.fields.resize(1);
  scan.fields[0].bits = 0;
  scan.fields[0].minimum = 7;
  const Indexed file(E57File().scan(content(0)), scan);
  EXPECT_EQ(file.values(0, 244, 2), std::vector<double>({7, 7}));
}

TEST(E57PacketIndex, RefusesMoreRecordsThanTheBytesGive) {
  for (const std::uint64_t records : {std::uint64_t{kRecords + 8}, std::uint64_t{UINT64_MAX}}) {
    try {
      (void)Indexed(E57File().scan(content()), description(records));
      FAIL();
    } catch (const Core::FormatError& error) {
      EXPECT_THAT(error.what(), HasSubstr("a.e57, byte "));
      EXPECT_THAT(error.what(), HasSubstr(records == UINT64_MAX ? "records of a scan: expected at most"
                                                                : "section of points is truncated"));
    }
  }
}

TEST(E57PacketIndex, RefusesRecordsWithoutBitsThatNothingBounds) {
  Scan scan = description(PacketIndex::kMostWithoutBits + 1);
  for (PointField& field : scan.fields) field.bits = 0;
  EXPECT_THROW(Indexed(E57File().scan(content(0)), scan), Core::FormatError);
}

TEST(E57PacketIndex, NoticesPacketsThatAreNoLongerThere) {
  const Indexed file(E57File().scan(content()), description());
  const LogicalBytes changed(E57File().scan(content()).patch(E57File::kFirstPacket, "\2").bytes());
  Columns columns;
  EXPECT_THROW(file.index.read(0, kRecords, std::string("\1\1\1"), changed.fetch(), "a.e57", columns),
               Core::FormatError);
}

}  // namespace
