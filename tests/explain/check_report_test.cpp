#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "explain/reports.h"

namespace {

const Findings kFindings = {
    {Severity::kError, "an_error", "The domain \x1b[2J is bad."},
    {Severity::kWarning, "a_warning", "Small."},
    {Severity::kUnseen, "not_seen", "x could not be looked at: y"},
    {Severity::kAdvice, "an_advice", "Better."},
};

std::string text_of(const Findings& findings, bool in_colour) {
  std::ostringstream out;
  TextStyle style;
  style.in_colour = in_colour;
  write_check_text(out, findings, {}, style);
  return out.str();
}

constexpr char kEnd[] =
    "Switches: repairs off, courtesy off.\n"
    "Looked at: configuration, program, commands, directories, database, and the mail server's "
    "control and .qmail files. Not at: what other servers send, and whether mail leaves.\n";

TEST(CheckReport, IsOneLinePerFindingThatIsSafeOnATerminal) {
  EXPECT_EQ(text_of(kFindings, false),
            "error: The domain \\x1B[2J is bad.\n"
            "warning: Small.\n"
            "not seen: x could not be looked at: y\n"
            "advice: Better.\n" +
                std::string(kEnd));
}

TEST(CheckReport, ColoursTheSeverity) {
  EXPECT_EQ(text_of({{Severity::kError, "an_error", "Bad."}}, true),
            "\033[31merror\033[0m: Bad.\n" + std::string(kEnd));
  EXPECT_EQ(text_of({{Severity::kAdvice, "an_advice", "Better."}}, true),
            "\033[1madvice\033[0m: Better.\n" + std::string(kEnd));
}

TEST(CheckReport, SaysThatNothingWasFound) {
  EXPECT_EQ(text_of({}, false), "This server is set up right.\n" + std::string(kEnd));
}

std::string json_of(const Findings& findings) {
  std::ostringstream out;
  write_check_json(out, findings, {}, {});
  return out.str();
}

TEST(CheckReport, TellsProgramsTheCodeOfEachFinding) {
  EXPECT_EQ(json_of({{Severity::kUnseen, "not_seen", "x"}}),
            "{\n"
            "  \"set_up_right\": false,\n"
            "  \"switches\": {\n"
            "    \"repairs\": false,\n"
            "    \"courtesy\": false\n"
            "  },\n"
            "  \"findings\": [\n"
            "    {\n"
            "      \"severity\": \"unseen\",\n"
            "      \"code\": \"not_seen\",\n"
            "      \"text\": \"x\"\n"
            "    }\n"
            "  ]\n"
            "}\n");
}

TEST(CheckReport, TakesAServerForSetUpRightWhereThereIsNothingButAdvice) {
  EXPECT_NE(json_of({kFindings[3]}).find("\"set_up_right\": true"), std::string::npos);
  EXPECT_NE(json_of({kFindings[3], kFindings[1]}).find("\"set_up_right\": false"),
            std::string::npos);
}

}  // namespace
