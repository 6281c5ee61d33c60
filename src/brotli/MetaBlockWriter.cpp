#include "brotli/MetaBlockWriter.h"

#include <algorithm>

#include "brotli/ContextMap.h"

namespace Brotli {
namespace {

constexpr std::size_t kNumLiteralSymbols = 256;
constexpr std::size_t kNumDistanceContexts = 4;
constexpr std::size_t kFewLiterals = 48;  // too few for codes of their own
constexpr std::size_t kSwitchBits = 100;  // of a further block type, about
constexpr std::size_t kMostCodes = 64;    // of one kind in a meta-block

std::uint32_t numLiterals(const MetaBlock& block, const Segment& segment) {
  std::size_t number = 0;
  forEachLiteralRun(block, segment, [&](std::size_t begin, std::size_t end) { number += end - begin; });
  return static_cast<std::uint32_t>(number);
}

/// ISLAST 0, the length, and whether the bytes stand there as they are.
void writeHeader(std::size_t size, bool uncompressed, BitWriter& out) {
  const unsigned nibbles = size <= std::size_t{1} << 16U ? 4 : size <= std::size_t{1} << 20U ? 5 : 6;
  out.write(0, 1);
  out.write(nibbles - 4, 2);
  out.write(size - 1, nibbles * 4);
  out.write(uncompressed ? 1 : 0, 1);
}

/// The short symbol of a distance that is among the last ones; its place, or their number.
std::size_t placeOf(std::uint32_t distance, const LastDistances& distances) {
  std::size_t place = 0;
  while (place < distances.size() && distances[place] != distance) ++place;
  return place;
}

void push(LastDistances& distances, std::uint32_t distance) {
  distances = {distance, distances[0], distances[1], distances[2]};
}

}  // namespace

void MetaBlockWriter::codeCommands(const MetaBlock& block, LastDistances& lastDistances) {
  constexpr std::size_t kImplicitInserts = 8;
  constexpr std::size_t kImplicitCopies = 16;
  coding_.postfixBits = block.postfixBits;
  commands_.reset(block.segments.size(), kLargestAlphabet);
  distances_.reset(block.segments.size(), coding_.numSymbols());
  coded_.resize(block.commands.size());
  LastDistances distances = lastDistances;
  std::uint64_t extraBits = 0;
  for (std::size_t s = 0; s < block.segments.size(); ++s) {
    const std::span<std::uint32_t> commandCounts = commands_.counts(s);
    const std::span<std::uint32_t> distanceCounts = distances_.counts(s);
    for (std::size_t i = block.segments[s].firstCommand; i < block.segments[s].endCommand; ++i) {
      const Command& command = block.commands[i];
      CodedCommand& coded = coded_[i];
      const std::size_t insert = insertCode(command.insert);
      const std::size_t copy = command.copy == 0 ? 0 : copyCode(command.copy);
      const std::size_t place = command.copy == 0 ? 0 : placeOf(command.distance, distances);
      const bool implicit = place == 0 && insert < kImplicitInserts && copy < kImplicitCopies;
      const ExtraBits insertExtra = kInsertRanges.extra(insert, command.insert);
      const ExtraBits copyExtra = command.copy == 0 ? ExtraBits{} : kCopyRanges.extra(copy, command.copy);
      coded.lengthExtra = insertExtra.value | std::uint64_t{copyExtra.value} << insertExtra.count;
      coded.lengthExtraBits = static_cast<std::uint8_t>(insertExtra.count + copyExtra.count);
      coded.symbol = commandSymbol(insert, copy, implicit);
      coded.distanceSymbol = kNoSymbol;
      ++commandCounts[coded.symbol];
      extraBits += coded.lengthExtraBits;
      if (command.copy == 0 || implicit) continue;
      coded.distanceSymbol = static_cast<std::uint16_t>(place);
      coded.distanceExtraBits = 0;
      coded.distanceExtra = 0;
      if (place == distances.size()) {
        const DistanceCodes::Code code = coding_.codeOf(command.distance);
        coded.distanceSymbol = code.symbol;
        coded.distanceExtra = code.extra.value;
        coded.distanceExtraBits = static_cast<std::uint8_t>(code.extra.count);
        extraBits += code.extra.count;
      }
      if (place != 0) push(distances, command.distance);
      ++distanceCounts[coded.distanceSymbol];
    }
  }
  lastDistances = distances;
  extraBits_ = extraBits;
}

void MetaBlockWriter::modelLiterals(std::span<const std::byte> data, const MetaBlock& block) {
  numLiterals_.clear();
  literalTypeOf_.clear();
  literalTypes_.clear();
  std::size_t numClusters = 0;
  for (const Segment& segment : block.segments) {
    numLiterals_.push_back(numLiterals(block, segment));
    if (numLiterals_.back() >= (literalTypes_.empty() ? 1 : kFewLiterals)) {
      literalTypes_.push_back({chooseLiteralModel(data, block, segment, numLiterals_.back()), numClusters});
      numClusters += literalTypes_.back().model.numClusters;
    }
    literalTypeOf_.push_back(literalTypes_.empty() ? 0 : literalTypes_.size() - 1);
  }
  if (literalTypes_.empty()) {
    literalTypes_.push_back({});
    numClusters = 1;
  }
  literals_.reset(numClusters, kNumLiteralSymbols);
  for (std::size_t s = 0; s < block.segments.size(); ++s) {
    const LiteralModel& model = literalTypes_[literalTypeOf_[s]].model;
    const ContextTable& table = contextTable(model.mode);
    std::uint32_t* const counts = literals_.counts(literalTypes_[literalTypeOf_[s]].firstCluster).data();
    forEachLiteralRun(block, block.segments[s], [&](std::size_t begin, std::size_t end) {
      if (model.numClusters == 1) {
        for (std::size_t i = begin; i < end; ++i) ++counts[std::to_integer<std::size_t>(data[i])];
        return;
      }
      std::byte last = begin > 0 ? data[begin - 1] : std::byte{0};
      std::byte secondLast = begin > 1 ? data[begin - 2] : std::byte{0};
      for (std::size_t i = begin; i < end; ++i) {
        const std::size_t cluster = model.clusterOf[table.context(last, secondLast)];
        ++counts[cluster * kNumLiteralSymbols + std::to_integer<std::size_t>(data[i])];
        secondLast = last;
        last = data[i];
      }
    });
  }
}

void MetaBlockWriter::chooseBlockTypes(const MetaBlock& block) {
  commands_.group(kMostCodes, kSwitchBits);
  distances_.group(kMostCodes, kSwitchBits);
  literals_.group(BlockTypes::kMostTypes, kSwitchBits);
  commandBlocks_.clear();
  distanceBlocks_.clear();
  literalBlocks_.clear();
  literalTrees_.clear();
  for (std::size_t s = 0; s < block.segments.size(); ++s) {
    const Segment& segment = block.segments[s];
    commandBlocks_.add(commands_.groupOf(s),
                       static_cast<std::uint32_t>(segment.endCommand - segment.firstCommand));
    const auto isCoded = [](const CodedCommand& coded) { return coded.distanceSymbol != kNoSymbol; };
    distanceBlocks_.add(distances_.groupOf(s),
                        static_cast<std::uint32_t>(std::count_if(
                            coded_.begin() + static_cast<std::ptrdiff_t>(segment.firstCommand),
                            coded_.begin() + static_cast<std::ptrdiff_t>(segment.endCommand), isCoded)));
    literalBlocks_.add(literalTypeOf_[s], numLiterals_[s]);
  }
  for (const LiteralType& type : literalTypes_) {
    for (const std::uint8_t cluster : type.model.clusterOf) {
      literalTrees_.push_back(static_cast<std::uint8_t>(literals_.groupOf(type.firstCluster + cluster)));
    }
  }
  distanceTrees_.clear();
  for (std::size_t type = 0; type < distanceBlocks_.numTypes(); ++type) {
    distanceTrees_.insert(distanceTrees_.end(), kNumDistanceContexts, static_cast<std::uint8_t>(type));
  }
}

void MetaBlockWriter::describe(const MetaBlock& block, BitWriter& out) {
  const std::size_t numCodes = literals_.numGroups() + commands_.numGroups() + distances_.numGroups();
  out.reserve(1024 + 6 * PrefixCode::mostDescriptionBits(kNumLiteralSymbols + 2) +
              mostContextMapBits(literalTrees_.size(), literals_.numGroups()) +
              mostContextMapBits(distanceTrees_.size(), distances_.numGroups()) +
              numCodes * PrefixCode::mostDescriptionBits(kLargestAlphabet));
  writeHeader(block.size(), false, out);
  literalBlocks_.describe(out);
  commandBlocks_.describe(out);
  distanceBlocks_.describe(out);
  out.write(coding_.postfixBits, 2);
  out.write(0, 4);  // no direct distance codes
  for (std::size_t type = 0; type < literalBlocks_.numTypes(); ++type) {
    out.write(static_cast<std::uint64_t>(literalTypes_[type].model.mode), 2);
  }
  writeContextMap(literalTrees_, literals_.numGroups(), out);
  writeContextMap(distanceTrees_, distanceBlocks_.numTypes(), out);
  literalCodes_.resize(literals_.numGroups());
  for (std::size_t g = 0; g < literalCodes_.size(); ++g)
    literalCodes_[g].describe(literals_.groupCounts(g), out);
  commandCodes_.resize(commands_.numGroups());
  for (std::size_t g = 0; g < commandCodes_.size(); ++g)
    commandCodes_[g].describe(commands_.groupCounts(g), out);
  distanceCodes_.resize(distances_.numGroups());
  for (std::size_t g = 0; g < distanceCodes_.size(); ++g) {
    distanceCodes_[g].describe(distances_.groupCounts(g), out);
  }
}

std::uint64_t MetaBlockWriter::bodyBits() const {
  std::uint64_t bits =
      extraBits_ + literalBlocks_.switchBits() + commandBlocks_.switchBits() + distanceBlocks_.switchBits();
  for (std::size_t g = 0; g < literalCodes_.size(); ++g)
    bits += literalCodes_[g].bitsFor(literals_.groupCounts(g));
  for (std::size_t g = 0; g < commandCodes_.size(); ++g)
    bits += commandCodes_[g].bitsFor(commands_.groupCounts(g));
  for (std::size_t g = 0; g < distanceCodes_.size(); ++g) {
    bits += distanceCodes_[g].bitsFor(distances_.groupCounts(g));
  }
  return bits;
}

void MetaBlockWriter::chooseLiteralCodes() {
  const std::size_t type = literalBlocks_.type();
  const std::uint8_t* const trees = literalTrees_.data() + type * kNumContexts;
  for (std::size_t c = 0; c < kNumContexts; ++c) codeOfContext_[c] = &literalCodes_[trees[c]];
  const bool one =
      std::all_of(trees, trees + kNumContexts, [&](std::uint8_t tree) { return tree == trees[0]; });
  contexts_ = one ? nullptr : &contextTable(literalTypes_[type].model.mode);
}

inline void MetaBlockWriter::addLiterals(std::span<const std::byte> data, std::size_t begin, std::size_t end,
                                         BitCursor& out) const {
  const std::byte* const bytes = data.data();
  const auto literal = [&](std::size_t i) { return std::to_integer<std::size_t>(bytes[i]); };
  if (contexts_ == nullptr) {
    const PrefixCode& code = *codeOfContext_[0];
    for (; begin + 3 <= end; begin += 3) {  // of at most 15 bits each
      code.add(out, literal(begin));
      code.add(out, literal(begin + 1));
      code.add(out, literal(begin + 2));
      out.flush();
    }
    for (; begin < end; ++begin) code.add(out, literal(begin));
    out.flush();
    return;
  }
  const ContextTable& contexts = *contexts_;
  std::byte last = begin > 0 ? bytes[begin - 1] : std::byte{0};
  std::byte secondLast = begin > 1 ? bytes[begin - 2] : std::byte{0};
  for (; begin < end; ++begin) {
    codeOfContext_[contexts.context(last, secondLast)]->add(out, literal(begin));
    out.flush();
    secondLast = last;
    last = bytes[begin];
  }
}

void MetaBlockWriter::writeAcrossBlocks(std::span<const std::byte> data, std::size_t position,
                                        const Command& command, const CodedCommand& coded, BitWriter& out) {
  if (commandBlocks_.left() == 0) commandBlocks_.enterNext(out);
  commandBlocks_.take(1);
  commandCodes_[commandBlocks_.type()].write(out, coded.symbol);
  out.write(coded.lengthExtra, coded.lengthExtraBits);
  for (std::uint32_t left = command.insert; left > 0;) {
    if (literalBlocks_.left() == 0) {
      literalBlocks_.enterNext(out);
      chooseLiteralCodes();
    }
    const std::uint32_t count = std::min(left, literalBlocks_.left());
    literalBlocks_.take(count);
    BitCursor cursor(out);
    addLiterals(data, position, position + count, cursor);
    position += count;
    left -= count;
  }
  if (coded.distanceSymbol == kNoSymbol) return;
  if (distanceBlocks_.left() == 0) distanceBlocks_.enterNext(out);
  distanceBlocks_.take(1);
  distanceCodes_[distanceBlocks_.type()].write(out, coded.distanceSymbol);
  out.write(coded.distanceExtra, coded.distanceExtraBits);
}

std::size_t MetaBlockWriter::writeWithinBlocks(std::span<const std::byte> data, const MetaBlock& block,
                                               std::size_t first, std::size_t& position, BitWriter& out) {
  // Copies, which writing bits cannot change.
  std::uint32_t commandsLeft = commandBlocks_.left();
  std::uint32_t literalsLeft = literalBlocks_.left();
  std::uint32_t distancesLeft = distanceBlocks_.left();
  std::size_t at = position;
  std::size_t i = first;
  const PrefixCode& commandCode = commandCodes_[commandBlocks_.type()];
  const PrefixCode& distanceCode = distanceCodes_[distanceBlocks_.type()];
  BitCursor cursor(out);
  for (const std::size_t end = block.commands.size(); i < end; ++i) {
    const Command command = block.commands[i];
    const CodedCommand coded = coded_[i];
    const std::uint32_t distances = coded.distanceSymbol == kNoSymbol ? 0 : 1;
    if (commandsLeft == 0 || literalsLeft < command.insert || distancesLeft < distances) break;
    commandsLeft -= 1;
    literalsLeft -= command.insert;
    distancesLeft -= distances;
    commandCode.add(cursor, coded.symbol);
    cursor.flush();
    cursor.add(coded.lengthExtra, coded.lengthExtraBits);
    cursor.flush();
    if (command.insert > 0) addLiterals(data, at, at + command.insert, cursor);
    at += command.insert + command.copy;
    if (distances == 0) continue;
    distanceCode.add(cursor, coded.distanceSymbol);
    cursor.add(coded.distanceExtra, coded.distanceExtraBits);
    cursor.flush();
  }
  commandBlocks_.take(commandBlocks_.left() - commandsLeft);
  literalBlocks_.take(literalBlocks_.left() - literalsLeft);
  distanceBlocks_.take(distanceBlocks_.left() - distancesLeft);
  position = at;
  return i;
}

void MetaBlockWriter::writeBody(std::span<const std::byte> data, const MetaBlock& block, BitWriter& out) {
  chooseLiteralCodes();
  std::size_t position = block.segments.front().begin;
  std::size_t i = 0;
  for (;;) {
    i = writeWithinBlocks(data, block, i, position, out);
    if (i == block.commands.size()) return;
    writeAcrossBlocks(data, position, block.commands[i], coded_[i], out);
    position += block.commands[i].insert + block.commands[i].copy;
    ++i;
  }
}

void MetaBlockWriter::write(std::span<const std::byte> data, const MetaBlock& block, LastDistances& distances,
                            BitWriter& out) {
  const LastDistances before = distances;
  codeCommands(block, distances);
  modelLiterals(data, block);
  chooseBlockTypes(block);
  const BitWriter::Mark mark = out.mark();
  const std::uint64_t begin = out.numBits();
  describe(block, out);
  const std::uint64_t plainBits = std::uint64_t{block.size()} * 8;
  if (out.numBits() - begin + bodyBits() < plainBits) {
    out.reserve(bodyBits());
    writeBody(data, block, out);
    return;
  }
  distances = before;
  out.rewind(mark);
  out.reserve(plainBits + 64);
  writeHeader(block.size(), true, out);
  out.alignToByte();
  out.append(data.subspan(block.segments.front().begin, block.size()));
}

}  // namespace Brotli
