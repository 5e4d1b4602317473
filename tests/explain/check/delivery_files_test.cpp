#include "explain/check/delivery_files.h"

#include <filesystem>
#include <fstream>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "../../named_row.h"
#include "../../scratch_directory.h"

namespace {

namespace fs = std::filesystem;

// A home with a Maildir, and an installed program.
class DeliveryFiles : public testing::Test {
 protected:
  DeliveryFiles() {
    fs::create_directories(home_.Path("info/Maildir/new"));
    fs::create_directory(home_.Path("sbin"));
    std::ofstream(Program()) << "";
    inspection_.product_root = home_.Path("");
  }

  std::string Program() const { return home_.Path("sbin/autoresponder"); }

  // Writes the file; "PROGRAM" is the installed one.
  void Write(const std::string& name, std::string text) {
    const std::string word = "PROGRAM";
    const size_t place = text.find(word);
    if (place != std::string::npos) text.replace(place, word.size(), Program());
    std::ofstream(home_.Path(name)) << text;
    fs::permissions(home_.Path(name), fs::perms(0644));
  }

  // The codes of the findings about mail to the extension.
  std::string CodesFor(const std::string& extension, const std::string& dash = "-") {
    check_delivery_files({{"info@shop.example", {1, 1, home_.Path(""), dash, extension}}},
                         inspection_);
    std::string codes;
    for (const Finding& finding : inspection_.findings) {
      codes += std::string(codes.empty() ? "" : " ") + finding.code;
    }
    return codes;
  }

  ScratchDirectory home_;
  Inspection inspection_;
};

struct Lines : NamedRow {
  const char* text;
  const char* codes;
};

class DeliveryLines : public DeliveryFiles, public testing::WithParamInterface<Lines> {};

TEST_P(DeliveryLines, AreReadAsTheMailServerReadsThem) {
  Write(".qmail-info", GetParam().text);
  EXPECT_EQ(CodesFor("info"), GetParam().codes);
}

constexpr Lines kLines[] = {
    {"Right", "./info/Maildir/\n|PROGRAM || exit 0\n", ""},
    {"WithBlanksAtTheEnd", "./info/Maildir/ \t\n|PROGRAM || exit 0 \n", ""},
    {"WithAnotherEnd", "./info/Maildir/\n|PROGRAM; exit 0\n", ""},
    {"AfterAnotherCommand", "./info/Maildir/\n|preline PROGRAM || true\n", ""},
    {"ToAFile", "./info/mbox\n|PROGRAM || exit 0\n", ""},
    {"ToAnAddress", "&otto@customer.example\n|PROGRAM || exit 0\n", ""},
    {"WithoutAnEnd", "./info/Maildir/\n|PROGRAM\n", "failure_delivered_again"},
    {"WithoutTheProgram", "./info/Maildir/\n", "program_not_started"},
    {"WithAComment", "./info/Maildir/\n#|PROGRAM || exit 0\n", "program_not_started"},
    {"WithALongerName", "./info/Maildir/\n|/opt/autoresponder2 || exit 0\n", "program_not_started"},
    {"WithAnotherProgram", "./info/Maildir/\n|/nowhere/autoresponder || exit 0\n",
     "program_elsewhere"},
    {"WithTheProgramAlone", "|PROGRAM || exit 0\n", "message_not_kept"},
    {"WithoutTheMaildir", "./otto/Maildir/\n|PROGRAM || exit 0\n", "maildir_missing"},
    {"WithADistantMaildir", "/nowhere/Maildir/\n|PROGRAM || exit 0\n", "maildir_missing"},
    {"Empty", "", "program_not_started"},
};

INSTANTIATE_TEST_SUITE_P(Lines, DeliveryLines, testing::ValuesIn(kLines),
                         [](const auto& tested) { return tested.param.name; });

constexpr char kRight[] = "./info/Maildir/\n|PROGRAM || exit 0\n";

struct Name : NamedRow {
  const char* file;
  const char* extension;
  const char* codes;
};

class DeliveryFileNames : public DeliveryFiles, public testing::WithParamInterface<Name> {};

TEST_P(DeliveryFileNames, AreThoseOfTheMailServer) {
  Write(GetParam().file, kRight);
  EXPECT_EQ(CodesFor(GetParam().extension), GetParam().codes);
}

constexpr Name kNames[] = {
    {"ForTheExtension", ".qmail-info", "info", ""},
    {"InLowerCase", ".qmail-info", "INFO", ""},
    {"WithColonsForDots", ".qmail-old:info", "old.info", ""},
    {"ForItsBeginning", ".qmail-sales-default", "sales-eu", ""},
    {"ForAll", ".qmail-default", "sales-eu", ""},
    {"NotForAnother", ".qmail-otto", "info", "delivery_file_missing"},
    {"NotForABeginningWithoutDash", ".qmail-sal-default", "sales", "delivery_file_missing"},
};

INSTANTIATE_TEST_SUITE_P(Names, DeliveryFileNames, testing::ValuesIn(kNames),
                         [](const auto& tested) { return tested.param.name; });

TEST_F(DeliveryFiles, DoNotCountIfTheyArePipes) {
  ASSERT_EQ(mkfifo(home_.Path(".qmail-info").c_str(), 0644), 0);
  EXPECT_EQ(CodesFor("info"), "delivery_file_missing");
}

TEST_F(DeliveryFiles, OfAUserHaveADefault) {
  EXPECT_EQ(CodesFor("", ""), "program_not_started");
}

TEST_F(DeliveryFiles, AreRefusedIfEverybodyMayWriteThem) {
  Write(".qmail-info", kRight);
  fs::permissions(home_.Path(".qmail-info"), fs::perms(0646));
  EXPECT_EQ(CodesFor("info"), "delivery_file_refused");
}

TEST_F(DeliveryFiles, AreRefusedIfExecutable) {
  Write(".qmail-info", kRight);
  fs::permissions(home_.Path(".qmail-info"), fs::perms(0744));
  EXPECT_EQ(CodesFor("info"), "delivery_file_refused");
}

TEST_F(DeliveryFiles, WaitForAnotherModeOfTheHome) {
  Write(".qmail-info", kRight);
  for (const unsigned mode : {0702U, 01700U}) {
    fs::permissions(home_.Path(""), fs::perms(mode));
    EXPECT_EQ(CodesFor("info"), "home_unusable") << mode;
    inspection_.findings.clear();
  }
}

TEST_F(DeliveryFiles, WaitForTheHome) {
  check_delivery_files({{"info@shop.example", {1, 1, home_.Path("none"), "-", "info"}},
                        {"otto@shop.example", {1, 1, home_.Path("none"), "-", "otto"}}},
                       inspection_);
  ASSERT_EQ(inspection_.findings.size(), 1U);
  EXPECT_EQ(inspection_.findings[0].text,
            home_.Path("none") +
                " is no directory: mail to info@shop.example and 1 more "
                "waits. Make it, or correct users/assign and run qmail-newu.");
}

}  // namespace
