#include "support/conf_text.h"

#include <string>

#include <gtest/gtest.h>

#include "../named_row.h"

using namespace kem;

namespace {

struct Text : NamedRow {
  std::string text;
  const char* value;  // of the key below; null for none
};

class ConfigurationText : public testing::TestWithParam<Text> {};

TEST_P(ConfigurationText, GivesTheFirstValueOfAKey) {
  std::string text = GetParam().text;
  cut_conf_lines(text.data(), text.size());
  const char* const value = find_conf_value(text.data(), text.size(), "ROOT_D");
  if (GetParam().value == nullptr) {
    EXPECT_EQ(value, nullptr);
  } else {
    EXPECT_STREQ(value, GetParam().value);
  }
}

const Text kTexts[] = {
    {{"BlanksAround"}, "   ROOT_D     /var/qmail   \n", "/var/qmail"},
    {{"TabAndCr"}, "ROOT_D\t/var/qmail\r\n", "/var/qmail"},
    {{"VerticalTabAndFormFeed"}, "ROOT_D\v/v\f\n", "/v"},
    {{"TheFirstOfTwo"}, "ROOT_D /first\nROOT_D /second\n", "/first"},
    {{"InnerBlanks"}, "ROOT_D /with inner  spaces\n", "/with inner  spaces"},
    {{"NoNewlineAtTheEnd"}, "ROOT_D /no/newline", "/no/newline"},
    {{"BlanksWithoutANewlineAreKept"}, "ROOT_D /kept  ", "/kept  "},
    {{"AfterALongerKey"}, "ROOT_D_X /other\nROOT_D /this\n", "/this"},
    {{"AfterBlankLines"}, "\n\n \t \nROOT_D /after\n", "/after"},
    {{"AfterAKeyWithoutAValue"}, "ROOT_D\nROOT_D /second\n", "/second"},
    {{"OneLineAlone"}, "\n", nullptr},
    {{"Comment"}, "#ROOT_D /x\n", nullptr},
    {{"OtherCase"}, "root_d /x\n", nullptr},
    {{"EqualsSign"}, "ROOT_D=/x\n", nullptr},
    {{"KeyAlone"}, "ROOT_D\n", nullptr},
    {{"KeyAloneAtTheEnd"}, "ROOT_D", nullptr},
    {{"BlanksAlone"}, "ROOT_D   ", ""},
    {{"Nothing"}, "", nullptr},
};

INSTANTIATE_TEST_SUITE_P(Files, ConfigurationText, testing::ValuesIn(kTexts),
                         [](const auto& tested) { return tested.param.name; });

}  // namespace
