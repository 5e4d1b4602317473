#include "support/report.h"

#include <cerrno>
#include <cstdlib>
#include <string>
#include <string_view>
#include <sys/resource.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "../named_row.h"
#include "support/base/owned.h"

namespace {

constexpr const char* kNoSuchFile = "\nSystem error 2: No such file or directory";
constexpr size_t kNoSuchFileLength = 42;

struct Printed {
  std::string on_stderr;
  std::string on_stdout;
};

// What a call prints on both streams while the program's path is `program` (or null).
template <class Call>
Printed printed(const char* program, Call call) {
  const char* const before = prog_name;
  prog_name = program;
  testing::internal::CaptureStderr();
  testing::internal::CaptureStdout();
  call();
  Printed result;
  result.on_stdout = testing::internal::GetCapturedStdout();
  result.on_stderr = testing::internal::GetCapturedStderr();
  prog_name = before;
  return result;
}

// What a warning prints when `errno` is `error` at the call.
Printed warning(const char* program, int error, const std::string& message) {
  return printed(program, [&] {
    errno = error;
    report_error(0, 0, "%s", message.c_str());
  });
}

struct Message : NamedRow {
  const char* program;
  int error;
  const char* message;
  const char* want;
};

class Report : public testing::TestWithParam<Message> {};

TEST_P(Report, PrintsOnBothStreams) {
  const Message& row = GetParam();
  const Printed got = warning(row.program, row.error, row.message);
  EXPECT_EQ(got.on_stderr, row.want);
  EXPECT_EQ(got.on_stdout, row.want);
}

constexpr Message kMessages[] = {
    {"NoPrefixWithoutProgramName", nullptr, 0, "text", "text\n"},
    {"BaseNameOfThePath", "/usr/lib/kem/autoresponder", 0, "text", "autoresponder: text\n"},
    {"NameWithoutPath", "autoresponder", 0, "text", "autoresponder: text\n"},
    {"RelativePath", "./bin/autoresponder", 0, "text", "autoresponder: text\n"},
    {"NoSecondNewline", "program", 0, "text\n", "program: text\n"},
    {"NewlinesInside", "program", 0, "one\ntwo", "program: one\ntwo\n"},
    {"TwoNewlinesAtTheEndKept", nullptr, 0, "text\n\n", "text\n\n"},
    {"EmptyText", "program", 0, "", "program: \n"},
    {"EmptyTextWithoutProgramName", nullptr, 0, "", "\n"},
    {"PercentSignsOfTheText", nullptr, 0, "100%s%n", "100%s%n\n"},
    {"SystemError", "program", 2, "text",
     "program: text\nSystem error 2: No such file or directory\n"},
    {"SystemErrorWithoutProgramName", nullptr, 13, "text",
     "text\nSystem error 13: Permission denied\n"},
    {"SystemErrorAfterANewline", "program", 2, "Error: QMAIL_ROOT_D not defined\n",
     "program: Error: QMAIL_ROOT_D not defined\n\nSystem error 2: No such file or directory\n"},
    {"UnknownSystemError", nullptr, 12345, "text",
     "text\nSystem error 12345: Unknown error 12345\n"},
};

INSTANTIATE_TEST_SUITE_P(Rows, Report, testing::ValuesIn(kMessages));

struct Length : NamedRow {
  size_t length;
  bool with_suffix;
};

class ReportLength : public testing::TestWithParam<Length> {};

// The buffer holds 4096 bytes, its NUL included, and the suffix has 42.
TEST_P(ReportLength, DecidesAboutTheWholeSuffix) {
  const Length& row = GetParam();
  ASSERT_EQ(std::string(kNoSuchFile).size(), kNoSuchFileLength);
  const std::string text(row.length, 'x');
  for (const char* const program : {static_cast<const char*>(nullptr), "/bin/program"}) {
    const std::string prefix = program != nullptr ? "program: " : "";
    const Printed without_error = warning(program, 0, text);
    EXPECT_EQ(without_error.on_stderr, prefix + text + "\n");
    EXPECT_EQ(without_error.on_stdout, prefix + text + "\n");
    const std::string want = prefix + text + (row.with_suffix ? kNoSuchFile : "") + "\n";
    const Printed with_error = warning(program, ENOENT, text);
    EXPECT_EQ(with_error.on_stderr, want);
    EXPECT_EQ(with_error.on_stdout, want);
  }
}

constexpr Length kLengths[] = {
    {"OfOneByte", 1, true},
    {"WhereTheSuffixJustFits", 4053, true},
    {"WhereTheSuffixIsOneByteTooLong", 4054, false},
    {"WithRoomForOneByte", 4094, false},
    {"OfTheWholeBuffer", 4095, false},
    {"OfTheBufferAndItsNul", 4096, false},
    {"OfAGrownBuffer", 10000, false},
};

INSTANTIATE_TEST_SUITE_P(Rows, ReportLength, testing::ValuesIn(kLengths));

TEST(ReportLength, KeepsTheNewlineOfALongMessage) {
  const std::string text = std::string(4095, 'x') + "\n";
  EXPECT_EQ(warning(nullptr, ENOENT, text).on_stderr, text);
}

TEST(ReportError, FormatsItsArguments) {
  const Printed got = printed("program", [] {
    errno = 0;
    report_error(0, 0, "%s(%d): %c", "text", -7, '!');
  });
  EXPECT_EQ(got.on_stderr, "program: text(-7): !\n");
}

TEST(ReportError, IgnoresTheFlag) {
  const Printed got = printed("program", [] {
    errno = 0;
    report_error(0, 1, "text");
  });
  EXPECT_EQ(got.on_stderr, "program: text\n");
  EXPECT_EQ(got.on_stdout, "program: text\n");
}

// A wide character that the locale cannot write makes the formatting itself fail.
TEST(ReportError, DoesNotReportAnErrorOfTheFormatting) {
  const Printed got = printed(nullptr, [] {
    errno = 0;
    report_error(0, 0, "text %ls", L"\x20AC");
  });
  EXPECT_THAT(got.on_stderr, testing::Not(testing::HasSubstr("System error")));
}

TEST(ReportError, ReportsTheErrorOfTheCallAndNotOfTheFormatting) {
  const Printed got = printed(nullptr, [] {
    errno = ENOENT;
    report_error(0, 0, "text %ls", L"\x20AC");
  });
  EXPECT_THAT(got.on_stderr, testing::EndsWith("\nSystem error 2: No such file or directory\n"));
}

TEST(PutMessage, PrintsNoSystemError) {
  const Printed got = printed("/bin/program", [] {
    errno = ENOENT;
    put_message("text", 0);
  });
  EXPECT_EQ(got.on_stderr, "program: text\n");
  EXPECT_EQ(got.on_stdout, "program: text\n");
}

// Writes both streams to one, so that a death test sees both.
void report_into_one_stream(int status, const char* program, int error, const char* message) {
  dup2(STDERR_FILENO, STDOUT_FILENO);
  prog_name = program;
  errno = error;
  report_error(status, 0, "%s", message);
}

TEST(ReportDeathTest, ExitsWithTheStatusAfterBothStreams) {
  EXPECT_EXIT(report_into_one_stream(1, "/bin/program", 0, "text"), testing::ExitedWithCode(1),
              testing::Eq("program: text\nprogram: text\n"));
  EXPECT_EXIT(report_into_one_stream(7, nullptr, 0, "text\n"), testing::ExitedWithCode(7),
              testing::Eq("text\ntext\n"));
}

TEST(ReportDeathTest, PrintsTheSystemErrorOfAFatalReport) {
  EXPECT_EXIT(report_into_one_stream(1, "/bin/program", ENOENT, "Error: A not defined\n"),
              testing::ExitedWithCode(1),
              testing::Eq("program: Error: A not defined\n"
                          "\n"
                          "System error 2: No such file or directory\n"
                          "program: Error: A not defined\n"
                          "\n"
                          "System error 2: No such file or directory\n"));
}

// Reports must not stay in a stream's buffer, which a crash would lose.
void warn_and_die() {
  static char buffer[4096];
  setvbuf(stderr, buffer, _IOFBF, sizeof buffer);
  report_into_one_stream(0, "/bin/program", 0, "text");
  _exit(4);
}

TEST(ReportDeathTest, WritesAWarningAtOnce) {
  EXPECT_EXIT(warn_and_die(), testing::ExitedWithCode(4),
              testing::Eq("program: text\nprogram: text\n"));
}

TEST(ReportDeathTest, PutMessageExitsWithTheStatus) {
  EXPECT_EXIT(put_message("text", 3), testing::ExitedWithCode(3), testing::HasSubstr("text\n"));
}

#ifndef __SANITIZE_ADDRESS__  // its allocator ignores the limit

// Takes all memory that the process can still get.
void exhaust_memory() {
  constexpr rlimit kNoMore = {1, 1};
  setrlimit(RLIMIT_AS, &kNoMore);
  for (size_t size = size_t{1} << 20; size >= 16; size /= 2) {
    while (void* volatile taken = malloc(size)) static_cast<void>(taken);
  }
}

void report_without_memory(const std::string& message) {
  prog_name = "/bin/program";
  exhaust_memory();
  errno = 0;
  report_error(1, 0, "%s", message.c_str());
}

TEST(ReportDeathTest, SaysSoWhenThereIsNoMemoryForTheMessage) {
  EXPECT_EXIT(report_without_memory("text"), testing::ExitedWithCode(1),
              testing::Eq("program: Can't allocate memory for error message\n"));
}

// There is memory for a first buffer, but none for a larger one.
void report_without_more_memory(const std::string& message) {
  void* volatile room = malloc(4096);  // volatile, or the compiler spares itself both calls
  exhaust_memory();
  free(room);
  errno = ENOENT;
  report_error(1, 0, "%s", message.c_str());
}

TEST(ReportDeathTest, CutsALongMessageThatCannotGrow) {
  const std::string text(5000, 'x');
  EXPECT_EXIT(report_without_more_memory(text), testing::ExitedWithCode(1),
              testing::Eq(std::string(4095, 'x') + "\n"));
}

#endif

TEST(Xasprintf, ReturnsTheFormattedText) {
  const OwnedText text(xasprintf("%s@%s: %d", "info", "example.com", 42));
  EXPECT_STREQ(text.get(), "info@example.com: 42");
}

TEST(Xasprintf, ReturnsAnEmptyText) {
  const OwnedText text(xasprintf("%s", ""));
  EXPECT_STREQ(text.get(), "");
}

TEST(Xasprintf, ReturnsALongText) {
  const std::string long_text(100000, 'x');
  const OwnedText text(xasprintf("<%s>", long_text.c_str()));
  EXPECT_EQ(text.get(), "<" + long_text + ">");
}

char* xvasprintf_of(const char* format, ...) __attribute__((format(printf, 1, 2)));

char* xvasprintf_of(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  char* const text = xvasprintf(format, arguments);
  va_end(arguments);
  return text;
}

TEST(Xasprintf, TakesAnArgumentList) {
  const OwnedText text(xvasprintf_of("%d-%s", 1, "b"));
  EXPECT_STREQ(text.get(), "1-b");
}

// 84 is EILSEQ: the locale has no such character.
TEST(XasprintfDeathTest, EndsTheProcessWhenItCannotFormat) {
  EXPECT_EXIT(OwnedText(xasprintf("%ls", L"\x20AC")), testing::ExitedWithCode(1),
              testing::HasSubstr("Cannot allocate memory: "
                                 "Invalid or incomplete multibyte or wide character\n"
                                 "System error 84: "
                                 "Invalid or incomplete multibyte or wide character\n"));
}

}  // namespace
