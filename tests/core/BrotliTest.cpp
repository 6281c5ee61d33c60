#include <gmock/gmock.h>

#include <stop_token>
#include <string>

#include "core/Brotli.h"

namespace {

std::span<const std::byte> bytesOf(const std::string& text) { return std::as_bytes(std::span(text)); }

std::string repeated(std::size_t size) {
  std::string text;
  for (std::size_t i = 0; i < size; ++i) text += static_cast<char>('a' + i % 23);
  return text;
}

TEST(Brotli, GivesBackWhatWasCompressed) {
  const std::string text = repeated(1'000'000);  // far more than the first guess of the output's size
  Core::ByteBuffer out;
  const std::string stream = Core::brotliEncode(bytesOf(text), 5);
  Core::brotliDecode(bytesOf(stream), text.size(), out);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(out.data.get()), out.size), text);
}

TEST(Brotli, RefusesEveryTruncation) {
  const std::string text = repeated(1000);
  const std::string stream = Core::brotliEncode(bytesOf(text), 5);
  Core::ByteBuffer out;
  for (std::size_t n = 0; n < stream.size(); ++n) {
    EXPECT_THROW(Core::brotliDecode(bytesOf(stream.substr(0, n)), text.size(), out), std::runtime_error) << n;
  }
}

TEST(Brotli, StopsABombAtTheLargestSizeItMayHave) {
  const std::string stream = Core::brotliEncode(bytesOf(std::string(50'000'000, '\0')), 5);
  ASSERT_LT(stream.size(), 1000U);
  Core::ByteBuffer out;
  EXPECT_THAT([&] { Core::brotliDecode(bytesOf(stream), 10'000, out); },
              testing::ThrowsMessage<std::runtime_error>(
                  "brotli: more output than the node can hold after 10000 bytes"));
  EXPECT_LE(out.capacity, 10'000U);
}

TEST(Brotli, RefusesBytesAfterTheStream) {
  const std::string stream = Core::brotliEncode(bytesOf(repeated(100)), 5) + "more";
  Core::ByteBuffer out;
  EXPECT_THROW(Core::brotliDecode(bytesOf(stream), 100, out), std::runtime_error);
}

TEST(Brotli, EndsWhenAStopIsRequested) {
  const std::string stream = Core::brotliEncode(bytesOf(repeated(100)), 5);
  std::stop_source stop;
  stop.request_stop();
  Core::ByteBuffer out;
  EXPECT_THAT([&] { Core::brotliDecode(bytesOf(stream), 100, out, stop.get_token()); },
              testing::ThrowsMessage<std::runtime_error>("brotli: stopped after 0 bytes"));
}

}  // namespace
