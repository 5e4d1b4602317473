#include "autoresponder/confinement/system_call_filter.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <linux/audit.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "autoresponder/confinement/system_call_rules.h"

namespace {

#if defined(__x86_64__)
constexpr uint32_t kArchitecture = AUDIT_ARCH_X86_64;
constexpr uint32_t kFirstForeign = 0x40000000;  // the calls of the x32 interface
#elif defined(__aarch64__)
constexpr uint32_t kArchitecture = AUDIT_ARCH_AARCH64;
constexpr uint32_t kFirstForeign = 0xFFFFFFFF;
#else
constexpr uint32_t kArchitecture = 0;  // unknown: no filter
constexpr uint32_t kFirstForeign = 0xFFFFFFFF;
#endif

using system_calls::Condition;
using system_calls::kAllow;
using system_calls::kEnd;
using system_calls::kRefuse;
using system_calls::kRules;
using system_calls::Rule;

constexpr size_t kRuleCount = std::size(kRules);

// Built at compile time, because that would take too long in each run.
class Program {
 public:
  constexpr Program() {
    Load(offsetof(seccomp_data, arch));
    Compare(BPF_JEQ, kArchitecture, 1, 0);
    Return(kEnd);
    Load(offsetof(seccomp_data, nr));
    Compare(BPF_JGE, kFirstForeign, 0, 1);
    Return(kEnd);
    Rule sorted[kRuleCount] = {};
    for (size_t i = 0; i < kRuleCount; ++i) {
      size_t place = i;
      for (; place > 0 && sorted[place - 1].call > kRules[i].call; --place) {
        sorted[place] = sorted[place - 1];
      }
      sorted[place] = kRules[i];
    }
    Search(sorted, kRuleCount);
  }

  std::vector<sock_filter> For(int own_pid) const {
    std::vector<sock_filter> statements(statements_, statements_ + size_);
    statements[own_pid_].k = static_cast<uint32_t>(own_pid);
    return statements;
  }

 private:
  constexpr void Add(int code, uint32_t value, size_t if_true = 0, size_t if_false = 0) {
    statements_[size_++] = {static_cast<uint16_t>(code), static_cast<uint8_t>(if_true),
                            static_cast<uint8_t>(if_false), value};
  }

  constexpr void Load(size_t offset) {
    Add(BPF_LD | BPF_W | BPF_ABS, static_cast<uint32_t>(offset));
  }

  constexpr void Return(uint32_t action) { Add(BPF_RET | BPF_K, action); }

  // Compares what was loaded last with `value`, and skips `if_true` or `if_false` statements.
  constexpr void Compare(int how, uint32_t value, size_t if_true, size_t if_false) {
    Add(BPF_JMP | how | BPF_K, value, if_true, if_false);
  }

  // Binary search: the kernel runs a filter for every system call when it is installed, so a linear
  // list would make each run noticeably slower. `first`: sorted by their calls.
  constexpr void Search(const Rule* first, size_t count) {
    const size_t start = size_++;
    if (first->call == first[count - 1].call) {
      for (size_t i = 0; i < count; ++i) Alternative(first[i]);
      Return(first->action);
      Branch(start, BPF_JEQ, first->call, 0, size_ - start - 1);
      Return(kRefuse);
      return;
    }
    size_t half = count / 2;
    while (half > 0 && first[half].call == first[half - 1].call) --half;
    while (half == 0 || first[half].call == first[half - 1].call) ++half;
    Search(first, half);
    Branch(start, BPF_JGE, first[half].call, size_ - start - 1, 0);
    Search(first + half, count - half);
  }

  // Writes a comparison to `place`, which was left free before statements that were added since.
  constexpr void Branch(size_t place, int how, uint32_t value, size_t if_true, size_t if_false) {
    const size_t end = size_;
    size_ = place;
    Compare(how, value, if_true, if_false);
    size_ = end;
  }

  static constexpr size_t StatementsOf(const Condition& condition) {
    if (condition.kind == Condition::kNone) return 0;
    return condition.kind == Condition::kIsSize ? 4 : 2;
  }

  // Allows the call if the rule has conditions and all hold; otherwise goes on after itself.
  constexpr void Alternative(const Rule& rule) {
    if (rule.conditions[0].kind == Condition::kNone) return;
    const size_t after_second = 1;
    const size_t after_first = StatementsOf(rule.conditions[1]) + after_second;
    Require(rule.conditions[0], after_first);
    Require(rule.conditions[1], after_second);
    Return(kAllow);
  }

  // Unless the condition holds, skips the `others` statements after these.
  constexpr void Require(const Condition& condition, size_t others) {
    // The lower half of an argument comes first on the supported processors.
    const size_t lower = offsetof(seccomp_data, args) + condition.argument * sizeof(uint64_t);
    switch (condition.kind) {
      case Condition::kNone:
        break;
      case Condition::kEquals:
        Load(lower);
        Compare(BPF_JEQ, condition.value, 0, others);
        break;
      case Condition::kLacks:
        Load(lower);
        Compare(BPF_JSET, condition.value, others, 0);
        break;
      case Condition::kIsOwnPid:
        Load(lower);
        own_pid_ = size_;
        Compare(BPF_JEQ, 0, 0, others);
        break;
      case Condition::kIsSize:
        Load(lower + sizeof(uint32_t));
        Compare(BPF_JEQ, 0, 0, 2 + others);
        Load(lower);
        Compare(BPF_JEQ, 0, others, 0);
        break;
    }
  }

  static constexpr size_t kMaxStatements = 6 + 10 * kRuleCount;
  sock_filter statements_[kMaxStatements] = {};
  size_t size_ = 0;
  size_t own_pid_ = 0;  // the statement that compares with the process's number
};

constexpr Program kProgram;

}  // namespace

std::vector<sock_filter> system_call_filter(int own_pid) {
  if (kArchitecture == 0) return {};
  return kProgram.For(own_pid);
}

bool enter_system_call_filter() {
  std::vector<sock_filter> statements = system_call_filter(getpid());
  if (statements.empty()) return false;
  const sock_fprog program{static_cast<uint16_t>(statements.size()), statements.data()};
  return syscall(__NR_seccomp, SECCOMP_SET_MODE_FILTER, 0, &program) == 0;
}
