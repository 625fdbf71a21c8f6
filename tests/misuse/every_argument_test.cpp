// Every argument of every operation with every value that the decoder knows for it: NULL in each pointer, the edges of each
// number, handles of other kinds, 0 and all ones, contexts that lack functions; and names that are empty, of 10,000
// characters, with colons, that are prefixes of each other as keys, or the same key once it is cut. All other arguments
// are good, and the call is made in its own repository in which everything is linked. The model predicts its effects,
// and afterwards it must still be possible to delete everything.
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "tests/walk/walk.h"

namespace {

using calls::Op;
using calls::Param;

constexpr size_t kLongest = 10000;

const calls::Alphabet &extreme_names() {
  static const calls::Alphabet alphabet = {
      {"a", "b", "", ":", "a:d", "a:d:1", "a:d:1:1", "d:1", std::string(kLongest, 'n'),
       std::string(kLongest, 'n') + "x", std::string(99, 'c'), std::string(99, 'c') + "1", std::string(98, 'c'),
       std::string(95, 'c'), "%s%n%d", "BUILTIN_AUTOCONF_POLICY"},
      {"d", "", "d:1", "1", "subscriber", std::string(kLongest, 'm'), ":", "%s"}};
  return alphabet;
}

// Pointers that must not be NULL: the library uses them unchecked.
struct Unchecked {
  Op op;
  size_t argument;
  const char *reason;
};
constexpr const char *kSearches = "a search writes its result, or NULL, without a check of the place";
constexpr Unchecked kUnchecked[] = {
    {Op::zar_avl_search_pmap, 2, kSearches},
    {Op::zar_avl_search_cmap, 2, kSearches},
    {Op::zar_avl_search_pmtr_map, 2, kSearches},
};
bool is_unchecked(Op op, size_t argument) {
  return std::ranges::any_of(kUnchecked,
                             [&](const Unchecked &entry) { return entry.op == op && entry.argument == argument; });
}

struct Tally {
  uint64_t calls = 0;
  uint64_t nulls = 0;  // pointer arguments that were NULL, for each set of names
  uint64_t not_made = 0;
};

bool is_pointer(Param param) {
  const bool record = param >= Param::pmap_record && param <= Param::pmtr_map_record;
  const bool place = param >= Param::pmap_out && param <= Param::target_info_out;
  const bool text = param >= Param::name && param <= Param::prefix;
  const bool callers = param >= Param::info && param <= Param::database;
  return record || place || text || callers || param == Param::removal || param == Param::printer ||
         param == Param::buffer;
}

// What is wrong with the call in a repository of its own.
std::string try_call(const calls::Call &call, const calls::Alphabet &alphabet, std::vector<std::string> &lines,
                     bool &made) {
  walk::Options options;
  options.alphabet = &alphabet;
  options.lines = &lines;
  options.look_every = 1000;
  walk::Session session(options);
  for (const calls::Call &before : walk::building_calls())
    if (!session.step(before)) return session.failure();
  lines.clear();
  const uint64_t steps = session.steps();
  if (session.step(call)) session.look();
  made = session.steps() > steps;
  if (session.failure().empty()) session.finish();
  return session.failure();
}

// The bytes that have a special meaning in some argument.
std::vector<uint8_t> special_bytes() {
  std::vector<uint8_t> bytes;
  for (unsigned byte = 0; byte < 256; ++byte)
    if (byte < 8 || (byte >= 160 && byte < 216 && byte % 2 == 0) || (byte >= 184 && byte < 208) || byte >= 240 ||
        (byte >= 216 && byte % 8 == 0))
      bytes.push_back(static_cast<uint8_t>(byte));
  return bytes;
}

class Argument {
 public:
  Argument(Op op, size_t at, size_t byte_at)
      : op_(op), at_(at), param_(calls::operation(op).params[at]), byte_at_(byte_at) {}

  // False if something is wrong.
  bool try_all(const calls::Alphabet &alphabet, Tally &tally) {
    static const std::vector<uint8_t> kBytes = special_bytes();
    for (uint8_t byte : kBytes)
      if (!try_one(alphabet, tally, byte, 0)) return false;
    // The second byte of an info: its domain and type, and what is missing.
    for (unsigned more = 1; param_ == Param::info && more < 256; more += more < 240 ? 7 : 1)
      for (uint8_t byte = 0; byte < 6; ++byte)
        if (!try_one(alphabet, tally, byte, static_cast<uint8_t>(more))) return false;
    if (!is_pointer(param_)) return true;
    tally.nulls += null_ ? 1 : 0;
    if (null_ != is_unchecked(op_, at_)) return true;
    std::printf(
        null_ ? "argument %zu of %s is listed as unchecked, and was NULL\n" : "argument %zu of %s was never NULL\n",
        at_, calls::operation(op_).name);
    return false;
  }

 private:
  bool try_one(const calls::Alphabet &alphabet, Tally &tally, uint8_t byte, uint8_t more) {
    calls::Call call{op_, {}};
    call.bytes[byte_at_] = byte;
    if (param_ == Param::info) call.bytes[byte_at_ + 1] = more;
    std::vector<std::string> lines;
    bool made = false;
    const std::string failure = try_call(call, alphabet, lines, made);
    ++(made ? tally.calls : tally.not_made);
    // No other argument is NULL.
    null_ = null_ || (made && lines.front().find("NULL") != std::string::npos);
    if (failure.empty()) return true;
    for (const std::string &line : lines)
      std::printf("  %s\n", line.c_str());
    std::printf("  %s\n", failure.c_str());
    return false;
  }

  Op op_;
  size_t at_;
  Param param_;
  size_t byte_at_;
  bool null_ = false;
};

bool try_operation(Op op, const calls::Alphabet &alphabet, Tally &tally) {
  const calls::Operation &what = calls::operation(op);
  size_t byte_at = 0;
  for (size_t i = 0; i < what.count; ++i) {
    const size_t bytes = calls::bytes_of(what.params[i]);
    if (bytes > 0 && !Argument(op, i, byte_at).try_all(alphabet, tally)) return false;
    byte_at += bytes;
  }
  return true;
}

}  // namespace

//   misuse_every_argument [extreme]      with the extreme names alone
int main(int count, char **) {
  std::vector<const calls::Alphabet *> alphabets = {&extreme_names()};
  if (count == 1) alphabets.push_back(&calls::small_alphabet());
  Tally tally;
  for (const calls::Alphabet *alphabet : alphabets)
    for (size_t op = 0; op < static_cast<size_t>(Op::count); ++op)
      if (!try_operation(static_cast<Op>(op), *alphabet, tally)) return 1;
  std::printf("%llu calls with one odd argument, %llu more that no client may make; %llu pointers were NULL\n",
              static_cast<unsigned long long>(tally.calls), static_cast<unsigned long long>(tally.not_made),
              static_cast<unsigned long long>(tally.nulls / alphabets.size()));
  for (const Unchecked &entry : kUnchecked)
    std::printf("not NULL: argument %zu of %s: %s\n", entry.argument, calls::operation(entry.op).name, entry.reason);
  return tally.calls > 0 ? 0 : 1;
}
