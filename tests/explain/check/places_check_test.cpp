#include <filesystem>
#include <fstream>

#include "../../named_row.h"
#include "../../scratch_directory.h"
#include "checked_database.h"

namespace {

namespace fs = std::filesystem;

// A mail server with a name and a limit, and an attachment store.
class Places : public CheckedDatabase {
 protected:
  Places() {
    inspection_.qmail_root = root_.Path("");
    inspection_.mail_names = root_.Path("mail");
    fs::create_directory(root_.Path("control"));
    fs::create_directory(root_.Path("mail"));
    Write("me", "mail.example\n");
    Write("databytes", "20000000\n");
  }

  void Write(const std::string& name, const std::string& text) {
    std::ofstream(root_.Path("control/" + name)) << text;
  }

  // Without what is about this machine's own /tmp.
  std::string Codes() {
    CodesOf(check_places);
    std::string codes;
    for (const Finding& finding : inspection_.findings) {
      const std::string code = finding.code;
      if (code.rfind("tmp_", 0) != 0) codes += (codes.empty() ? "" : " ") + code;
    }
    return codes;
  }

  ScratchDirectory root_;
};

TEST_F(Places, AreRight) {
  EXPECT_EQ(Codes(), "");
}

TEST_F(Places, OfTheMailServerAreNeeded) {
  inspection_.qmail_root = "/nowhere";
  EXPECT_EQ(Codes(), "qmail_root_missing server_name_missing no_size_limit");
  inspection_.qmail_root = "";
  EXPECT_EQ(Codes(), "");
}

TEST_F(Places, IncludeTheServersName) {
  Write("me", "");
  EXPECT_EQ(Codes(), "server_name_missing");
  fs::remove(root_.Path("control/me"));
  EXPECT_EQ(Codes(), "server_name_missing");
}

TEST_F(Places, IncludeTheStore) {
  fs::permissions(root_.Path("mail"), fs::perms(0707));
  EXPECT_EQ(Codes(), "store_writable");
  fs::permissions(root_.Path("mail"), fs::perms(0770));
  EXPECT_EQ(Codes(), "");
  inspection_.mail_names = root_.Path("control/me");
  EXPECT_EQ(Codes(), "store_missing");
  inspection_.mail_names = root_.Path("none");
  EXPECT_EQ(Codes(), "store_missing");
  inspection_.mail_names = "";
  EXPECT_EQ(Codes(), "");
}

struct Limit : NamedRow {
  const char* text;
  const char* code;
};

class SizeLimits : public Places, public testing::WithParamInterface<Limit> {};

TEST_P(SizeLimits, AreRead) {
  Write("databytes", GetParam().text);
  EXPECT_EQ(Codes(), GetParam().code);
}

constexpr Limit kLimits[] = {
    {"Right", "1024\n", ""},
    {"Small", "1023\n", "size_limit_unlikely"},
    {"WithAUnit", "20M\n", "size_limit_unlikely"},
    {"LargeWithAUnit", "20000k\n", "size_limit_unlikely"},
    {"Zero", "0\n", "no_size_limit"},
    {"Negative", "-1\n", "no_size_limit"},
    {"Words", "ten\n", "no_size_limit"},
    {"Empty", "", "no_size_limit"},
    {"Largest", "2147483647\n", ""},
    {"TooLarge", "2147483648\n", "size_limit_too_large"},
};

INSTANTIATE_TEST_SUITE_P(Files, SizeLimits, testing::ValuesIn(kLimits),
                         [](const auto& tested) { return tested.param.name; });

TEST_F(Places, NeedALimit) {
  fs::remove(root_.Path("control/databytes"));
  EXPECT_EQ(Codes(), "no_size_limit");
  EXPECT_NE(inspection_.findings.back().text.find("databytes is missing, so there is no limit"),
            std::string::npos);
}

}  // namespace
