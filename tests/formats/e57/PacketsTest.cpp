#include <gmock/gmock.h>

#include "core/FormatError.h"
#include "formats/e57/LogicalBytes.h"
#include "formats/e57/Packets.h"
#include "support/E57File.h"
#include "support/LasFile.h"

namespace {

using Formats::E57::PacketWalk;
using Formats::E57::Section;
using Testing::E57File;
using Testing::E57Scan;
using testing::ElementsAre;
using testing::HasSubstr;
using Testing::LogicalBytes;

template <class Value>
std::string little(Value value) {
  std::string bytes;
  Testing::put(bytes, 0, value);
  return bytes;
}

/// Two records of one byte and of two.
E57File twoStreams() {
  return E57File().scan(
      {{Testing::integerField("a", 0, 255, {1, 2}), Testing::integerField("b", 0, 65535, {3, 4})},
       {},
       {},
       {},
       {}});
}

Section readFirst(const E57File& file, std::uint64_t physical = E57File::kFirstSection) {
  const LogicalBytes bytes(file.bytes());
  return Formats::E57::readSection(physical, bytes.fileLength(), bytes.fetch(), "a.e57");
}

/// The sizes of all pieces, packet after packet.
std::vector<std::uint32_t> walk(const E57File& file, std::size_t numStreams = 2) {
  const LogicalBytes bytes(file.bytes());
  const auto fetch = bytes.fetch();
  PacketWalk packets(Formats::E57::readSection(48, bytes.fileLength(), fetch, "a.e57"), numStreams, fetch,
                     "a.e57");
  std::vector<std::uint32_t> sizes;
  while (packets.next()) {
    for (const PacketWalk::Piece& piece : packets.pieces()) sizes.push_back(piece.size);
  }
  return sizes;
}

template <class Work>
void expectRefusal(const Work& work, const std::string& text) {
  try {
    (void)work();
    FAIL() << text;
  } catch (const Core::FormatError& error) {
    EXPECT_THAT(error.what(), HasSubstr(text));
  }
}

TEST(E57Section, TellsWhereItsPacketsAre) { EXPECT_EQ(readFirst(twoStreams()), (Section{48, 80, 80 + 16})); }

TEST(E57Section, RefusesAPlaceWhereNoneCanBe) {
  const auto at = [](std::uint64_t physical) {
    return [physical] { return readFirst(twoStreams(), physical); };
  };
  expectRefusal(at(1020), "offset of a section of points");
  expectRefusal(at(UINT64_MAX), "offset of a section of points");
  expectRefusal(at(1024), "offset of a section of points");
  expectRefusal(at(1019), "offset of a section of points");
  expectRefusal(at(0), "section id: expected 1, found 65");
}

TEST(E57Section, RefusesALengthThatLeavesTheFileOrIsOdd) {
  for (const std::uint64_t length : {std::uint64_t{0}, std::uint64_t{28}, std::uint64_t{49},
                                     std::uint64_t{976}, std::uint64_t{UINT64_MAX - 3}}) {
    const E57File file = twoStreams().patch(56, little(length));
    expectRefusal([&] { return readFirst(file); },
                  "byte 56: section length: expected a multiple of 4 from 32 to 972");
  }
}

TEST(E57Section, RefusesPacketsOutsideOfIt) {
  for (const std::uint64_t data : {std::uint64_t{0}, std::uint64_t{79}, std::uint64_t{100},
                                   std::uint64_t{1021}, std::uint64_t{UINT64_MAX}}) {
    const E57File file = twoStreams().patch(64, little(data));
    expectRefusal([&] { return readFirst(file); }, "byte 64: offset of the data packets");
  }
}

TEST(E57Packets, AreWalkedWithWhatTheyHoldOfEachStream) {
  EXPECT_THAT(walk(twoStreams()), ElementsAre(2, 4));
}

TEST(E57Packets, OtherKindsInBetweenArePassedOver) {
  E57Scan scan{{Testing::integerField("a", 0, 255, {1, 2, 3})}, {}, {}, {}, {}};
  scan.pieceSize = [](std::size_t, std::size_t) { return 1; };
  scan.before = [](std::size_t packet) {
    return Testing::otherE57Packet(0, 32) + (packet == 1 ? Testing::otherE57Packet(2, 65'536) : "");
  };
  EXPECT_THAT(walk(E57File().scan(scan), 1), ElementsAre(1, 1, 1));
}

TEST(E57Packets, AreRefusedWithALengthThatCannotBe) {
  const auto withLength = [](std::uint16_t length) {
    const auto stored = static_cast<std::uint16_t>(length - 1);
    return [stored] { return walk(twoStreams().patch(82, little(stored))); };
  };
  expectRefusal(withLength(15), "byte 80: packet length: expected a multiple of 4, found 15");
  expectRefusal(withLength(1), "packet length: expected a multiple of 4, found 1");
  expectRefusal(withLength(0), "packet length: expected at most 16, what the section holds, found 65536");
  expectRefusal(withLength(20), "packet length: expected at most 16");
  expectRefusal(withLength(12), "byte streams of a packet: expected at most its 12 bytes, found 16");
  expectRefusal(withLength(8), "packet length: expected at least 10, found 8");
}

TEST(E57Packets, AreRefusedWithAnUnknownType) {
  expectRefusal([] { return walk(twoStreams().patch(80, little(std::uint8_t{3}))); },
                "byte 80: packet type: expected 0, 1 or 2, found 3");
}

TEST(E57Packets, AreRefusedWithAnotherNumberOfStreamsThanThePrototype) {
  for (const auto count : std::to_array<std::uint16_t>({0, 1, 3, 65535})) {
    expectRefusal([&] { return walk(twoStreams().patch(84, little(count))); },
                  "number of byte streams in a packet: expected 2, found " + std::to_string(count));
  }
}

TEST(E57Packets, AreRefusedWithStreamsThatOverlapTheNextPacket) {
  expectRefusal([] { return walk(twoStreams().patch(88, little(std::uint16_t{65535}))); },
                "byte streams of a packet");
}

}  // namespace
