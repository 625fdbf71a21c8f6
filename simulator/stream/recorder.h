// Records what matters of an event in a stream of millions: the verdict, what decided, what changed, what was logged,
// which rules ran. An explanation records why, for one event, and costs twenty times as much.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "engine/engine.h"
#include "simulator/stream/rules.h"

namespace simulator::stream {

// The net change of an attribute. Its texts keep their buffers from event to event.
struct Change {
  engine::AttributeId attribute = engine::kNoAttribute;
  bool was_present = false;
  bool is_present = false;
  std::string before{};
  std::string after{};

  bool is_one() const { return was_present != is_present || (is_present && before != after); }
};

// The last permit or deny that ran for the event itself.
struct Decision {
  uint32_t rule;         // its number
  const Action *action;  // of the rule, or of a parameter-map that it applies
};

// What the limits of the engine refused. If there is anything, the event was stopped.
struct Refused {
  size_t count = 0;
  const Action *first = nullptr;
  bool too_deep = false;  // the first: the limit on depth, else that on their number
};

// Valid until the next event.
struct Happened {
  engine::Outcome outcome{};
  std::optional<Decision> decision{};
  std::span<const Change> changes{};  // in the order of the first changes; some may have ended as they began
  std::vector<std::string_view> log{};
  std::vector<uint32_t> rules{};  // that ran, in the order in which they began, including those of raised events
  Refused refused{};
};

// Observes the engine from construction to destruction. Only one observer may exist at a time.
class Recorder final : public engine::Observer {
 public:
  explicit Recorder(Rules &rules);
  ~Recorder() override;
  Recorder(const Recorder &) = delete;
  Recorder &operator=(const Recorder &) = delete;

  const Happened &raise(uint32_t target, uint32_t event_id);

  void event_begins(const engine::Run &run) override;
  void event_ends(const engine::Run &run, const engine::Outcome &outcome) override;
  void nested_too_deep(const engine::Run &run) override;
  void policy_begins(const zar_pmap &pmap, const zar_event_tuple *tuple) override;
  void rule_begins(const zar_class_action &rule, bool matches) override;
  void action_begins(const zar_action &action) override;
  void action_ends(const zar_action &action, uint32_t result) override;
  void attribute_changed(engine::AttributeId attribute, const std::string *before, const std::string *after) override;
  void decided(engine::Verdict verdict) override;
  void logged(std::string_view text) override;

 private:
  // An event in progress. Nested events put several on the stack.
  struct Frame {
    const zar_pmap *pmap = nullptr;
    const zar_event_tuple *tuple = nullptr;
    uint32_t rule = 0;
    size_t actions_before = 0;  // under way when it began
  };

  Change &change_of(engine::AttributeId attribute, const std::string *before);

  Rules *rules_;
  Happened happened_;
  std::vector<Frame> frames_;
  std::vector<const zar_action *> actions_;  // under way, of all frames
  std::vector<Change> changes_;
  size_t changed_ = 0;  // of 'changes_'
};

}  // namespace simulator::stream
