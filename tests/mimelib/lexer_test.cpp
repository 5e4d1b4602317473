#include "mimelib/lexer.h"

#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "../named_row.h"

using namespace std::string_view_literals;

namespace {

constexpr auto kAddress = Lexer::Syntax::kAddress;
constexpr auto kMime = Lexer::Syntax::kMime;

char letter_of(Token::Kind kind) {
  switch (kind) {
    case Token::Kind::kSpecial:
      return 'S';
    case Token::Kind::kAtom:
      return 'A';
    case Token::Kind::kQuoted:
      return 'Q';
    case Token::Kind::kDomainLiteral:
      return 'D';
    case Token::Kind::kEnd:
      break;
  }
  return 'E';
}

// The tokens of a text, one in each line, after the letter of its kind.
std::string tokens_of(std::string_view text, Lexer::Syntax syntax) {
  std::string all;
  Lexer lexer(text, syntax);
  for (Token token = lexer.Next(); token.kind != Token::Kind::kEnd; token = lexer.Next()) {
    all += std::string(1, letter_of(token.kind)) + " " + std::string(token.text) + "\n";
  }
  EXPECT_EQ(lexer.position(), text.size());
  EXPECT_EQ(lexer.Next().kind, Token::Kind::kEnd) << "after the end";
  return all;
}

struct Field : NamedRow {
  Lexer::Syntax syntax;
  std::string_view text;
  std::string_view want;
};

class LexerField : public testing::TestWithParam<Field> {};

TEST_P(LexerField, IsSplitInto) {
  EXPECT_EQ(tokens_of(GetParam().text, GetParam().syntax), GetParam().want);
}

constexpr Field kFields[] = {
    {"NothingOfNothing", kAddress, "", ""},
    {"NothingOfWhiteSpace", kAddress, " \t\r\n", ""},
    {"Address", kAddress, "ann@example.org", "A ann\nS @\nA example\nS .\nA org\n"},
    {"AddressSpecials", kAddress, "<>@,;:.\\])",
     "S <\nS >\nS @\nS ,\nS ;\nS :\nS .\nS \\\nS ]\nS )\n"},
    {"AddressAtomOfMimeSpecials", kAddress, "a/b=c?d", "A a/b=c?d\n"},
    {"MimeType", kMime, "text/plain; charset=utf-8",
     "A text\nS /\nA plain\nS ;\nA charset\nS =\nA utf-8\n"},
    {"MimeSpecials", kMime, "<>@,;:\\/]?=)",
     "S <\nS >\nS @\nS ,\nS ;\nS :\nS \\\nS /\nS ]\nS ?\nS =\nS )\n"},
    {"MimeAtomWithDots", kMime, "a.b", "A a.b\n"},
    {"MimeBracketsAreALiteral", kMime, "a=[b; c]d", "A a\nS =\nD [b; c]\nA d\n"},
    {"NothingAfterAnOpenMimeBracket", kMime, "a[b; c", "A a\n"},
    {"AtomsAtWhiteSpace", kAddress, "a b\tc\r\n d", "A a\nA b\nA c\nA d\n"},
    {"AtomsAtControlCharacters", kAddress, "v\x01w\x0Fx\x11y\x1Fz", "A v\nA w\nA x\nA y\nA z\n"},
    {"AtomWithDle", kAddress, "a\x10z \x10", "A a\x10z\nA \x10\n"},
    {"AtomWithDel", kAddress, "a\x7Fz \x7F", "A a\x7Fz\nA \x7F\n"},
    {"MimeAtomsWithDleAndDel", kMime, "a\x10=\x7Fz", "A a\x10\nS =\nA \x7Fz\n"},
    {"AtomsAtNul", kAddress, "a\0b"sv, "A a\nA b\n"},
    {"AtomOfEightBitBytes", kAddress, "J\xC3\xBC\xA0\x80\xFF", "A J\xC3\xBC\xA0\x80\xFF\n"},
    {"AtomUpToQuote", kAddress, "a\"b\"c", "A a\nQ \"b\"\nA c\n"},

    {"QuotedString", kAddress, "\"a b, <c>\"@d", "Q \"a b, <c>\"\nS @\nA d\n"},
    {"EmptyQuotedString", kMime, "\"\"", "Q \"\"\n"},
    {"QuotedQuote", kAddress, R"("a\"b"c)", "Q \"a\\\"b\"\nA c\n"},
    {"QuotedBackslash", kAddress, R"("a\\"b)", "Q \"a\\\\\"\nA b\n"},
    {"QuotedLineEnd", kAddress, "\"a\r\n b\"", "Q \"a\r\n b\"\n"},
    {"QuotedNul", kAddress, "\"a\0b\""sv, "Q \"a\0b\"\n"sv},
    {"CommentInQuotesIsText", kAddress, "\"(a)\"", "Q \"(a)\"\n"},
    {"NothingAfterAnOpenQuote", kAddress, "a \"b, c", "A a\n"},
    {"NothingAfterAQuotedEnd", kAddress, "\"a\\", ""},
    {"NothingAfterALastQuote", kAddress, "a\"", "A a\n"},

    {"DomainLiteral", kAddress, "a@[IPv6:::1]b", "A a\nS @\nD [IPv6:::1]\nA b\n"},
    {"EmptyDomainLiteral", kAddress, "[]", "D []\n"},
    {"BracketInLiteral", kAddress, "[a[b]c", "D [a[b]\nA c\n"},
    {"QuotedBracketInLiteral", kAddress, R"([a\]b]c)", "D [a\\]b]\nA c\n"},
    {"NothingAfterAnOpenLiteral", kAddress, "a [b, c", "A a\n"},

    {"CommentBetween", kAddress, "a(b)c", "A a\nA c\n"},
    {"CommentAlone", kMime, "(a)", ""},
    {"EmptyComment", kAddress, "a()b", "A a\nA b\n"},
    {"NestedComments", kAddress, "((a)b(c(d)))e", "A e\n"},
    {"QuotedParenthesisInComment", kAddress, R"((a\)b)c)", "A c\n"},
    {"QuotedParenthesisToOpen", kAddress, R"((a\(b)c)", "A c\n"},
    {"QuoteInCommentIsText", kAddress, "(\")a", "A a\n"},
    {"BracketInCommentIsText", kAddress, "([)a", "A a\n"},
    {"TwoComments", kMime, "(a) (b)c", "A c\n"},
    {"NothingAfterAnOpenComment", kAddress, "a(b c", "A a\n"},
    {"NothingAfterAHalfClosedComment", kAddress, "a((b)c", "A a\n"},
    {"NothingAfterAQuotedEndOfComment", kAddress, "a(\\", "A a\n"},
};

INSTANTIATE_TEST_SUITE_P(Rows, LexerField, testing::ValuesIn(kFields));

TEST(Lexer, StartsWhereItIsTold) {
  Lexer lexer("ann, bob", kAddress, 4);
  EXPECT_EQ(lexer.Next().text, "bob");
}

TEST(Lexer, SaysWhereTheNextTokenIsLookedFor) {
  Lexer lexer(" a (b) @c ", kAddress);
  EXPECT_EQ(lexer.position(), 0U);
  lexer.Next();
  EXPECT_EQ(lexer.position(), 2U);
  EXPECT_TRUE(lexer.Next().IsSpecial('@'));
  EXPECT_EQ(lexer.position(), 8U);
  lexer.Next();
  EXPECT_EQ(lexer.position(), 9U);
  EXPECT_EQ(lexer.Next().kind, Token::Kind::kEnd);
  EXPECT_EQ(lexer.position(), 10U);
}

TEST(Lexer, SkipsPastASpecial) {
  Lexer lexer("a \";\" [;] (;) ; b; c", kMime);
  lexer.SkipPast(';');
  EXPECT_EQ(lexer.Next().text, "b");
  lexer.SkipPast(';');
  EXPECT_EQ(lexer.Next().text, "c");
  lexer.SkipPast(';');
  EXPECT_EQ(lexer.Next().kind, Token::Kind::kEnd);
}

TEST(Lexer, ReadsOnIndependentlyInACopy) {
  Lexer lexer("a b c", kAddress);
  lexer.Next();
  Lexer copy = lexer;
  EXPECT_EQ(copy.Next().text, "b");
  EXPECT_EQ(copy.Next().text, "c");
  EXPECT_EQ(lexer.Next().text, "b");
}

TEST(Token, IsSpecialOnlyAsPunctuation) {
  EXPECT_TRUE((Token{Token::Kind::kSpecial, "@"}.IsSpecial('@')));
  EXPECT_FALSE((Token{Token::Kind::kSpecial, "@"}.IsSpecial(',')));
  EXPECT_FALSE((Token{Token::Kind::kAtom, "@"}.IsSpecial('@')));
  EXPECT_FALSE((Token{Token::Kind::kEnd, ""}.IsSpecial('@')));
}

TEST(Token, IsAWordAsAtomOrQuotedString) {
  EXPECT_TRUE((Token{Token::Kind::kAtom, "a"}.IsWord()));
  EXPECT_TRUE((Token{Token::Kind::kQuoted, "\"a\""}.IsWord()));
  EXPECT_FALSE((Token{Token::Kind::kDomainLiteral, "[a]"}.IsWord()));
  EXPECT_FALSE((Token{Token::Kind::kSpecial, "."}.IsWord()));
  EXPECT_FALSE((Token{Token::Kind::kEnd, ""}.IsWord()));
}

TEST(LexerDepth, ReadsTwoHundredThousandNestedComments) {
  const std::string text = std::string(200000, '(') + std::string(200000, ')') + "a";
  EXPECT_EQ(tokens_of(text, kAddress), "A a\n");
}

TEST(LexerDepth, ReadsTwoHundredThousandOpenComments) {
  EXPECT_EQ(tokens_of("a" + std::string(200000, '('), kAddress), "A a\n");
}

TEST(LexerDepth, ReadsAMillionBackslashes) {
  EXPECT_EQ(tokens_of("\"" + std::string(1000000, '\\') + "\"a", kAddress),
            "Q \"" + std::string(1000000, '\\') + "\"\nA a\n");
}

}  // namespace
