#include <algorithm>
#include <cstdlib>
#include <malloc.h>
#include <memory>
#include <new>
#include <string>
#include <unistd.h>

#include <gtest/gtest.h>
#include <mimelib/mimepp.h>

#include "dw_strings.h"

// The lists of a hostile message may be of any length. Walking one must take linear time, and
// memory that does not depend on its length.

namespace {

size_t memory_in_use = 0;
size_t peak_memory = 0;

void* take(size_t size) {
  void* const memory = malloc(size);
  memory_in_use += malloc_usable_size(memory);
  peak_memory = std::max(peak_memory, memory_in_use);
  return memory;
}

void give_back(void* memory) {
  memory_in_use -= malloc_usable_size(memory);
  free(memory);
}

}  // namespace

void* operator new(size_t size) {
  void* const memory = take(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void* operator new(size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return take(size);
}

void operator delete(void* memory) noexcept {
  give_back(memory);
}

void operator delete(void* memory, size_t /*size*/) noexcept {
  give_back(memory);
}

void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept {
  give_back(memory);
}

namespace {

DwString repeated(const std::string& head, const std::string& text, int count) {
  std::string all = head;
  all.reserve(head.size() + text.size() * static_cast<size_t>(count));
  for (int i = 0; i < count; ++i) all += text;
  return string_of(all);
}

// Measures the memory that a walk over a list takes.
class Walk {
 public:
  // SIGALRM ends a walk that takes quadratic time.
  Walk() : before_(memory_in_use) {
    peak_memory = memory_in_use;
    alarm(60);
  }
  ~Walk() { alarm(0); }
  Walk(const Walk&) = delete;
  Walk& operator=(const Walk&) = delete;

  size_t memory() const { return peak_memory - before_; }

 private:
  size_t before_;
};

constexpr size_t kFewElements = 64 * 1024;

template <class Element>
int count_from(Element* element) {
  int count = 0;
  for (; element != nullptr; element = element->Next()) ++count;
  return count;
}

TEST(LongList, OfAMillionMailboxes) {
  DwAddressList list(repeated("", "a@b,", 1000000));
  const Walk walk;
  EXPECT_EQ(count_from(list.FirstAddress()), 1000000);
  EXPECT_LT(walk.memory(), kFewElements);
}

TEST(LongList, OfAMillionGroups) {
  DwAddressList list(repeated("", "g:;,", 1000000));
  const Walk walk;
  EXPECT_EQ(count_from(list.FirstAddress()), 1000000);
  EXPECT_LT(walk.memory(), kFewElements);
}

TEST(LongList, OfAMillionMailboxesOfFrom) {
  DwMailboxList list(repeated("", "<>,", 1000000));
  const Walk walk;
  EXPECT_EQ(count_from<DwAddress>(list.FirstMailbox()), 1000000);
  EXPECT_LT(walk.memory(), kFewElements);
}

TEST(LongList, OfAMillionCommas) {
  DwAddressList list(repeated("", ",", 1000000));
  const Walk walk;
  EXPECT_EQ(list.FirstAddress(), nullptr);
  EXPECT_LT(walk.memory(), kFewElements);
}

TEST(LongList, OfAMillionMailboxesAfterDots) {
  DwAddressList list(repeated("", "<..a@b>,", 1000000));
  const Walk walk;
  EXPECT_EQ(count_from(list.FirstAddress()), 1000000);
  EXPECT_LT(walk.memory(), kFewElements);
}

TEST(LongList, OfAMillionDotsInAngles) {
  DwAddressList list(repeated("<", ".", 1000000));
  const Walk walk;
  EXPECT_EQ(count_from(list.FirstAddress()), 1);
  EXPECT_LT(walk.memory(), kFewElements);
}

TEST(LongList, OfAMillionParameters) {
  DwMediaType type(repeated("text/plain", ";a=b", 1000000));
  const Walk walk;
  EXPECT_EQ(count_from(type.FirstParameter()), 1000000);
  EXPECT_LT(walk.memory(), kFewElements);
}

TEST(LongList, OfAMillionParametersAfterBrackets) {
  DwMediaType type(repeated("text/plain", ";[x]a=[y]b", 1000000));
  const Walk walk;
  EXPECT_EQ(count_from(type.FirstParameter()), 1000000);
  EXPECT_LT(walk.memory(), kFewElements);
}

TEST(LongList, OfAMillionSemicolons) {
  DwMediaType type(repeated("text/plain", ";", 1000000));
  const Walk walk;
  EXPECT_EQ(type.FirstParameter(), nullptr);
  EXPECT_LT(walk.memory(), kFewElements);
}

TEST(LongList, OfAMillionNamesWithoutValue) {
  DwMediaType type(repeated("text/plain", ";a", 1000000));
  const Walk walk;
  EXPECT_EQ(type.FirstParameter(), nullptr);
  EXPECT_LT(walk.memory(), kFewElements);
}

constexpr const char* kMultipart = "Content-Type: multipart/mixed; boundary=b\n\n";

std::unique_ptr<DwMessage> multipart_of(const std::string& part, int count) {
  std::unique_ptr<DwMessage> message(
      DwMessage::NewMessage(repeated(kMultipart, part, count), nullptr));
  message->Parse();
  return message;
}

TEST(LongList, OfAHundredThousandParts) {
  const auto message = multipart_of("--b\nContent-Type: image/png\n\nx\n", 100000);
  const Walk walk;
  EXPECT_EQ(count_from(message->Body().FirstBodyPart()), 100000);
  EXPECT_LT(walk.memory(), kFewElements);
}

TEST(LongList, OfAHundredThousandEmptyParts) {
  const auto message = multipart_of("--b\n", 100000);
  const Walk walk;
  EXPECT_EQ(count_from(message->Body().FirstBodyPart()), 99999);
  EXPECT_LT(walk.memory(), kFewElements);
}

TEST(LongList, OfAHundredThousandLinesThatAreNearlyDelimiters) {
  const auto message = multipart_of("--b--- x\n", 100000);
  const Walk walk;
  EXPECT_EQ(message->Body().FirstBodyPart(), nullptr);
  EXPECT_LT(walk.memory(), kFewElements);
}

TEST(LongList, OfPartsThatAreMultipartsThemselves) {
  const auto message = multipart_of("--b\nContent-Type: multipart/mixed; boundary=b\n\n", 100000);
  const Walk walk;
  EXPECT_EQ(count_from(message->Body().FirstBodyPart()), 100000);
  EXPECT_LT(walk.memory(), kFewElements);
}

// The first element of a list stays usable while sixteen more are asked for, and leads to the
// second.
TEST(KeptElement, OfAnAddressList) {
  DwAddressList list(repeated("first@a,second@b,", "x@y,", 100));
  const auto* const first = static_cast<const DwMailbox*>(list.FirstAddress());
  const DwAddress* last = first;
  for (int i = 0; i < 16; ++i) last = last->Next();
  EXPECT_EQ(bytes_of(first->LocalPart()), "first");
  EXPECT_EQ(bytes_of(first->Domain()), "a");
  EXPECT_EQ(bytes_of(static_cast<const DwMailbox*>(first->Next())->LocalPart()), "second");
}

TEST(KeptElement, OfAMediaType) {
  DwMediaType type(repeated("text/plain;first=1;second=2", ";x=y", 100));
  const DwParameter* const first = type.FirstParameter();
  const DwParameter* last = first;
  for (int i = 0; i < 16; ++i) last = last->Next();
  EXPECT_EQ(bytes_of(first->Attribute()), "first");
  EXPECT_EQ(bytes_of(first->Value()), "1");
  EXPECT_EQ(bytes_of(first->Next()->Attribute()), "second");
}

TEST(KeptElement, OfABody) {
  const auto message = multipart_of("--b\nSubject: s\n\nx\n", 100);
  DwBodyPart* const first = message->Body().FirstBodyPart();
  const DwBodyPart* last = first;
  for (int i = 0; i < 16; ++i) last = last->Next();
  EXPECT_EQ(bytes_of(first->AsString()), "Subject: s\n\nx");
  EXPECT_EQ(bytes_of(first->Headers().Subject().AsString()), "s");
  EXPECT_EQ(bytes_of(first->Next()->Body().AsString()), "x");
}

}  // namespace
