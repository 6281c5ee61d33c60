#include <gmock/gmock.h>

#include <chrono>
#include <memory>
#include <stdexcept>

#include "core/Futures.h"

namespace {

using testing::ThrowsMessage;

template <class T>
bool isReady(const std::future<T>& future) {
  return future.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

TEST(ReadyFuture, HoldsItsValueAtOnce) {
  std::future<std::string> future = Core::readyFuture(std::string("bytes"));
  EXPECT_TRUE(isReady(future));
  EXPECT_EQ(future.get(), "bytes");
}

TEST(ReadyFuture, TakesWhatCanOnlyBeMoved) {
  EXPECT_EQ(*Core::readyFuture(std::make_unique<int>(7)).get(), 7);
}

TEST(FailedFuture, ThrowsItsException) {
  auto future = Core::failedFuture<int>(std::make_exception_ptr(std::runtime_error("not there")));
  EXPECT_TRUE(isReady(future));
  EXPECT_THAT([&] { (void)future.get(); }, ThrowsMessage<std::runtime_error>("not there"));
}

TEST(CallNow, CallsOnceAndAtOnce) {
  int calls = 0;
  auto future = Core::callNow([&] { return ++calls; });
  EXPECT_EQ(calls, 1);
  EXPECT_TRUE(isReady(future));
  EXPECT_EQ(future.get(), 1);
  EXPECT_EQ(calls, 1);
}

TEST(CallNow, KeepsAnExceptionForTheFuture) {
  std::future<int> future;
  EXPECT_NO_THROW(future = Core::callNow([]() -> int { throw std::out_of_range("beyond"); }));
  EXPECT_TRUE(isReady(future));
  EXPECT_THAT([&] { (void)future.get(); }, ThrowsMessage<std::out_of_range>("beyond"));
}

TEST(RequestResult, HasNotSucceededUntilItSaysSo) {
  EXPECT_FALSE(Core::RequestResult().succeeded);
  EXPECT_EQ(Core::RequestResult().message, "");
}

}  // namespace
