#include <string>

#include <gtest/gtest.h>

#include "autoresponder/intake/field_reader.h"

using namespace std::string_view_literals;

namespace {

// The fields, each as "name=body;".
std::string fields_of(std::string_view header) {
  std::string all;
  HeaderFields fields(header);
  for (HeaderField field; fields.Next(field);) {
    all.append(field.name).append("=").append(field.body).append(";");
  }
  return all;
}

TEST(HeaderFields, AreReadInTheirOrder) {
  EXPECT_EQ(fields_of("To: a@b\nCc: c@d\nTo: e@f\n"), "To=a@b;Cc=c@d;To=e@f;");
}

TEST(HeaderFields, KeepTheLinesOfAFoldedOne) {
  EXPECT_EQ(fields_of("To: a@b,\n\tc@d\nCc: e@f\n"), "To=a@b,\n\tc@d;Cc=e@f;");
}

TEST(HeaderFields, MayHaveBothKindsOfLineEnds) {
  EXPECT_EQ(fields_of("To: a@b\r\nCc:\r\n e@f\r\n"), "To=a@b;Cc=e@f;");
}

TEST(HeaderFields, MayHaveBlanksBeforeTheColon) {
  EXPECT_EQ(fields_of("To : a@b\nCc\t: c@d"), "To=a@b;Cc=c@d;");
}

TEST(HeaderFields, MayBeEmpty) {
  EXPECT_EQ(fields_of("To:\nCc: \n"), "To=;Cc=;");
}

TEST(HeaderFields, DoNotIncludeLinesWithoutAColon) {
  EXPECT_EQ(fields_of("nothing\n nor this\nTo: a@b\n\n"), "To=a@b;");
}

TEST(HeaderFields, MayHoldNuls) {
  EXPECT_EQ(fields_of("T\0o: a\0b\n"sv), "T\0o=a\0b;"sv);
}

TEST(HeaderFields, AreNoneInNothing) {
  EXPECT_EQ(fields_of(""), "");
}

}  // namespace
