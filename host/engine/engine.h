// The control side of the reference engine, for the host and the clients. The library knows the engine only through the
// names in platform/engine.h.
//
// The engine raises events on targets. For a target it walks the CONTROL policy-maps that are active there, in order of
// activation; in each, the event tuple with the event's id; in that, the class-actions in class-number order. A
// class-action whose class-map matches runs its actions. Everything is read from the repository's records in their
// current state, so a change of a policy takes effect with the next event.
//
// One process has one engine, for the one thread that calls the library.
//
// The life of an event:
//   1. raise_event (host) or Run::raise (an action) begins a Run: the target's attributes, a depth, no verdict.
//   2. Each filter's evaluation function is called with the filter's data and the Run. It reads attributes.
//   3. Each action's entry function is called with the action's data and the Run. It reads and changes attributes,
//      decides, logs, raises further events on the same target, applies parameter-maps. It returns 0 for success.
//   4. The Run ends; its outcome goes to the caller.
//
// Evaluation and entry functions must not change the policies that are active on the target, or their rules, and must
// not throw. Data that they get from the engine (attributes, texts) is valid until the next change of that attribute.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "zar/zar.h"

namespace engine {

// ---- Start --------------------------------------------------------------------------------------------------------------

// The name under which the engine is itself a client of the repository.
inline constexpr const char *kClientName = "kel";

// Registers the engine as a client with a database, and sets 'kel_clid' to its clid. Called once, after zar_init and
// before any other client registers, it makes the engine's database the default one. Returns a status.
uint32_t start();

// ---- Attributes -----------------------------------------------------------------------------------------------------------

// What filters test and actions change: named texts, stored for each target. A name is registered once and is a small
// number from then on, so that an evaluation never compares names.
using AttributeId = uint32_t;

AttributeId register_attribute(std::string_view name);
// The name of a registered attribute.
const std::string &attribute_name(AttributeId attribute);
// Forgets all names: the numbers begin anew, with no target that has an attribute and no filter or action that knows one.
void forget_attributes();
// At most this many names can be registered; a further one is refused with kNoAttribute.
inline constexpr AttributeId kMaxAttributes = 1000;
inline constexpr AttributeId kNoAttribute = UINT32_MAX;

// 'text' as a decimal number: an optional minus sign and digits, nothing else.
std::optional<int64_t> parse_number(std::string_view text);

// A text with its number, for callers that set the same one repeatedly.
struct Value {
  explicit Value(std::string_view value_text) : text(value_text), number(parse_number(value_text)) {}

  std::string text;
  std::optional<int64_t> number;
};

struct Attribute {
  std::string text;
  int64_t number = 0;    // the value of 'text' if 'numeric'
  bool numeric = false;  // 'text' is a decimal number
  bool present = false;
};

// The attributes of one target.
//
// A used slot keeps its buffer, so that setting an attribute again allocates nothing as long as the text fits. Results of
// find() do not move.
class Attributes {
 public:
  // NULL if the target has no such attribute.
  const Attribute *find(AttributeId attribute) const noexcept {
    const Block *block = &first_;
    if (attribute >= kInBlock) {
      const size_t number = attribute / kInBlock - 1;
      block = number < more_.size() ? more_[number].get() : nullptr;
    }
    if (!block) return nullptr;
    const Attribute &slot = (*block)[attribute % kInBlock];
    return slot.present ? &slot : nullptr;
  }
  void set(AttributeId attribute, std::string_view text);
  void set(AttributeId attribute, const Value &value);
  // Adds one; an attribute that is absent or not a number counts from 0.
  void count(AttributeId attribute);
  // False if there was none.
  bool clear(AttributeId attribute);
  // The attributes that are present, in the order of their registration.
  std::vector<AttributeId> present() const;
  void prefetch() const noexcept;

 private:
  // By attribute. Most policies mention few, and the memory of the first ones is that of the target's state itself: an
  // event on one target of thousands waits for each separate block.
  static constexpr size_t kInBlock = 8;
  using Block = std::array<Attribute, kInBlock>;

  Attribute &slot_for(AttributeId attribute);

  Block first_;
  std::vector<std::unique_ptr<Block>> more_;  // NULL where no attribute was ever set
};

// The attributes of 'target', created on first use; NULL if the handle is not a target's or there is no memory. They
// live as long as the target.
Attributes *attributes_of(uint32_t target);

// ---- Events -----------------------------------------------------------------------------------------------------------------

enum class Verdict : uint8_t { none, permit, deny };

struct Outcome {
  uint32_t status = 0;              // 0, or 39: no such target; the rest is then 0
  Verdict verdict = Verdict::none;  // of the last permit or deny that ran for this event itself
  uint32_t policies = 0;            // active policy-maps that handle the event
  uint32_t rules = 0;               // class-actions whose class-map matched and whose actions were run
  uint32_t actions = 0;             // actions run
  uint32_t failures = 0;            // of these, those with a result other than 0
};

// Raises an event on a target.
Outcome raise_event(uint32_t target, uint32_t event_id);

// Begins to bring what events on the targets read into the processor's cache. It helps a caller who knows the next events:
// the processor then waits for the memory of all the targets at once. At most kMostPrefetched handles: each is that of a live
// target, or 0 for none.
inline constexpr size_t kMostPrefetched = 16;
void prefetch(std::span<const uint32_t> targets);

// The limits on the nesting of events and of parameter-maps, and on the total number of both that one event of the host
// may cause, so that every event ends.
inline constexpr unsigned kMaxDepth = 16;
inline constexpr unsigned kMaxNested = 1000;

// A subscriber's value for the statements of a parameter-map, for one filter type: two client contexts whose compare
// function, given a statement's filter data and this data, returns whether that filter matches the subscriber's value.
// 'plain' is for a statement's match filters, 'inverted' for its no-match filters.
struct OfferedValue {
  uint32_t filter_type = 0;  // 0 to 4
  zar_filter_context plain{};
  zar_filter_context inverted{};
};
inline constexpr uint32_t kFilterTypes = 5;

enum class Applied : uint8_t { done, action_failed, no_statement, no_map, too_deep };

// A running event, as filters and actions see it.
class Run {
 public:
  // The argument 'run' of evaluation and entry functions.
  static Run &from(void *run) { return *static_cast<Run *>(run); }

  uint32_t target() const;
  uint32_t event_id() const { return event_id_; }
  unsigned depth() const { return depth_; }  // 0: raised by the host

  const Attribute *attribute(AttributeId attribute) const noexcept { return attributes_->find(attribute); }
  void set_attribute(AttributeId attribute, std::string_view text);
  void set_attribute(AttributeId attribute, const Value &value);
  void count_attribute(AttributeId attribute);
  bool clear_attribute(AttributeId attribute);

  void decide(Verdict verdict);
  void log(std::string_view text);

  // Raises another event on the same target; nothing if events are nested too deeply or were too many.
  std::optional<Outcome> raise(uint32_t event_id);
  // Runs the actions of the first statement, in map-index order, that matches the offered values.
  Applied apply(uint32_t pmtr_map, std::span<const OfferedValue> offered);

 private:
  friend Outcome raise_event(uint32_t target, uint32_t event_id);

  Run(const zar_target &target, Attributes &attributes, uint32_t event_id, unsigned depth, unsigned &nested_left)
      : target_(&target), attributes_(&attributes), event_id_(event_id), depth_(depth), nested_left_(&nested_left) {}

  Outcome walk_policies();
  bool walk_events(const zar_pmap &pmap);
  void walk_rules(const zar_event_tuple &tuple);
  bool class_matches(const zar_cmap &cmap);
  bool filter_holds(zar_filter &filter);
  void run_rule(const zar_class_action &rule);
  uint32_t run_action(zar_action &action);
  bool statement_matches(const zar_pmtr_map_stmt &statement, std::span<const OfferedValue> offered);
  Applied run_statement(const zar_pmtr_map_stmt &statement);
  bool take_nested();
  template <class Change>
  void change_attribute(AttributeId attribute, Change change);

  const zar_target *target_;
  Attributes *attributes_;
  uint32_t event_id_;
  unsigned depth_;
  unsigned *nested_left_;  // of the event that the host raised
  unsigned maps_under_way_ = 0;
  Outcome outcome_;
};

// ---- Observation --------------------------------------------------------------------------------------------------------------

// Notified of every step of every evaluation, in order. Records are valid only during the call. Without an observer
// each step of an evaluation costs one test.
class Observer {
 public:
  virtual ~Observer() = default;

  virtual void event_begins(const Run &) {}
  virtual void event_ends(const Run &, const Outcome &) {}
  // An action's event or parameter-map was refused, because they were nested too deeply or were too many.
  virtual void nested_too_deep(const Run &) {}

  // A policy-map that is active on the target: with the tuple of the event, or NULL if it does not handle the event.
  virtual void policy_begins(const zar_pmap &, const zar_event_tuple *) {}
  virtual void policy_ends(const zar_pmap &) {}

  virtual void filter_evaluated(const zar_filter &, bool /*holds*/) {}
  // 'decided_by' is the filter that decided the outcome; NULL for a class-map without filters.
  virtual void class_evaluated(const zar_cmap &, bool /*matches*/, const zar_filter * /*decided_by*/) {}

  virtual void rule_begins(const zar_class_action &, bool /*matches*/) {}
  virtual void action_begins(const zar_action &) {}
  virtual void action_ends(const zar_action &, uint32_t /*result*/) {}
  // The exec criteria skipped the rest of the rule's actions; 'last' is the action that caused this.
  virtual void rule_cut_short(const zar_class_action &, const zar_action & /*last*/) {}

  virtual void statement_evaluated(const zar_pmtr_map &, const zar_pmtr_map_stmt &, bool /*matches*/) {}

  // 'before' is NULL if the attribute was absent, 'after' if it is absent now.
  virtual void attribute_changed(AttributeId, const std::string * /*before*/, const std::string * /*after*/) {}
  virtual void decided(Verdict) {}
  virtual void logged(std::string_view) {}
};

// The observer from now on; NULL for none. It must outlive its use.
void observe(Observer *observer);

// ---- Target lists ---------------------------------------------------------------------------------------------------------------

// Takes a list that a notification function received. The same list may be passed any number of times.
void keep_target_list(queue_head *list);
// Frees the kept lists. Call it while no operation of the library is running.
void release_target_lists();

// ---- What is live ---------------------------------------------------------------------------------------------------------------

size_t live_instances();
size_t live_target_states();
size_t kept_target_lists();

}  // namespace engine
