#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "../../named_row.h"
#include "../../parsed_message.h"
#include "autoresponder/intake/message_parts.h"

using namespace std::string_view_literals;

namespace {

struct Message : NamedRow {
  std::string_view text;
  std::string_view charset;
  std::string_view body;
};

class TextPartOf : public testing::TestWithParam<Message> {};

TEST_P(TextPartOf, Is) {
  const auto message = parsed(GetParam().text);
  const TextPart part = find_text_part(*message);
  EXPECT_EQ(part.charset, GetParam().charset);
  EXPECT_EQ(bytes_of(part.body), GetParam().body);
}

#define MULTIPART "Content-Type: multipart/mixed; boundary=b\n\n"

constexpr Message kMessages[] = {
    {"MessageWithoutType", "A: b\n\nbody\n", "US-ASCII", "body\n"},
    {"MessageWithoutTypeButEncoded", "Content-Transfer-Encoding: quoted-printable\n\na=3Db\n",
     "US-ASCII", "a=b\n"},
    {"PlainText", "Content-Type: text/plain; charset=UTF-8\n\nbody\n", "UTF-8", "body\n"},
    {"CharsetParameterInOtherCase", "Content-Type: text/plain; CHARSET=ISO-8859-1\n\nGr\xFC\n",
     "ISO-8859-1", "Gr\xFC\n"},
    {"HtmlIsText", "Content-Type: text/html\n\n<p>\n", "US-ASCII", "<p>\n"},
    {"TypeWithoutSubtypeIsText", "Content-Type: text\n\nbody\n", "US-ASCII", "body\n"},
    {"Application", "Content-Type: application/pdf; charset=UTF-8\n\nbody\n", "US-ASCII", ""},
    {"Image", "Content-Type: image/png\n\nbody\n", "US-ASCII", ""},
    {"ForwardedMessage", "Content-Type: message/rfc822\n\nA: b\n\nbody\n", "US-ASCII", ""},
    {"EmptyType", "Content-Type:\n\nbody\n", "US-ASCII", ""},
    {"UnknownType", "Content-Type: x-text/plain\n\nbody\n", "US-ASCII", ""},
    {"Base64", "Content-Type: text/plain\nContent-Transfer-Encoding: BASE64\n\nQUJDREVG\n\n",
     "US-ASCII", "ABCDEF"},
    {"EncodingThatIsNoName", "Content-Transfer-Encoding: base64;\n\nQUJD\n", "US-ASCII", "QUJD\n"},
    {"EightBit", "Content-Transfer-Encoding: 8bit\n\nGr\xFC=3D\n", "US-ASCII", "Gr\xFC=3D\n"},
    {"NulsInBody", "A: b\n\na\0b\n"sv, "US-ASCII", "a\0b\n"sv},
    {"CharsetUpToItsNul", "Content-Type: text/plain; charset=\"utf-8\0x\"\n\nbody\n"sv, "utf-8",
     "body\n"},

    {"FirstTextPart",
     MULTIPART "--b\nContent-Type: text/plain; charset=x\n\none\n"
               "--b\nContent-Type: text/html\n\ntwo\n--b--\n",
     "x", "one"},
    {"TextAfterAnImage",
     MULTIPART "--b\nContent-Type: image/png\n\none\n--b\nContent-Type: text/html\n\ntwo\n--b--\n",
     "US-ASCII", "two"},
    // A part without a type is passed over, though a message without one is text.
    {"TextAfterAPartWithoutType",
     MULTIPART "--b\n\none\n--b\nContent-Type: text/html; charset=x\n\ntwo\n--b--\n", "x", "two"},
    {"NoTextInPartsWithoutType", MULTIPART "--b\n\none\n--b--\n", "US-ASCII", ""},
    {"NoTextInANestedMultipart",
     MULTIPART "--b\nContent-Type: multipart/alternative; boundary=c\n\n"
               "--c\nContent-Type: text/plain; charset=x\n\none\n--c--\n"
               "--b\nContent-Type: image/png\n\ntwo\n--b--\n",
     "US-ASCII", ""},
    {"TextAfterANestedMultipart",
     MULTIPART "--b\nContent-Type: multipart/alternative; boundary=c\n\n"
               "--c\nContent-Type: text/plain; charset=x\n\none\n--c--\n"
               "--b\nContent-Type: text/html; charset=y\n\ntwo\n--b--\n",
     "y", "two"},
    {"EncodedPart",
     MULTIPART "--b\nContent-Type: text/plain\nContent-Transfer-Encoding: quoted-printable\n\n"
               "a=3Db=\nc\n--b--\n",
     "US-ASCII", "a=bc"},
    {"EncodingOfTheMultipartIsNotThatOfAPart",
     "Content-Transfer-Encoding: base64\n" MULTIPART
     "--b\nContent-Type: text/plain\n\none\n--b--\n",
     "US-ASCII", "one"},
    {"CharsetOfTheMultipartIsNotThatOfAPart",
     "Content-Type: multipart/mixed; charset=x; boundary=b\n\n"
     "--b\nContent-Type: text/plain\n\none\n--b--\n",
     "US-ASCII", "one"},
    {"EmptyMultipart", MULTIPART, "US-ASCII", ""},
    {"MultipartWithoutBoundary",
     "Content-Type: multipart/mixed\n\n--b\nContent-Type: text/plain\n\none\n--b--\n", "US-ASCII",
     ""},
    {"CrLf",
     "Content-Type: multipart/mixed; boundary=b\r\n\r\n"
     "--b\r\nContent-Type: text/plain; charset=x\r\n\r\none\r\ntwo\r\n--b--\r\n",
     "x", "one\r\ntwo"},
};

INSTANTIATE_TEST_SUITE_P(Rows, TextPartOf, testing::ValuesIn(kMessages));

TEST(TextPartOf, IsFoundAfterManyOthers) {
  std::string text = MULTIPART;
  for (int i = 0; i < 50000; ++i) text += "--b\nContent-Type: image/png\n\nx\n";
  const auto message = parsed(text + "--b\nContent-Type: text/plain; charset=x\n\nlast\n--b--\n");
  const TextPart part = find_text_part(*message);
  EXPECT_EQ(part.charset, "x");
  EXPECT_EQ(bytes_of(part.body), "last");
}

struct Type : NamedRow {
  std::string_view text;
  std::string_view want;
};

class CharsetOf : public testing::TestWithParam<Type> {};

TEST_P(CharsetOf, IsThatOfTheType) {
  const auto message = parsed("Content-Type: " + std::string(GetParam().text) + "\n\nbody\n");
  EXPECT_EQ(content_type_charset(*message), GetParam().want);
}

constexpr Type kTypes[] = {
    {"None", "text/plain", "US-ASCII"},
    {"CaseKept", "text/plain; ChArSeT=Utf-8", "Utf-8"},
    {"Quoted", "text/plain; charset=\"utf-8\"", "utf-8"},
    {"Empty", "text/plain; charset=\"\"", ""},
    {"AfterOthers", "text/plain; format=flowed; charset=koi8-r", "koi8-r"},
    {"FirstOfTwo", "text/plain; charset=a; charset=b", "a"},
    {"LongerName", "text/plain; charset*=utf-8''x; charsets=y", "US-ASCII"},
    {"OfAnyType", "image/png; charset=x", "x"},
    {"NoSubtype", "text; charset=x", "US-ASCII"},
};

INSTANTIATE_TEST_SUITE_P(Rows, CharsetOf, testing::ValuesIn(kTypes));

TEST(CharsetOf, AMessageWithoutType) {
  EXPECT_EQ(content_type_charset(*parsed("A: b\n\nbody\n")), "US-ASCII");
}

TEST(DecodedBodyText, ReplacesWhatWasThere) {
  DwString out("replaced");
  decoded_body_text(*parsed("A: b\n\n"), out);
  EXPECT_EQ(bytes_of(out), "");
}

TEST(UpToNul, EndsAtTheFirstNul) {
  EXPECT_EQ(up_to_nul(DwString("abc")), "abc");
  EXPECT_EQ(up_to_nul(DwString("a\0b\0", 4)), "a");
  EXPECT_EQ(up_to_nul(DwString("\0b", 2)), "");
  EXPECT_EQ(up_to_nul(DwString()), "");
}

TEST(UpToNul, EndsWithATextThatHasNone) {
  const auto message = parsed("Subject: a\nDate: b\n\n");
  EXPECT_EQ(up_to_nul(message->Headers().Subject().AsString()), "a");
}

}  // namespace
