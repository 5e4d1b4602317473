#include <algorithm>
#include <string>
#include <string_view>

#include "difference_rules.h"

namespace {

constexpr auto npos = std::string::npos;

// Changes both addresses; the callback also gets the field that each comes from.
template <class Change>
void change_addresses(SecondOpinion& opinion, Change change) {
  change(opinion.reading.sender, opinion.sender_field);
  change(opinion.reading.recipient, opinion.recipient_field);
}

bool is_word_byte(char c) {
  return c > ' ' && std::string_view("()<>@,;:\\\".[]").find(c) == npos;
}

std::string with_blanks_for_line_ends(const std::string& text) {
  std::string line;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text.compare(i, 2, "\r\n") == 0) continue;
    line += text[i] == '\n' ? ' ' : text[i];
  }
  return line;
}

void keep_ascii_domain(SecondOpinion& opinion) {
  const auto is_ascii = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
  change_addresses(opinion, [is_ascii](std::string& address, const std::string& /*field*/) {
    if (std::all_of(address.begin(), address.end(), is_ascii)) return;
    InternetAddress* mailbox = internet_address_mailbox_new(nullptr, address.c_str());
    address = internet_address_mailbox_get_idn_addr(INTERNET_ADDRESS_MAILBOX(mailbox));
    g_object_unref(mailbox);
  });
}

void keep_last_dot_of_domain(SecondOpinion& opinion) {
  change_addresses(opinion, [](std::string& address, const std::string& field) {
    const std::string domain = address.substr(address.rfind('@') + 1);
    const size_t start = domain.empty() ? npos : field.find(domain + ".");
    if (start == npos || start == 0 || is_word_byte(field[start - 1])) return;
    const size_t after = start + domain.size() + 1;
    if (after == field.size() || !is_word_byte(field[after])) address += '.';
  });
}

std::string without_blanks(std::string text) {
  text.erase(std::remove_if(text.begin(), text.end(), [](char c) { return c <= ' '; }), text.end());
  return text;
}

void keep_domain_literal_as_written(SecondOpinion& opinion) {
  change_addresses(opinion, [](std::string& address, const std::string& field) {
    if (address.empty() || address.back() != ']') return;
    const size_t literal = address.rfind('[');
    const std::string wanted = without_blanks(address.substr(literal));
    for (size_t start = field.find('['); start != npos; start = field.find('[', start + 1)) {
      const std::string written = field.substr(start, field.find(']', start) + 1 - start);
      if (without_blanks(written) != wanted) continue;
      address.replace(literal, npos, written);
      return;
    }
  });
}

void make_line_ends_in_quotes_blanks(SecondOpinion& opinion) {
  change_addresses(opinion, [](std::string& address, const std::string& /*field*/) {
    const size_t at = std::min(address.rfind('@'), address.size());
    address = with_blanks_for_line_ends(address.substr(0, at)) + address.substr(at);
  });
}

// Cuts the last piece before `joint_start`.
void cut_last_piece(std::vector<SubjectPiece>& pieces, size_t joint_start, size_t joint_end) {
  const std::string text = pieces.back().text;
  const std::string joint = pieces.back().joint;
  pieces.back() = {text.substr(0, joint_start), text.substr(joint_start, joint_end - joint_start)};
  pieces.push_back({text.substr(joint_end), joint});
}

void decode_pieces(SecondOpinion& opinion) {
  opinion.reading.subject.clear();
  for (const SubjectPiece& piece : opinion.subject) {
    opinion.reading.subject += gmime_decode_words(piece.text) + piece.joint;
  }
}

void keep_folds_of_subject(SecondOpinion& opinion) {
  std::vector<SubjectPiece>& pieces = opinion.subject;
  for (;;) {
    const std::string& text = pieces.back().text;
    const size_t line_end = text.find('\n');
    if (line_end == npos) break;
    const size_t last = text.find_last_not_of(" \t\r", line_end - 1);
    const size_t start = line_end == 0 || last == npos ? 0 : last + 1;
    cut_last_piece(pieces, start, text.find_first_not_of(" \t", line_end + 1));
  }
  if (pieces.size() > 1) decode_pieces(opinion);
}

// Cuts the subject at blanks between a word and an encoded word, if `joins` accepts the word before
// the blanks, and drops the blanks.
void drop_blanks_after(SecondOpinion& opinion, bool (*joins)(std::string_view word)) {
  std::vector<SubjectPiece> pieces;
  for (const SubjectPiece& piece : opinion.subject) {
    pieces.push_back(piece);
    for (size_t start = 0;;) {
      const std::string_view text = pieces.back().text;
      const size_t end = text.find_first_of(" \t", start);
      const size_t next = text.find_first_not_of(" \t", end);
      if (end == npos || next == npos) break;
      const bool cut = text.substr(next, 2) == "=?" && joins(text.substr(start, end - start));
      start = cut ? 0 : next;
      if (!cut) continue;
      cut_last_piece(pieces, end, next);
      pieces[pieces.size() - 2].joint.clear();
    }
  }
  if (pieces.size() == opinion.subject.size()) return;
  opinion.subject = pieces;
  decode_pieces(opinion);
}

bool ends_with(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

void drop_blanks_after_false_word(SecondOpinion& opinion) {
  drop_blanks_after(opinion, [](std::string_view word) {
    return word.substr(0, 2) != "=?" && ends_with(word, "?=");
  });
}

void decode_padded_words_one_by_one(SecondOpinion& opinion) {
  drop_blanks_after(opinion, [](std::string_view word) {
    return word.substr(0, 2) == "=?" && ends_with(word, "=?=");
  });
}

// For an encoded word "=?charset*language?...".
void lose_subject_with_language(SecondOpinion& opinion) {
  for (const SubjectPiece& piece : opinion.subject) {
    for (size_t word = piece.text.find("=?"); word != npos;
         word = piece.text.find("=?", word + 2)) {
      const size_t end = piece.text.find_first_of("*? \t", word + 2);
      if (end != npos && piece.text[end] == '*') opinion.reading.subject.clear();
    }
  }
}

}  // namespace

const std::vector<DifferenceRule>& header_rules() {
  static const std::vector<DifferenceRule> rules = {
      {"ASCII domain kept",
       "GMime shows an internationalised domain in Unicode. The address is a key of the database "
       "and the envelope's recipient, so no name is converted.",
       keep_ascii_domain},
      {"last dot of a domain kept", "GMime drops it. The domain is used as the sender wrote it.",
       keep_last_dot_of_domain},
      {"domain literal kept as written",
       "GMime drops blanks and line ends in it. A domain literal is one token.",
       keep_domain_literal_as_written},
      {"line ends in a quoted local part become blanks",
       "GMime keeps them. A quoted local part is unfolded, each line end to a blank.",
       make_line_ends_in_quotes_blanks},
      {"folds of a subject kept",
       "GMime unfolds first. For the decoder of encoded words only blank and TAB separate words, "
       "so the line end and the blanks after it stay, between two encoded words too.",
       keep_folds_of_subject},
      {"blanks lost after a word that ends like an encoded word",
       "Of the word in front of an encoded word the decoder looks at the last two bytes only.",
       drop_blanks_after_false_word},
      {"encoded words decoded one by one",
       "GMime joins neighbours in the same charset and encoding, and the padding of one loses it "
       "the rest. Each word ends in itself (RFC 2047, 5).",
       decode_padded_words_one_by_one, 15},
      {"subject with a language lost",
       "GMime knows the language of an encoded word (RFC 2231, 5). The decoder takes charset and "
       "language for a charset that nobody knows, and such a subject counts as empty.",
       lose_subject_with_language},
  };
  return rules;
}
