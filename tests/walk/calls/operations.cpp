#include "tests/walk/calls/operations.h"

#include <cstring>
#include <type_traits>
#include <utility>

#include "platform/runtime.h"
#include "tests/walk/calls/host.h"

namespace calls {
namespace {

// ---- Calling

template <typename Type>
Type argument(uint64_t word) {
  if constexpr (std::is_pointer_v<Type>) {
    return reinterpret_cast<Type>(word);
  } else {
    return static_cast<Type>(word);
  }
}

Answer answer_of(const char *text) {
  if (text == nullptr) return {};
  return {1, text};
}
// The caller owns it.
Answer answer_of(char *text) {
  Answer answer = answer_of(static_cast<const char *>(text));
  bfree_named(text);
  return answer;
}
Answer answer_of(const void *pointer) {
  return {reinterpret_cast<uintptr_t>(pointer), {}};
}
Answer answer_of(uint32_t number) {
  return {number, {}};
}

template <auto function>
struct Caller;
template <typename Result, typename... Types, Result (*function)(Types...)>
struct Caller<function> {
  static constexpr size_t kCount = sizeof...(Types);
  static Answer call(const Arguments &arguments) { return call(arguments, std::index_sequence_for<Types...>()); }

 private:
  template <size_t... i>
  static Answer call([[maybe_unused]] const Arguments &arguments, std::index_sequence<i...>) {
    if constexpr (std::is_void_v<Result>) {
      function(argument<Types>(arguments.words[i])...);
      return {};
    } else {
      return answer_of(function(argument<Types>(arguments.words[i])...));
    }
  }
};

template <auto function, typename... Params>
constexpr Operation make(const char *name, Params... params) {
  static_assert(Caller<function>::kCount == sizeof...(Params), "the table lists each argument");
  return {name, {params...}, sizeof...(Params), Caller<function>::call};
}

using enum Param;

constexpr std::array kOperations = {
#define OPERATION(weight, name, ...) make<::name>(#name __VA_OPT__(, ) __VA_ARGS__),
#include "tests/walk/calls/operations.inc"
#undef OPERATION
};
static_assert(kOperations.size() == static_cast<size_t>(Op::count));

// ---- Bytes

// The lower half of the codes means operations that build a repository. After any other code, a second byte selects one
// of all operations.
constexpr size_t kBuildingCodes = 128;

constexpr std::array<Op, kBuildingCodes> building_operations() {
  std::array<Op, kBuildingCodes> table{};
  size_t next = 0;
#define OPERATION(weight, name, ...) \
  for (int i = 0; i < weight; ++i)   \
    table[next++] = Op::name;
#include "tests/walk/calls/operations.inc"
#undef OPERATION
  return table;
}
// With weights that are too large, this would not compile; with weights that are too small, the last codes would mean
// the first operation.
constexpr std::array<Op, kBuildingCodes> kBuilding = building_operations();
static_assert(kBuilding.back() == Op::host_counts_an_execution);

}  // namespace

const Operation &operation(Op op) {
  return kOperations[static_cast<size_t>(op)];
}

size_t bytes_of(Param param) {
  return param == info ? 2 : param == nothing ? 0 : 1;
}

size_t bytes_of(Op op) {
  const Operation &what = operation(op);
  size_t bytes = 0;
  for (size_t i = 0; i < what.count; ++i)
    bytes += bytes_of(what.params[i]);
  return bytes;
}

Call call_of(std::span<const uint8_t> bytes) {
  return Decoder(bytes).call();
}

Call Decoder::call() {
  const uint8_t code = byte();
  return with_arguments(code < kBuildingCodes ? kBuilding[code]
                                              : static_cast<Op>(byte() % static_cast<size_t>(Op::count)));
}

Call Decoder::call_among(std::span<const Op> operations) {
  return with_arguments(operations[byte() % operations.size()]);
}

Call Decoder::with_arguments(Op op) {
  Call call{op, {}};
  for (size_t i = 0; i < bytes_of(op); ++i)
    call.bytes[i] = byte();
  return call;
}

const Alphabet &small_alphabet() {
  static const Alphabet alphabet = {
      {"a", "b", "ab", "gold", "", "a:d", "a:d:1", "BUILTIN_AUTOCONF_POLICY", "BUILTIN_AUTOCONF_POLICY2", "BUILTIN_DEV",
       std::string(87, 'x'), std::string(97, 'x'), std::string(98, 'x') + "a", std::string(98, 'x') + "b",
       std::string(120, 'y'), "__PMTR__a"},
      {"d", "d:1", "subscriber", "", "1"}};
  return alphabet;
}

// ---- Meanings

void Scene::resolve(const Call &call, Arguments &arguments, const void *repository, RecordOf record_of) {
  repository_ = repository;
  record_of_ = record_of;
  const Operation &what = operation(call.op);
  arguments.rendered = what.name;
  arguments.rendered += '(';
  size_t at = 0;
  for (size_t i = 0; i < what.count; ++i) {
    if (i > 0) arguments.rendered += ", ";
    const uint8_t byte = call.bytes[at];
    const uint8_t more = at + 1 < kMostBytes ? call.bytes[at + 1] : uint8_t{0};
    resolve_one(arguments, i, what.params[i], byte, more);
    at += bytes_of(what.params[i]);
  }
  arguments.rendered += ')';
}

namespace {

// Most handles come from two of the four slots of their kind, so that calls often use the same objects.
uint8_t slot_of(uint8_t byte) {
  return byte % 8 < 6 ? byte % 2 : byte % 8 - 4;
}

const char *slot_name(Param kind) {
  static constexpr std::array kNames = {"pmap", "cmap",   "action",   "filter", "event",
                                        "rule", "target", "pmtr_map", "any"};
  return kNames[static_cast<size_t>(kind)];
}

Param kind_of_record(Param param) {
  switch (param) {
    case pmap_record:
      return pmap;
    case cmap_record:
      return cmap;
    case action_record:
      return action;
    case filter_record:
      return filter;
    case target_record:
      return target;
    default:
      return pmtr_map;
  }
}

Param kind_of_out(Param param) {
  return static_cast<Param>(static_cast<uint8_t>(param) - static_cast<uint8_t>(pmap_out));
}

bool is_handle_out(Param param) {
  return param >= pmap_out && param <= pmtr_map_out;
}

// Most of the 256 values are small, the others at the edges.
uint32_t number_of(uint8_t byte) {
  static constexpr std::array<uint32_t, 8> kExtremes = {255,        256,        257,        0x10003,
                                                        0x7fffffff, 0x80000000, 0xffffffff, 100};
  return byte < 200 ? byte % 6 : kExtremes[byte % kExtremes.size()];
}

uint32_t clid_of(uint8_t byte, uint32_t clients) {
  if (byte < 160) return 1;
  if (byte < 235) return 2 + byte % 2;
  if (byte < 250) return clients + byte % 2;
  return byte % 2 == 0 ? 0 : 0xffffffff;
}

uint32_t flag_of(uint8_t byte) {
  static constexpr std::array<uint32_t, 4> kFlags = {0, 1, 255, 256};
  return byte < 192 ? byte % 2 : kFlags[byte % kFlags.size()];
}

std::string quoted(const char *content) {
  if (content == nullptr) return "NULL";
  const size_t length = std::strlen(content);
  if (length <= 40) return std::string("\"") + content + '"';
  return std::string("\"") + std::string(content, 8) + text("...%s\" of %zu", content + length - 2, length);
}

}  // namespace

void Scene::resolve_one(Arguments &arguments, size_t i, Param param, uint8_t byte, uint8_t more) {
  const auto number_argument = [&](uint32_t value) {
    arguments.words[i] = value;
    arguments.rendered += text("%u", value);
  };
  const auto pointer_argument = [&](auto pointer, const std::string &shown) {
    arguments.words[i] = reinterpret_cast<uintptr_t>(pointer);
    arguments.rendered += arguments.words[i] == 0 ? "NULL" : shown;
  };
  if (param <= any) return handle(arguments, i, param, byte);
  if (param <= pmtr_map_record) return record(arguments, i, param, byte);
  if (param <= target_info_out) return out(arguments, i, param, byte);
  switch (param) {
    case clid:
      return number_argument(clid_of(byte, clients));
    case number:
      return number_argument(number_of(byte));
    case criteria:
      return number_argument(byte < 240 ? 1 + byte % 3 : number_of(byte));
    case flag:
      return number_argument(flag_of(byte));
    case replace:
      return number_argument(byte < 192 ? 0 : 1);
    case slot:
      return number_argument(byte % 6);
    case info:
      return info_argument(arguments, i, byte, more);
    case event_context:
      arguments.event_context = {byte < 128 ? 0 : byte % 4U, nullptr};
      return pointer_argument(byte < 240 ? &arguments.event_context : nullptr,
                              text("event %u", arguments.event_context.event_id));
    case action_context:
      return action_argument(arguments, i, byte);
    case filter_context:
      return filter_argument(arguments, i, byte);
    case target_info:
      if (byte < 240) target_infos_.push_back({{nullptr}, target_infos_.size() + 1});
      return pointer_argument(byte < 240 ? &target_infos_.back() : nullptr, text("target %zu", target_infos_.size()));
    case database:
      return pointer_argument(byte < 240 ? databases_[byte % databases_.size()] : nullptr,
                              text("database[%zu]", byte % databases_.size()));
    case removal:
      return pointer_argument(byte < 200 ? policy_removed : nullptr, "removal");
    case printer:
      return pointer_argument(byte < 248 ? print : nullptr, "printer");
    case param_map:
      return pointer_argument(param_map_of(byte % 4), text("parameter-map %u", byte % 4U));
    case buffer:
      return pointer_argument(byte < 248 ? arguments.buffer.data() : nullptr, "buffer");
    case nothing:
      return pointer_argument(static_cast<void *>(nullptr), "");
    default:
      return text_argument(arguments, i, param, byte);
  }
}

// At least three quarters are handles of the required kind.
void Scene::handle(Arguments &arguments, size_t i, Param param, uint8_t byte) {
  const size_t slot_at = slot_of(byte);
  const size_t way = byte / 8;
  size_t kind = static_cast<size_t>(param);
  if (way == 28 || param == any) kind = (kind + 1 + byte % 7) % (kKinds - 1);
  uint32_t value = slots_[kind][slot_at];
  std::string shown = std::string(slot_name(static_cast<Param>(kind))) + text("[%zu]", slot_at);
  if (way == 29) {
    value += 1;
    shown += " + 1";
  } else if (way == 30) {
    value = 0;
    shown = "0";
  } else if (way == 31) {
    value = 0xffffffff;
    shown = "~0";
  }
  arguments.words[i] = arguments.handles[i] = value;
  arguments.rendered += shown;
}

void Scene::record(Arguments &arguments, size_t i, Param param, uint8_t byte) {
  const Param kind = kind_of_record(param);
  const uint32_t of = slots_[static_cast<size_t>(kind)][slot_of(byte)];
  void *found = byte < 248 ? record_of_(repository_, kind, of) : nullptr;
  arguments.words[i] = reinterpret_cast<uintptr_t>(found);
  arguments.handles[i] = found == nullptr ? 0 : of;
  arguments.rendered += found == nullptr ? "NULL" : std::string("*") + slot_name(kind) + text("[%u]", slot_of(byte));
}

void Scene::out(Arguments &arguments, size_t i, Param param, uint8_t byte) {
  arguments.numbers_out[i] = kUntouched;
  arguments.pointers_out[i] = &arguments.buffer;  // a pointer that no operation writes
  arguments.slots[i] = slot_of(byte);
  if (byte >= 248) {
    arguments.rendered += "NULL";
    return;
  }
  const bool number = is_handle_out(param) || param == number_out;
  arguments.words[i] = number ? reinterpret_cast<uintptr_t>(&arguments.numbers_out[i])
                              : reinterpret_cast<uintptr_t>(&arguments.pointers_out[i]);
  arguments.rendered += is_handle_out(param)
                            ? std::string("&") + slot_name(kind_of_out(param)) + text("[%u]", slot_of(byte))
                            : std::string("&out");
}

void Scene::keep_results(const Call &call, const Arguments &arguments) {
  const Operation &what = operation(call.op);
  for (size_t i = 0; i < what.count; ++i) {
    if (!is_handle_out(what.params[i])) continue;
    const uint32_t value = arguments.numbers_out[i];
    if (value == 0 || value == kUntouched) continue;
    slots_[static_cast<size_t>(kind_of_out(what.params[i]))][arguments.slots[i]] = value;
  }
}

const char *Scene::name(uint8_t byte) const {
  const auto &names = alphabet_->names;
  const size_t among = byte < 144 ? 1 : byte < 184 ? 2 : names.size();
  return names[byte % std::min(among, names.size())].c_str();
}

const char *Scene::domain(uint8_t byte) const {
  const auto &domains = alphabet_->domains;
  return domains[byte % 8 < 7 ? 0 : byte / 8 % domains.size()].c_str();
}

void Scene::text_argument(Arguments &arguments, size_t i, Param param, uint8_t byte) {
  const char *content = nullptr;
  switch (param) {
    case Param::name:
      content = byte < 248 ? name(byte) : nullptr;
      break;
    case Param::domain:
      content = byte < 248 ? domain(byte) : nullptr;
      break;
    case Param::caller:
      content = byte < 200 ? "caller" : nullptr;
      break;
    case Param::keyword: {
      static constexpr std::array kKeywords = {"", "t", "type1", "type2 is ", "other"};
      content = byte < 248 ? kKeywords[byte % kKeywords.size()] : nullptr;
      break;
    }
    default:
      content = byte < 200 ? "> " : nullptr;
      break;
  }
  arguments.words[i] = reinterpret_cast<uintptr_t>(content);
  arguments.rendered += quoted(content);
}

void Scene::info_argument(Arguments &arguments, size_t i, uint8_t byte, uint8_t more) {
  zar_map_info &made = arguments.infos[arguments.infos_used++];
  made = {domain(more), more / 8 % 8 < 7 ? 1U : 2U, name(byte), 0};
  const bool given = more / 16 != 15 || byte % 6 != 0;
  if (more / 16 == 14) made.hidden = 1 + byte % 2U;
  if (more / 16 == 15) {
    if (byte % 6 == 1) made.map_name = nullptr;
    if (byte % 6 == 2) made.domain = nullptr;
    if (byte % 6 >= 3) made.domain_type = byte % 6 == 3 ? 0 : byte % 6 == 4 ? 3 : 0xffffffff;
  }
  if (!given) {
    arguments.rendered += "NULL";
    return;
  }
  arguments.words[i] = reinterpret_cast<uintptr_t>(&made);
  arguments.rendered +=
      "{" + quoted(made.domain) + text(", %u, ", made.domain_type) + quoted(made.map_name) + text(", %u}", made.hidden);
}

Data *Scene::data(uint8_t byte) {
  Data &made = data_.emplace_back();
  made.id = static_cast<uint32_t>(data_.size());
  made.value = byte % 4;
  return &made;
}

namespace {

// The members that the contexts of actions and filters have in common, and what a byte makes of them.
template <typename Entry, typename Text>
struct ContextMembers {
  void *&data;
  zar_free_fn &free;
  Entry &entry;
  Text &to_text;
  zar_compare_fn &compare;
  const char *entry_name;

  // Says in 'shown' what is unusual. False: there is no context.
  bool set(uint8_t byte, std::string &shown) {
    const auto lacking = [&](const char *what, auto &member) {
      member = nullptr;
      shown += std::string(" without ") + what;
    };
    switch (byte / 4) {
      case 44:
        free = free_data_too;
        shown += ", freed otherwise";
        break;
      case 45:
        entry = run_action_too;
        shown += ", run otherwise";
        break;
      case 46:
        lacking("free function", free);
        break;
      case 47:
        lacking(entry_name, entry);
        break;
      case 48:
        lacking("text function", to_text);
        break;
      case 49:
        lacking("comparison", compare);
        break;
      case 50:
      case 51:
        static_cast<Data *>(data)->mute = true;
        shown += " without text";
        break;
      case 52:
        lacking("data", data);
        break;
      case 53:
        return false;
      default:
        break;
    }
    return true;
  }
};

}  // namespace

void Scene::action_argument(Arguments &arguments, size_t i, uint8_t byte) {
  zar_action_context &made = arguments.action_context;
  made = {data(byte), free_data, run_action, action_text, compare_data, notify, check_param_map};
  std::string shown = text("action %u of value %u", id_of(made.action_data), byte % 4U);
  if (byte / 8 == 20) {
    made.action_notify_fn = nullptr;
    shown += " without notification";
  } else if (byte / 8 == 21) {
    made.action_param_map_check_fn = nullptr;
    shown += " without check";
  }
  ContextMembers<zar_action_entry_fn, zar_action_str_fn> members{
      made.action_data, made.action_free_fn, made.action_entry_fn, made.action_str_fn, made.action_compare_fn, "entry"};
  pass_context(arguments, i, members.set(byte, shown) ? &made : nullptr, shown);
}

void Scene::filter_argument(Arguments &arguments, size_t i, uint8_t byte) {
  zar_filter_context &made = arguments.filter_context;
  made = {data(byte), free_data, run_action, filter_text, compare_data};
  std::string shown = text("filter %u of value %u", id_of(made.filter_data), byte % 4U);
  ContextMembers<zar_filter_eval_fn, zar_filter_str_fn> members{made.filter_data,       made.filter_free_fn,
                                                                made.filter_eval_fn,    made.filter_str_fn,
                                                                made.filter_compare_fn, "evaluation"};
  pass_context(arguments, i, members.set(byte, shown) ? &made : nullptr, shown);
}

void Scene::pass_context(Arguments &arguments, size_t i, void *context, const std::string &shown) {
  arguments.words[i] = reinterpret_cast<uintptr_t>(context);
  arguments.rendered += context == nullptr ? "NULL" : shown;
}

}  // namespace calls
