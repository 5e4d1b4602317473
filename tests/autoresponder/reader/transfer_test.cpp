#include "autoresponder/reader/transfer.h"

#include <limits>

#include <gtest/gtest.h>

#include "../../transferred_bytes.h"
#include "autoresponder/reader/reader_failure.h"

namespace {

constexpr uint64_t kUnlimited = std::numeric_limits<uint64_t>::max();

TEST(Transfer, HandsNumbersOver) {
  for (const uint64_t number :
       {uint64_t{0}, uint64_t{1}, uint64_t{0x0123456789ABCDEF}, kUnlimited}) {
    Receiver receiver(source_of(sent([&](Sender& to) { to.Number(number); })));
    EXPECT_EQ(receiver.Number(kUnlimited), number);
  }
}

TEST(Transfer, HandsTextsOver) {
  const std::string large(3000000, 'x');
  const std::string with_nul("a\0b", 3);
  Receiver receiver(source_of(sent([&](Sender& to) {
    to.Text("");
    to.Text(with_nul);
    to.Texts({"one", "", large});
  })));
  EXPECT_EQ(receiver.Text(0), "");
  EXPECT_EQ(receiver.Text(3), with_nul);
  EXPECT_EQ(receiver.Texts(3, 3000003), (std::vector<std::string>{"one", "", large}));
}

TEST(Transfer, GivesTheMemoryOfALargeTextBackAsItIsSent) {
  const std::string large(5000000, 'x');
  std::string text = large;
  Receiver receiver(source_of(sent([&](Sender& to) { to.LastUseOf(text); })));
  EXPECT_EQ(receiver.Text(kUnlimited), large);
  EXPECT_EQ(text[2500000], '\0');
}

TEST(Transfer, RefusesANumberThatIsTooGreat) {
  Receiver receiver(source_of(sent([](Sender& to) { to.Number(3); })));
  EXPECT_THROW(receiver.Number(2), ReaderFailure);
}

TEST(Transfer, RefusesATextThatIsTooLong) {
  Receiver receiver(source_of(sent([](Sender& to) { to.Text("12345"); })));
  EXPECT_THROW(receiver.Text(4), ReaderFailure);
}

TEST(Transfer, RefusesTextsThatAreTooLongTogether) {
  Receiver receiver(source_of(sent([](Sender& to) { to.Texts({"12345", "67890"}); })));
  EXPECT_THROW(receiver.Texts(2, 9), ReaderFailure);
}

TEST(Transfer, RefusesTooManyTexts) {
  Receiver receiver(source_of(sent([](Sender& to) { to.Texts({"", "", ""}); })));
  EXPECT_THROW(receiver.Texts(2, 100), ReaderFailure);
}

TEST(Transfer, TakesNoMemoryForATextThatDoesNotCome) {
  constexpr uint64_t kGigabyte = uint64_t{1} << 30;
  Receiver receiver(source_of(sent([](Sender& to) { to.Number(kGigabyte); })));
  EXPECT_THROW(receiver.Text(kGigabyte), ReaderFailure);
}

TEST(Transfer, RefusesATextThatEndsEarly) {
  Receiver receiver(source_of(sent([](Sender& to) { to.Number(5); }) + "1234"));
  EXPECT_THROW(receiver.Text(5), ReaderFailure);
}

}  // namespace
