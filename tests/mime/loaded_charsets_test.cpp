#include <gtest/gtest.h>

#include "iconv_spy.h"
#include "mime/converter.h"

namespace {

// How many conversions `note` leaves open.
template <class Note>
int kept_by(Note note) {
  const int before = iconv_spy.open;
  note();
  return iconv_spy.open - before;
}

TEST(LoadedCharsets, AreKeptOnce) {
  EXPECT_EQ(kept_by([] { keep_charset_loaded("koi8-r", "utf-8"); }), 1);
  EXPECT_EQ(kept_by([] { keep_charset_loaded("koi8-r", "utf-8"); }), 0);
}

TEST(LoadedCharsets, CountOnceInAllSpellings) {
  keep_charset_loaded("koi8-u", "utf-8");
  EXPECT_EQ(
      kept_by([] {
        for (const char* name : {"KOI8-U", "Koi8-u//", "koi8-u//IGNORE", "koi8-u,x", "ko i8-u"}) {
          keep_charset_loaded(name, "utf-8");
        }
      }),
      0);
}

// They would take the places of charsets that are used.
TEST(LoadedCharsets, AreNotKeptWhereTheNameIsUnknown) {
  EXPECT_EQ(kept_by([] {
              for (int i = 0; i < 1000; ++i) keep_charset_loaded("x-" + std::to_string(i), "utf-8");
            }),
            0);
}

}  // namespace
