#include "https/HttpsTest.h"

#include <random>

namespace Testing {
namespace {

std::string someBytes(std::size_t count) {
  std::mt19937 random(7);
  std::string bytes(count, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random() & 0xFFU);
  return bytes;
}

std::string afterFile(const std::string& message) {
  const std::size_t at = message.find(".bin");
  return at == std::string::npos ? message : message.substr(at + 4);
}

}  // namespace

HttpsWorld::HttpsWorld() : data(someBytes(200'000)), server(authority, root.path()) {
  root.write("data.bin", data);
  root.write("empty.bin", "");
}

HttpsWorld& httpsWorld() {
  static HttpsWorld world;
  return world;
}

HttpsTest::HttpsTest() {
  settings.firstPause = std::chrono::milliseconds(2);
  settings.restTime = std::chrono::milliseconds(0);
}

std::string HttpsTest::testCase() { return testing::UnitTest::GetInstance()->current_test_info()->name(); }

std::string HttpsTest::url(const std::string& fault, const std::string& certificate) {
  return server().url(testCase() + '/' + fault, certificate);
}

std::string HttpsTest::data(std::size_t offset, std::size_t count) {
  return httpsWorld().data.substr(offset, count);
}

std::string HttpsTest::fetch(const std::string& fault, std::uint64_t offset, std::uint64_t count) {
  Core::HttpClient client(url(fault), nullptr, settings);
  return client.fetchRange("data.bin", offset, count, {}).get();
}

std::string HttpsTest::failure(const std::string& fault, std::uint64_t offset, std::uint64_t count) {
  return afterFile(thrownBy([&] { return fetch(fault, offset, count); }));
}

std::string HttpsTest::wholeFailure(const std::string& fault, const std::string& file) {
  Core::HttpClient client(url(fault), nullptr, settings);
  return afterFile(thrownBy([&] { return client.fetchWhole(file, {}).get(); }));
}

}  // namespace Testing
