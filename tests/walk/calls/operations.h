// Turns bytes into calls. A sequence of calls is a sequence of bytes: one or two for the operation, then one or two for
// each argument. The meaning of an argument's bytes depends on its type: a handle, for example, is one of the handles
// that earlier calls returned (kept in slots by kind), one of another kind, 0, or all ones. Missing bytes count as 0,
// so every sequence of bytes is a sequence of calls.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "tests/walk/calls/client.h"
#include "zar/zar.h"

namespace calls {

enum class Param : uint8_t {
  // Handles, mostly of the kind that the operation requires
  pmap,
  cmap,
  action,
  filter,
  event,
  rule,
  target,
  pmtr_map,
  any,
  // The records behind handles of the kind, or NULL
  pmap_record,
  cmap_record,
  action_record,
  filter_record,
  target_record,
  pmtr_map_record,
  // Places for results, or NULL; handles that are written there are kept in the slots of their kind
  pmap_out,
  cmap_out,
  action_out,
  filter_out,
  event_out,
  rule_out,
  target_out,
  pmtr_map_out,
  number_out,
  record_out,
  database_out,
  target_info_out,
  // Numbers
  clid,
  number,
  criteria,
  flag,
  replace,
  slot,
  // Texts, or NULL
  name,
  domain,
  caller,
  keyword,
  prefix,
  // Caller's records, or NULL
  info,
  event_context,
  action_context,
  filter_context,
  target_info,
  database,
  // The rest
  removal,
  printer,
  param_map,
  buffer,
  nothing,
};

enum class Op : uint16_t {
#define OPERATION(weight, name, ...) name,
#include "tests/walk/calls/operations.inc"
#undef OPERATION
  count,
};

inline constexpr size_t kMostArguments = 8;
inline constexpr size_t kMostBytes = 10;  // of arguments
// What result places contain before a call; no operation writes it.
inline constexpr uint32_t kUntouched = 0xabad1dea;

// One call, before its bytes are given a meaning.
struct Call {
  Op op{};
  std::array<uint8_t, kMostBytes> bytes{};
  // 0: the call is made after the previous one has ended. n: it is made within the n-th function of a client that the
  // library calls from here on (1: the one that is running, or else the next), or never if there are fewer.
  uint8_t within = 0;
};

// Reads calls from bytes.
class Decoder {
 public:
  explicit Decoder(std::span<const uint8_t> bytes) : bytes_(bytes) {}
  bool done() const { return at_ >= bytes_.size(); }
  uint8_t byte() { return done() ? 0 : bytes_[at_++]; }
  Call call();
  // The operation is one of these.
  Call call_among(std::span<const Op> operations);

 private:
  Call with_arguments(Op op);

  std::span<const uint8_t> bytes_;
  size_t at_ = 0;
};
// The first call in these bytes.
Call call_of(std::span<const uint8_t> bytes);
// The number of bytes for the arguments.
size_t bytes_of(Op op);
size_t bytes_of(Param param);

// The result of an operation in a uniform type: a number or pointer, or a text.
struct Answer {
  uint64_t value = 0;
  std::optional<std::string> text;
};

// The arguments of one call, ready to be passed. It contains the result places and the caller's records, so it must not
// move.
struct Arguments {
  Arguments() = default;
  Arguments(const Arguments &) = delete;
  Arguments &operator=(const Arguments &) = delete;

  std::array<uint64_t, kMostArguments> words{};
  std::array<uint32_t, kMostArguments> handles{};  // of handles and records
                                                   // Places for results.
  std::array<uint32_t, kMostArguments> numbers_out{};
  std::array<void *, kMostArguments> pointers_out{};
  std::array<uint8_t, kMostArguments> slots{};  // the slot for a handle in a result place
  // The caller's records.
  std::array<zar_map_info, 2> infos{};
  size_t infos_used = 0;
  zar_event_context event_context{};
  zar_action_context action_context{};
  zar_filter_context filter_context{};
  std::array<char, 1024> buffer{};
  std::string rendered;  // "operation(arguments)"

  uint32_t number(size_t i) const { return static_cast<uint32_t>(words[i]); }
  uint32_t handle(size_t i) const { return handles[i]; }
  bool given(size_t i) const { return words[i] != 0; }
  template <typename Type>
  Type *pointer(size_t i) const {
    return reinterpret_cast<Type *>(words[i]);
  }
  const char *text(size_t i) const { return pointer<const char>(i); }
  const zar_map_info *info(size_t i) const { return pointer<const zar_map_info>(i); }
};

struct Operation {
  const char *name;
  std::array<Param, kMostArguments> params;
  size_t count;
  Answer (*call)(const Arguments &arguments);
};
const Operation &operation(Op op);

// The names and domains that arguments are chosen from.
struct Alphabet {
  std::vector<std::string> names;
  std::vector<std::string> domains;
};
const Alphabet &small_alphabet();

// What the arguments of a sequence of calls refer to.
class Scene {
 public:
  explicit Scene(const Alphabet &alphabet) : alphabet_(&alphabet) {}

  // 'record_of' returns the record that a live handle of the slot's kind resolves to, or NULL.
  using RecordOf = void *(*)(const void *repository, Param kind, uint32_t handle);
  void resolve(const Call &call, Arguments &arguments, const void *repository, RecordOf record_of);
  // Keeps the handles from the result places in the slots.
  void keep_results(const Call &call, const Arguments &arguments);

  void know(zar_db *database) { databases_.push_back(database); }
  const std::vector<zar_db *> &databases() const { return databases_; }
  uint32_t clients = 0;
  bool rendering = true;  // whether the texts of calls are needed

 private:
  static constexpr size_t kKinds = 9;
  static constexpr size_t kSlots = 4;

  void resolve_one(Arguments &arguments, size_t i, Param param, uint8_t byte, uint8_t more);
  void handle(Arguments &arguments, size_t i, Param param, uint8_t byte);
  void record(Arguments &arguments, size_t i, Param param, uint8_t byte);
  void out(Arguments &arguments, size_t i, Param param, uint8_t byte);
  void text_argument(Arguments &arguments, size_t i, Param param, uint8_t byte);
  void info_argument(Arguments &arguments, size_t i, uint8_t byte, uint8_t more);
  void action_argument(Arguments &arguments, size_t i, uint8_t byte);
  void filter_argument(Arguments &arguments, size_t i, uint8_t byte);
  static void pass_context(Arguments &arguments, size_t i, void *context, const std::string &shown);
  Data *data(uint8_t byte);

  const char *name(uint8_t byte) const;
  const char *domain(uint8_t byte) const;

  const Alphabet *alphabet_;
  std::array<std::array<uint32_t, kSlots>, kKinds> slots_{};
  std::vector<zar_db *> databases_;
  std::deque<Data> data_;
  std::deque<zar_target_info> target_infos_;
  const void *repository_ = nullptr;
  RecordOf record_of_ = nullptr;
};

}  // namespace calls
