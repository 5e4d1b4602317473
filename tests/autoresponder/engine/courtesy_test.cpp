#include "autoresponder/engine/courtesy.h"

#include <functional>

#include <gtest/gtest.h>

#include "../../named_row.h"

namespace {

struct Row : NamedRow {
  std::function<void(IncomingMessage&)> change;
  const char* want;
};

class ObjectionOfHeader : public testing::TestWithParam<Row> {};

TEST_P(ObjectionOfHeader, Is) {
  IncomingMessage message;
  message.sender = "otto@customer.example";
  GetParam().change(message);
  EXPECT_EQ(courtesy_objection_of_header(message), GetParam().want);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ObjectionOfHeader,
    testing::Values(
        Row{"None", [](IncomingMessage&) {}, ""},
        Row{"NullEnvelopeSender", [](IncomingMessage& m) { m.envelope_sender = ""; },
            "null sender"},
        Row{"BounceOfABounce", [](IncomingMessage& m) { m.envelope_sender = "#@[]"; },
            "null sender"},
        Row{"NullReturnPath", [](IncomingMessage& m) { m.courtesy.has_null_return_path = true; },
            "null sender"},
        Row{"NotAnotherEnvelopeSender",
            [](IncomingMessage& m) { m.envelope_sender = "otto@customer.example"; }, ""},
        Row{"AutoSubmitted", [](IncomingMessage& m) { m.courtesy.is_auto_submitted = true; },
            "Auto-Submitted"},
        Row{"List", [](IncomingMessage& m) { m.courtesy.list_field = "List-Post"; }, "List-Post"},
        Row{"Precedence", [](IncomingMessage& m) { m.courtesy.is_bulk = true; }, "Precedence"},
        Row{"Suppress", [](IncomingMessage& m) { m.courtesy.suppresses_replies = true; },
            "X-Auto-Response-Suppress"},
        Row{"Spam", [](IncomingMessage& m) { m.courtesy.is_spam = true; }, "spam"},
        Row{"MachineSender", [](IncomingMessage& m) { m.sender = "noreply@customer.example"; },
            "sender is a machine"},
        Row{"MachineEnvelopeSender",
            [](IncomingMessage& m) { m.envelope_sender = "news-request@customer.example"; },
            "sender is a machine"},
        Row{"MachineReturnPath",
            [](IncomingMessage& m) { m.courtesy.return_path = "noreply@customer.example"; },
            "sender is a machine"},
        Row{"NotTheReturnPathWhereTheEnvelopeIsKnown",
            [](IncomingMessage& m) {
              m.courtesy.return_path = "noreply@customer.example";
              m.envelope_sender = "otto@customer.example";
            },
            ""},
        Row{"TheFirstOfSeveral",
            [](IncomingMessage& m) {
              m.sender = "noreply@customer.example";
              m.courtesy.is_spam = true;
              m.courtesy.is_bulk = true;
            },
            "Precedence"}));

}  // namespace
