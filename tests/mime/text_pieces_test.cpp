#include "mime/text_pieces.h"

#include <gtest/gtest.h>

namespace {

constexpr size_t kMegabyte = size_t{1} << 20;

TEST(TextPieces, AreEmptyAtFirst) {
  TextPieces pieces;
  EXPECT_EQ(pieces.size(), 0U);
  EXPECT_EQ(pieces.Take(), "");
}

TEST(TextPieces, GiveWhatWasAppended) {
  TextPieces pieces;
  for (const char* piece : {"one", "", " two"}) pieces.Append(piece);
  EXPECT_EQ(pieces.size(), 7U);
  EXPECT_EQ(pieces.Take(), "one two");
}

TEST(TextPieces, AreEmptyWhenTheyWereTaken) {
  TextPieces pieces;
  pieces.Append(std::string(3 * kMegabyte, 'x'));
  EXPECT_EQ(pieces.Take().size(), 3 * kMegabyte);
  EXPECT_EQ(pieces.size(), 0U);
  EXPECT_EQ(pieces.Take(), "");
  pieces.Append("again");
  EXPECT_EQ(pieces.Take(), "again");
}

TEST(TextPieces, GiveLargeTextsInOrder) {
  TextPieces pieces;
  std::string want;
  for (size_t i = 0; i < 4000; ++i) {
    const std::string piece(i, static_cast<char>('a' + i % 26));
    pieces.Append(piece);
    want += piece;
  }
  ASSERT_GT(want.size(), 7 * kMegabyte);
  EXPECT_EQ(pieces.size(), want.size());
  EXPECT_TRUE(pieces.Take() == want);
}

TEST(TextPieces, TakeALargeTextOver) {
  std::string large(5 * kMegabyte, 'l');
  const char* const bytes = large.data();
  TextPieces pieces;
  pieces.Adopt(std::move(large));
  EXPECT_EQ(pieces.size(), 5 * kMegabyte);
  const std::string alone = pieces.Take();
  EXPECT_EQ(alone.data(), bytes);

  pieces.Append("before ");
  pieces.Adopt(std::string(alone));
  pieces.Adopt(" after");
  EXPECT_TRUE(pieces.Take() == "before " + alone + " after");
}

TEST(TextPieces, HoldExactlyFullPieces) {
  TextPieces pieces;
  pieces.Append(std::string(kMegabyte, 'a'));
  pieces.Append(std::string(kMegabyte, 'b'));
  EXPECT_TRUE(pieces.Take() == std::string(kMegabyte, 'a') + std::string(kMegabyte, 'b'));
}

}  // namespace
