// Compares the placeholder engine with a slow one that first expands the whole template and then
// cuts it.
//
// An input is: the options, the capacity in two bytes, the delimiters, pairs of texts that each end
// in a NUL (an empty name ends the table, "-" means a null value), and the template.

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "fuzz.h"
#include "support/templates.h"

namespace {

constexpr size_t kMaxNameLength = 32;
constexpr size_t kMaxPairs = 64;
constexpr char kGuard = '#';

using Table = std::map<std::string, std::string>;

bool is_null(const std::string& value) {
  return value == "-";
}

struct Template {
  int options = 0;
  int capacity = 0;
  char open = '<';
  char close = '>';
  Table table;
  std::string text;
};

Template read(Input& input) {
  constexpr const char* kDelimiters[] = {"<>", "%%", "{}", "><"};
  Template made;
  made.options = static_cast<int>(input.Byte() % 4);
  made.capacity = static_cast<int>(input.Byte() << 8);
  made.capacity = (made.capacity | static_cast<int>(input.Byte())) % 2048;
  const unsigned delimiters = input.Byte();
  const bool raw = delimiters % 8 == 7;
  made.open = raw ? static_cast<char>(input.Byte()) : kDelimiters[delimiters % 4][0];
  made.close = raw ? static_cast<char>(input.Byte()) : kDelimiters[delimiters % 4][1];
  while (!input.IsAtEnd() && made.table.size() < kMaxPairs) {
    const std::string name = input.UpTo('\0');
    if (name.empty()) break;
    made.table[name] = input.UpTo('\0');
  }
  made.text = input.UpTo('\0');
  return made;
}

// A part of the template, and what replaces it.
struct Piece {
  std::string out;
  size_t consumed = 0;
  bool is_value = false;
  bool unknown_kept = false;
};

// The position of the closing delimiter of a possible placeholder that begins at `open`, or npos.
size_t find_close(const Template& in, size_t open) {
  const size_t found = in.text.find(in.close, open + 1);
  return found != std::string::npos && found <= open + kMaxNameLength + 1 ? found
                                                                          : std::string::npos;
}

std::vector<Piece> expand(const Template& in) {
  std::vector<Piece> pieces(1);
  for (size_t i = 0; i < in.text.size();) {
    size_t length = 1;
    if (in.text[i] == in.open) {
      const size_t close = find_close(in, i);
      length = close == std::string::npos ? kMaxNameLength + 2 : close - i + 1;
      if (close != std::string::npos && close > i + 1) {
        const auto pair = in.table.find(in.text.substr(i + 1, close - i - 1));
        const bool known = pair != in.table.end();
        if (known || (in.options & kKeepUnknown) == 0) {
          const std::string value = known && !is_null(pair->second) ? pair->second : "";
          pieces.push_back({value, length, true, false});
          pieces.emplace_back();
          i += length;
          continue;
        }
        pieces.back().unknown_kept = true;
      }
    }
    const std::string stretch = in.text.substr(i, length);
    pieces.back().out += stretch;
    pieces.back().consumed += stretch.size();
    i += stretch.size();
  }
  return pieces;
}

struct Expected {
  std::string out;
  int consumed = 0;
  int status = 0;
};

Expected cut(const Template& in) {
  Expected expected;
  if (in.text.empty() || in.capacity == 0 || in.table.empty()) return expected;
  for (const Piece& piece : expand(in)) {
    const size_t space = static_cast<size_t>(in.capacity) - expected.out.size();
    const bool fits = piece.out.size() <= space;
    if (piece.unknown_kept) expected.status |= kUnknownKept;
    if (!fits && piece.is_value && (in.options & kStopBeforeValue) != 0) {
      expected.status |= kValueDidNotFit;
      return expected;
    }
    expected.out += piece.out.substr(0, space);
    expected.consumed += static_cast<int>(fits || piece.is_value ? piece.consumed : space);
    if (!fits) return expected;
  }
  return expected;
}

// The table's pairs, unordered and then sorted; their texts stay in the table.
std::vector<NamedValue> sorted_pairs(const Table& table) {
  std::vector<NamedValue> pairs;
  bool at_front = false;
  for (const auto& [name, value] : table) {
    const NamedValue pair{name.c_str(), is_null(value) ? nullptr : value.c_str()};
    at_front = !at_front;
    pairs.insert(at_front ? pairs.begin() : pairs.end(), pair);
  }
  const auto count = static_cast<int>(pairs.size());
  sort_pairs(pairs.data(), count);
  int index = 0;
  for (const auto& [name, value] : table) {
    require(pairs[static_cast<size_t>(index)].name == name, "the table is sorted");
    require(find_pair(name.c_str(), pairs.data(), count) == index, "every name is found");
    const std::string longer = name + "\x01";
    require((find_pair(longer.c_str(), pairs.data(), count) >= 0) == (table.count(longer) > 0),
            "no other name is found");
    ++index;
  }
  return pairs;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  const Template in = read(input);
  const std::vector<NamedValue> pairs = sorted_pairs(in.table);
  const Expected expected = cut(in);

  const auto capacity = static_cast<size_t>(in.capacity);
  const std::unique_ptr<char[]> output(new char[capacity + 1]);
  memset(output.get(), kGuard, capacity + 1);
  SubstResult result{-1, -1, in.options, -1};
  const char* const returned =
      template_subst(in.open, in.close, pairs.data(), static_cast<int>(pairs.size()),
                     in.text.c_str(), output.get(), in.capacity, &result);

  require(returned == output.get(), "the output buffer is returned");
  require(in.capacity == 0 || output[capacity] == kGuard, "nothing is written past the capacity");
  require(result.written >= 0 && result.written <= in.capacity, "the capacity is kept");
  require(result.consumed >= 0 && static_cast<size_t>(result.consumed) <= in.text.size(),
          "no more is consumed than there is");
  require(result.options == in.options, "the options stay");
  const auto written = static_cast<size_t>(result.written);
  require(std::string(output.get(), written) == expected.out, "the output is what the rules make");
  require(result.consumed == expected.consumed, "the template is counted by the rules");
  require(result.status == expected.status, "the status is what the rules make");
  const bool whole = static_cast<size_t>(result.consumed) == in.text.size() &&
                     (result.status & kValueDidNotFit) == 0;
  if (whole && written < capacity) {
    const bool ended = strlen(output.get()) == written;
    // A value that was cut would fill the capacity, so the template's end was reached.
    require(ended, "a text that is not cut is terminated");
  }
  if (in.options == kKeepUnknown && in.table.size() == 1 && in.text.size() < capacity &&
      in.text.find(in.table.begin()->first) == std::string::npos) {
    require(output.get() == in.text, "a template without known names stays whole");
  }
  return 0;
}
