#include "mime/converter.h"

#include <cerrno>
#include <cstring>
#include <dlfcn.h>

#include <gtest/gtest.h>

#include "iconv_spy.h"

IconvSpy iconv_spy;

namespace {

// The C library's function of a name that this program defines too.
template <class Function>
Function* hidden(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

iconv_t iconv_open(const char* to, const char* from) {
  const iconv_t handle = hidden<iconv_t(const char*, const char*)>("iconv_open")(to, from);
  if (handle != reinterpret_cast<iconv_t>(-1)) ++iconv_spy.open;
  return handle;
}

int iconv_close(iconv_t handle) {
  --iconv_spy.open;
  const int status = hidden<int(iconv_t)>("iconv_close")(handle);
  return iconv_spy.closing_fails ? -1 : status;
}

size_t iconv(iconv_t handle, char** in, size_t* in_left, char** out, size_t* out_left) {
  using Function = size_t(iconv_t, char**, size_t*, char**, size_t*);
  static Function* const real = hidden<Function>("iconv");
  ++iconv_spy.steps;
  if (iconv_spy.moves && iconv_spy.reads) return real(handle, in, in_left, out, out_left);
  if (iconv_spy.moves) {
    memset(*out, 'x', *out_left);
    *out += *out_left;
    *out_left = 0;
  }
  errno = E2BIG;
  return static_cast<size_t>(-1);
}

}  // extern "C"

namespace {

TEST(Converter, KnowsNoUnknownName) {
  EXPECT_TRUE(Converter("UTF-8", "KOI8-R").IsOpen());
  EXPECT_FALSE(Converter("UTF-8", "x-unknown").IsOpen());
  EXPECT_FALSE(Converter("x-unknown", "UTF-8").IsOpen());
}

// iconv would find it, in a time that grows with the square of the name's length.
TEST(Converter, DoesNotLookUpANameLongerThanAnyCharset) {
  const std::string longest = "UTF-8//" + std::string(249, ',');
  EXPECT_TRUE(Converter("UTF-8", longest).IsOpen());
  EXPECT_FALSE(Converter("UTF-8", longest + ",").IsOpen());
  EXPECT_FALSE(Converter(longest + ",", "UTF-8").IsOpen());
  EXPECT_FALSE(Converter("UTF-8", "UTF-8//" + std::string(10000000, ',')).IsOpen());
}

TEST(Converter, TellsHowFarAStepCame) {
  Converter converter("UTF-8", "UTF-8");
  Converter::Buffer buffer;
  const Converter::Step whole = converter.Convert("abc", buffer);
  EXPECT_EQ(whole.error, 0);
  EXPECT_EQ(whole.consumed, 3U);
  EXPECT_EQ(whole.output, "abc");
  const Converter::Step cut = converter.Convert("ab\xC3", buffer);
  EXPECT_EQ(cut.error, EINVAL);
  EXPECT_EQ(cut.consumed, 2U);
  EXPECT_EQ(cut.output, "ab");
}

TEST(Converter, TakesLittleTextAtOnceUnlessANameHasASuffix) {
  EXPECT_EQ(Converter("UTF-8", "KOI8-R").MaxInput(), 300U);
  EXPECT_EQ(Converter("UTF-8", "KOI8-R//IGNORE").MaxInput(), std::string::npos);
  EXPECT_EQ(Converter("KOI8-R//", "UTF-8").MaxInput(), std::string::npos);
}

TEST(Converter, IsClosedOnce) {
  const int before = iconv_spy.open;
  {
    Converter converter("UTF-8", "KOI8-R");
    Converter moved(std::move(converter));
    EXPECT_TRUE(moved.IsOpen());
    EXPECT_EQ(iconv_spy.open, before + 1);
    EXPECT_TRUE(moved.Close());
    EXPECT_TRUE(moved.Close());
  }
  EXPECT_EQ(iconv_spy.open, before);
}

}  // namespace
