// Measures the template engine on a subject's template and on a long one, and a copy.

#include "support/templates.h"

#include <iterator>

#include "samples.h"

namespace {

const NamedValue kValues[] = {
    {"incoming_message_subject", "Your price list"},
    {"orig_emails_sender_mailname", "otto@customer.example"},
    {"orig_emails_subj", "Your price list"},
    {"request_from", "otto@customer.example"},
    {"request_subject", "Your price list"},
};

void fill(benchmark::State& state, const std::string& text) {
  std::string output(2 * text.size() + 1000, '\0');
  measure(state, text.size(), [&] {
    SubstResult result{};
    result.options = kKeepUnknown;
    template_subst('<', '>', kValues, static_cast<int>(std::size(kValues)), text.c_str(),
                   output.data(), static_cast<int>(output.size()) - 1, &result);
    benchmark::DoNotOptimize(output.data());
  });
}

}  // namespace

static void template_of_a_subject(benchmark::State& state) {
  fill(state, "Prices: <request_subject> for <request_from>");
}
BENCHMARK(template_of_a_subject);

static void template_of_placeholders(benchmark::State& state) {
  std::string text;
  while (text.size() < kSampleSize) text += "Thank you, <request_from>, for <nothing> ";
  fill(state, text);
}
BENCHMARK(template_of_placeholders);

static void template_without_placeholders(benchmark::State& state) {
  fill(state, sample_in_utf8());
}
BENCHMARK(template_without_placeholders);

static void template_copied(benchmark::State& state) {
  measure_copy(state, sample_in_utf8());
}
BENCHMARK(template_copied);
