#include <gmock/gmock.h>

#include <cerrno>
#include <thread>

#include "converter/CellBuffers.h"
#include "converter/ConversionError.h"
#include "converter/TempStore.h"
#include "support/FaultyFileSystem.h"
#include "support/TempFolder.h"

namespace {

using Converter::CellBuffers;
using Converter::TempStore;

class StoreTest : public testing::Test {
 protected:
  [[nodiscard]] static std::string contentOf(const TempStore& store, std::size_t cell) {
    std::string content;
    for (const TempStore::Piece& piece : store.piecesOf(cell)) {
      std::string bytes(piece.size, '\0');
      store.read(piece, std::as_writable_bytes(std::span(bytes)));
      content += bytes;
    }
    return content;
  }

  static void append(TempStore& store, std::size_t cell, std::string_view bytes) {
    store.append(cell, std::as_bytes(std::span(bytes)));
  }

  Testing::TempFolder folder_;
  std::filesystem::path path_ = folder_.path() / "points.tmp";
  Core::DiskFileSystem disk_{Core::DiskFileSystem::Sync::No};
  TempStore store_{disk_, path_};
};

using TempStoreTest = StoreTest;
using CellBuffersTest = StoreTest;

TEST_F(TempStoreTest, GivesBackWhatWasAppendedToEachCell) {
  EXPECT_EQ(store_.addCells(2), 0);
  EXPECT_EQ(store_.addCells(3), 2);
  append(store_, 1, "abc");
  append(store_, 4, "xyz");
  append(store_, 1, "de");
  EXPECT_EQ(contentOf(store_, 1), "abcde");
  EXPECT_EQ(contentOf(store_, 4), "xyz");
  EXPECT_EQ(store_.bytesOf(1), 5);
  EXPECT_EQ(store_.bytesOf(0), 0);
  EXPECT_EQ(store_.bytesWritten(), 8);
}

TEST_F(TempStoreTest, ForgetsACellThatIsDiscarded) {
  store_.addCells(2);
  append(store_, 0, "abc");
  append(store_, 1, "xyz");
  store_.discard(0);
  EXPECT_EQ(store_.bytesOf(0), 0);
  append(store_, 0, "new");
  EXPECT_EQ(contentOf(store_, 0), "new");
  EXPECT_EQ(contentOf(store_, 1), "xyz");
}

TEST_F(TempStoreTest, ItsFileGoesWithIt) {
  {
    TempStore other(disk_, folder_.path() / "other.tmp");
    EXPECT_TRUE(std::filesystem::exists(folder_.path() / "other.tmp"));
  }
  EXPECT_FALSE(std::filesystem::exists(folder_.path() / "other.tmp"));
}

TEST_F(TempStoreTest, AFailedWriteIsAnErrorAndAddsNothing) {
  Testing::FaultyFileSystem files(disk_);
  TempStore store(files, folder_.path() / "full.tmp");
  store.addCells(1);
  files.failNth(1, {Testing::FileCall::Write}, ENOSPC);
  try {
    append(store, 0, "abc");
    FAIL() << "was written";
  } catch (const Converter::ConversionError& error) {
    EXPECT_EQ(error.result(), Converter::Result::ConvertTempFull);
  }
  EXPECT_EQ(store.bytesOf(0), 0);
}

TEST_F(TempStoreTest, ThreadsMayAppendToOneCell) {
  store_.addCells(1);
  {
    std::vector<std::jthread> threads;
    for (const char letter : {'a', 'b', 'c'}) {
      threads.emplace_back([this, letter] {
        for (int i = 0; i < 100; ++i) append(store_, 0, std::string(4, letter));
      });
    }
  }
  const std::string content = contentOf(store_, 0);
  EXPECT_EQ(content.size(), 1'200);
  for (const char letter : {'a', 'b', 'c'})
    EXPECT_EQ(std::count(content.begin(), content.end(), letter), 400);
}

TEST_F(CellBuffersTest, BringRecordsToTheirCellsInTheirOrder) {
  store_.addCells(5);
  CellBuffers buffers(store_, 2, 3, 4, 10);
  for (const char* record : {"aaaa", "bbbb", "cccc", "dddd", "eeee"}) {
    buffers.add(1, reinterpret_cast<const std::byte*>(record));
  }
  buffers.add(2, reinterpret_cast<const std::byte*>("zzzz"));
  EXPECT_EQ(contentOf(store_, 3), "aaaabbbbccccdddd") << "whole records as full buffers";
  buffers.flush();
  EXPECT_EQ(contentOf(store_, 3), "aaaabbbbccccddddeeee");
  EXPECT_EQ(contentOf(store_, 4), "zzzz");
  EXPECT_EQ(store_.piecesOf(3).size(), 3);
  buffers.flush();
  EXPECT_EQ(store_.bytesOf(3), 20) << "nothing twice";
}

TEST_F(CellBuffersTest, TakeARecordThatIsLargerThanABuffer) {
  store_.addCells(1);
  CellBuffers buffers(store_, 0, 1, 20, 10);
  buffers.add(0, reinterpret_cast<const std::byte*>("01234567890123456789"));
  buffers.flush();
  EXPECT_EQ(contentOf(store_, 0), "01234567890123456789");
}

}  // namespace
