#include "support/LasRecords.h"

#include <array>
#include <cstring>
#include <random>

#include "support/LasFile.h"

namespace Testing {
namespace {

constexpr std::array<std::size_t, 9> kFormatLengths{20, 28, 26, 34, 0, 0, 30, 36, 38};
constexpr std::array<std::size_t, 9> kTimeOffsets{0, 20, 0, 20, 0, 0, 22, 22, 22};
constexpr std::array<std::size_t, 9> kColorOffsets{0, 0, 20, 28, 0, 0, 0, 30, 30};
constexpr std::uint8_t kFirstExtendedFormat = 6;

class Scanner {
 public:
  Scanner(const LasRecordKind& kind, unsigned seed)
      : kind_(kind), random_(seed), record_(kind.length(), '\0') {}

  const std::string& next() {
    if (returnNumber_ >= numReturns_) beginPulse();
    ++returnNumber_;
    move();
    changeAttributes();
    if (isExtended()) {
      put(record_, 14, static_cast<std::uint8_t>(numReturns_ << 4U | returnNumber_));
    } else {
      put(record_, 14,
          static_cast<std::uint8_t>(edgeAndDirection_ << 6U | numReturns_ << 3U | returnNumber_));
    }
    return record_;
  }

 private:
  [[nodiscard]] bool isExtended() const { return kind_.pointFormat >= kFirstExtendedFormat; }
  unsigned any() { return static_cast<unsigned>(random_()); }
  /// One in @p n times.
  bool rarely(unsigned n) { return any() % n == 0; }
  template <class T>
  T get(std::size_t offset) const {
    T value;
    std::memcpy(&value, record_.data() + offset, sizeof(T));
    return value;
  }
  template <class T>
  void add(std::size_t offset, unsigned most) {
    put(record_, offset, static_cast<T>(get<T>(offset) + any() % most));
  }

  void beginPulse() {
    returnNumber_ = 0;
    numReturns_ = rarely(3) ? 1 + any() % (isExtended() ? 15 : 5) : 1;
    if (rarely(40)) edgeAndDirection_ = any() % 4;
    if (rarely(30)) sequence_ = any() % times_.size();
    times_[sequence_] += rarely(500) ? 3000.0 : rarely(50) ? 0.01 : 1.25e-5 * (1 + any() % 3);
    if (kTimeOffsets[kind_.pointFormat] != 0)
      put(record_, kTimeOffsets[kind_.pointFormat], times_[sequence_]);
  }

  void move() {
    const bool jumps = rarely(300);
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const auto step = static_cast<std::uint32_t>(jumps ? any() : any() % 40 - 10);
      put(record_, 4 * axis, get<std::uint32_t>(4 * axis) + step);
    }
    put(record_, 12, static_cast<std::uint16_t>(1000 / returnNumber_ + any() % 60));
  }

  void changeAttributes() {
    if (isExtended()) {
      if (rarely(10)) channel_ = any() % 4;
      if (rarely(100)) flags_ = any() % 16;
      put(record_, 15, static_cast<std::uint8_t>(edgeAndDirection_ << 6U | channel_ << 4U | flags_));
      if (rarely(20)) put(record_, 16, static_cast<std::uint8_t>(any()));
      if (rarely(200)) put(record_, 17, static_cast<std::uint8_t>(any()));
      if (rarely(4)) add<std::uint16_t>(18, 100);
      if (rarely(500)) put(record_, 20, static_cast<std::uint16_t>(any()));
    } else {
      if (rarely(20)) put(record_, 15, static_cast<std::uint8_t>(any()));
      if (rarely(10)) add<std::uint8_t>(16, 3);
      if (rarely(200)) put(record_, 17, static_cast<std::uint8_t>(any()));
      if (rarely(500)) put(record_, 18, static_cast<std::uint16_t>(any()));
    }
    if (kColorOffsets[kind_.pointFormat] != 0) changeColor(kColorOffsets[kind_.pointFormat]);
    for (std::size_t i = kFormatLengths[kind_.pointFormat]; i < record_.size(); ++i) {
      if (rarely(3)) add<std::uint8_t>(i, 5);
    }
  }

  void changeColor(std::size_t offset) {
    const std::size_t end = kind_.pointFormat == 8 ? offset + 8 : offset + 6;
    const bool isGrey = rarely(4);
    const auto grey = static_cast<std::uint16_t>(any());
    for (std::size_t at = offset; at < end; at += 2) {
      if (isGrey) put(record_, at, grey);
      if (rarely(2)) add<std::uint16_t>(at, 700);
    }
  }

  LasRecordKind kind_;
  std::mt19937 random_;
  std::string record_;
  std::array<double, 5> times_{1e8, 2e8, 2.00001e8, -5, 0};
  std::size_t sequence_ = 0;
  unsigned returnNumber_ = 0;
  unsigned numReturns_ = 0;
  unsigned edgeAndDirection_ = 0;
  unsigned channel_ = 0;
  unsigned flags_ = 0;
};

}  // namespace

std::size_t LasRecordKind::length() const { return kFormatLengths.at(pointFormat) + numExtraBytes; }

std::string scannedRecords(const LasRecordKind& kind, std::size_t count, unsigned seed) {
  Scanner scanner(kind, seed);
  std::string records;
  for (std::size_t i = 0; i < count; ++i) records += scanner.next();
  return records;
}

std::string randomRecords(const LasRecordKind& kind, std::size_t count, unsigned seed) {
  std::mt19937 random(seed);
  std::string records(count * kind.length(), '\0');
  for (char& byte : records) byte = static_cast<char>(random());
  return records;
}

}  // namespace Testing
