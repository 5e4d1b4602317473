#include <gmock/gmock.h>

#include "../../named_row.h"
#include "answering.h"

namespace {

using testing::ElementsAre;

TEST_F(Answering, ForwardsBeforeItReplies) {
  database_.Answer("select address from resp_forward where rn_id=7",
                   {{"anna@colleague.example"}, {std::nullopt}, {"ben@x.example; id"}});
  Answer();
  EXPECT_THAT(effects_.commands,
              ElementsAre(Forwarding(" anna@colleague.example ben@x.example; id "), Reply()));
  EXPECT_EQ(facts_.forwarding, " anna@colleague.example ben@x.example; id ");
}

struct Addresses : NamedRow {
  std::optional<std::string> row;
  bool Repairs::*repair;  // null for none
  std::string command;    // the addresses in it; empty for no command
};

class ForwardingAddresses : public Answering, public testing::WithParamInterface<Addresses> {};

TEST_P(ForwardingAddresses, AreMailedTo) {
  const Addresses& row = GetParam();
  database_.Answer("resp_forward", {{row.row}});
  if (row.repair != nullptr) switches_.repairs.*row.repair = true;
  testing::internal::CaptureStderr();
  Answer();
  testing::internal::GetCapturedStderr();
  ASSERT_EQ(effects_.commands.size(), row.command.empty() ? 1U : 2U);
  if (!row.command.empty()) {
    EXPECT_EQ(effects_.commands[0], Forwarding(row.command));
  }
  EXPECT_EQ(facts_.forwarding.has_value(), !row.command.empty());
}

const Addresses kAddresses[] = {
    {"Bare", "a@x", nullptr, " a@x "},
    {"OfARowWithoutAny", std::nullopt, nullptr, " "},
    {"OfABlankRow", "  ", nullptr, "    "},
    {"Quoted", "a@x b@y", &Repairs::forwarding, " 'a@x' 'b@y' "},
    {"NotOfARowWithoutAnyIfQuoted", std::nullopt, &Repairs::forwarding, ""},
    {"WithoutOptions", "-bs a@x", &Repairs::options, " a@x "},
    {"NotOfOptionsAlone", "-bs", &Repairs::options, ""},
    {"OfARowWithoutAnyIfOptionsAreLeftOut", std::nullopt, &Repairs::options, " "},
};

INSTANTIATE_TEST_SUITE_P(Rows, ForwardingAddresses, testing::ValuesIn(kAddresses),
                         [](const auto& tested) { return tested.param.name; });

}  // namespace
