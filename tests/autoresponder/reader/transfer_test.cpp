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
    Receiver receiver(source_of(sent([&](Sender& to) { to.Number(number); })), 0);
    EXPECT_EQ(receiver.Number(), number);
  }
}

TEST(Transfer, HandsTextsOver) {
  const std::string large(3000000, 'x');
  const std::string with_nul("a\0b", 3);
  Receiver receiver(source_of(sent([&](Sender& to) {
                      to.Text("");
                      to.Text(with_nul);
                      to.Texts({"one", "", large});
                    })),
                    kUnlimited);
  EXPECT_EQ(receiver.Text(), "");
  EXPECT_EQ(receiver.Text(), with_nul);
  EXPECT_EQ(receiver.Texts(), (std::vector<std::string>{"one", "", large}));
}

TEST(Transfer, GivesTheMemoryOfALargeTextBackAsItIsSent) {
  const std::string large(5000000, 'x');
  std::string text = large;
  Receiver receiver(source_of(sent([&](Sender& to) { to.LastUseOf(text); })), kUnlimited);
  EXPECT_EQ(receiver.Text(), large);
  EXPECT_EQ(text[2500000], '\0');
}

TEST(Transfer, RefusesANumberThatIsTooGreat) {
  Receiver receiver(source_of(sent([](Sender& to) { to.Number(3); })), 0);
  EXPECT_THROW(receiver.Number(2), ReaderFailure);
}

TEST(Transfer, RefusesTextsThatAreTooLongTogether) {
  const std::string bytes = sent([](Sender& to) {
    to.Text("12345");
    to.Text("67890");
  });
  Receiver receiver(source_of(bytes), 9);
  EXPECT_EQ(receiver.Text(), "12345");
  EXPECT_THROW(receiver.Text(), ReaderFailure);
}

TEST(Transfer, RefusesMoreTextsThanThereMayBeBytes) {
  Receiver receiver(source_of(sent([](Sender& to) { to.Number(1000); })), 999);
  EXPECT_THROW(receiver.Texts(), ReaderFailure);
}

TEST(Transfer, TakesNoMemoryForATextThatDoesNotCome) {
  constexpr uint64_t kGigabyte = uint64_t{1} << 30;
  Receiver receiver(source_of(sent([](Sender& to) { to.Number(kGigabyte); })), kGigabyte);
  EXPECT_THROW(receiver.Text(), ReaderFailure);
}

TEST(Transfer, RefusesATextThatEndsEarly) {
  Receiver receiver(source_of(sent([](Sender& to) { to.Number(5); }) + "1234"), kUnlimited);
  EXPECT_THROW(receiver.Text(), ReaderFailure);
}

}  // namespace
