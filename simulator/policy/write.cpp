#include "simulator/policy/write.h"

#include <algorithm>
#include <array>
#include <limits>
#include <optional>

#include <yaml-cpp/emitter.h>
#include <yaml-cpp/emittermanip.h>

#include "engine/engine.h"
#include "simulator/text/text.h"
#include "simulator/text/utf8.h"

namespace simulator {

namespace {

// Words that some YAML reader does not read as plain text.
constexpr std::array<std::string_view, 9> kReserved = {"null", "true", "false", "yes", "no", "on", "off", "y", "n"};

bool is_reserved(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return std::find(kReserved.begin(), kReserved.end(), lower) != kReserved.end();
}

bool is_letter(char character) {
  return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

bool is_digit(char character) {
  return character >= '0' && character <= '9';
}

// Whether every YAML reader reads 'text' correctly without quotes: it begins with a letter and has no characters that
// mean something in YAML, or it is a decimal number that would be written back the same.
bool is_plain(std::string_view text) {
  if (const std::optional<int64_t> number = engine::parse_number(text)) return std::to_string(*number) == text;
  constexpr std::string_view kHarmless = "_-./+";
  return !text.empty() && is_letter(text[0]) && !is_reserved(text) &&
         std::all_of(text.begin(), text.end(), [&](char character) {
           return is_letter(character) || is_digit(character) || kHarmless.find(character) != std::string_view::npos;
         });
}

// The emitter escapes only a part of what nobody can see. The text around it is quoted, since it is not plain; newlines
// are layout.
std::string with_escapes(std::string_view text) {
  std::string escaped;
  while (!text.empty()) {
    const Character character = front_of(text);
    const size_t length = std::max<size_t>(character.length, 1);
    if (character.code != '\n' && character.length != 0 && is_unseen(character.code)) {
      escaped += escape_of(character.code);
    } else {
      escaped += text.substr(0, length);
    }
    text.remove_prefix(length);
  }
  return escaped;
}

class PolicyWriter {
 public:
  std::string run(const PolicyFile &file);

 private:
  // A mapping or a list; it ends with the object.
  class Mapping {
   public:
    explicit Mapping(PolicyWriter &writer) : out_(&writer.out_) { *out_ << YAML::BeginMap; }
    ~Mapping() { *out_ << YAML::EndMap; }
    Mapping(const Mapping &) = delete;
    Mapping &operator=(const Mapping &) = delete;

   private:
    YAML::Emitter *out_;
  };

  void scalar(std::string_view text);
  void key(std::string_view name);
  void entry(std::string_view name, std::string_view value);
  void number(std::string_view name, int64_t value);
  void flag(std::string_view name);
  template <class Element, class Each>
  void list(std::string_view name, const std::vector<Element> &elements, Each each);
  template <class Element, class Each>
  void section(std::string_view name, const std::vector<Element> &elements, Each each);

  void client(const Client &client);
  void domain(const Domain &domain);
  void class_map(const ClassMap &map);
  void parameter_map(const ParameterMap &map);
  void statement(const Statement &statement);
  void policy_map(const PolicyMap &policy);
  void event(const EventRules &event);
  void rule(const Rule &rule);
  void target(const Target &target);
  void filter(const Filter &filter);
  void test_of(const Filter &filter);
  void actions(const std::vector<Action> &actions);
  void action(const Action &action, uint32_t next_number);
  void verb_of(const Action &action);

  YAML::Emitter out_;
};

void PolicyWriter::scalar(std::string_view text) {
  if (!is_plain(text)) out_ << YAML::DoubleQuoted;
  out_ << std::string(text);
}

void PolicyWriter::key(std::string_view name) {
  out_ << YAML::Key;
  scalar(name);
  out_ << YAML::Value;
}

void PolicyWriter::entry(std::string_view name, std::string_view value) {
  key(name);
  scalar(value);
}

void PolicyWriter::number(std::string_view name, int64_t value) {
  entry(name, std::to_string(value));
}

void PolicyWriter::flag(std::string_view name) {
  key(name);
  out_ << true;
}

template <class Element, class Each>
void PolicyWriter::list(std::string_view name, const std::vector<Element> &elements, Each each) {
  key(name);
  if (elements.empty()) out_ << YAML::Flow;
  out_ << YAML::BeginSeq;
  for (const Element &element : elements)
    each(element);
  out_ << YAML::EndSeq;
}

// Names, and the value of each.
template <class Element, class Each>
void PolicyWriter::section(std::string_view name, const std::vector<Element> &elements, Each each) {
  if (elements.empty()) return;
  key(name);
  const Mapping mapping(*this);
  for (const Element &element : elements) {
    key(element.name.value);
    each(element);
  }
}

std::string PolicyWriter::run(const PolicyFile &file) {
  {
    const Mapping mapping(*this);
    section("clients", file.clients, [&](const Client &each) { client(each); });
    section("domains", file.domains, [&](const Domain &each) { domain(each); });
    section("class-maps", file.class_maps, [&](const ClassMap &each) { class_map(each); });
    section("parameter-maps", file.parameter_maps, [&](const ParameterMap &each) { parameter_map(each); });
    section("policy-maps", file.policy_maps, [&](const PolicyMap &each) { policy_map(each); });
    section("targets", file.targets, [&](const Target &each) { target(each); });
  }
  return with_escapes(std::string_view(out_.c_str(), out_.size())) + "\n";
}

void PolicyWriter::client(const Client &client) {
  out_ << YAML::Flow;
  const Mapping mapping(*this);
  entry("database", client.own_database ? "own" : "default");
}

void PolicyWriter::domain(const Domain &domain) {
  out_ << YAML::Flow;
  const Mapping mapping(*this);
  if (domain.owner) entry("owner", domain.owner->value);
}

const char *word_of(ClassMatch match) {
  switch (match) {
    case ClassMatch::all:
      return "all";
    case ClassMatch::any:
      return "any";
    case ClassMatch::none:
      return "none";
  }
  return "";
}

void PolicyWriter::class_map(const ClassMap &map) {
  const Mapping mapping(*this);
  entry("domain", map.domain.value);
  entry("match", word_of(map.match));
  if (!map.filters.empty()) list("filters", map.filters, [&](const Filter &each) { filter(each); });
}

void PolicyWriter::parameter_map(const ParameterMap &map) {
  const Mapping mapping(*this);
  list("statements", map.statements, [&](const Statement &each) { statement(each); });
}

void PolicyWriter::statement(const Statement &statement) {
  const Mapping mapping(*this);
  number("index", statement.index);
  list("filters", statement.filters, [&](const Filter &each) { filter(each); });
  actions(statement.actions);
}

void PolicyWriter::policy_map(const PolicyMap &policy) {
  const Mapping mapping(*this);
  entry("domain", policy.domain.value);
  key("events");
  if (policy.events.empty()) out_ << YAML::Flow;
  const Mapping events(*this);
  for (const EventRules &each : policy.events) {
    key(each.event.value);
    event(each);
  }
}

void PolicyWriter::event(const EventRules &event) {
  const Mapping mapping(*this);
  entry("match", event.match == EventMatch::all ? "all" : "first");
  list("rules", event.rules, [&](const Rule &each) { rule(each); });
}

void PolicyWriter::rule(const Rule &rule) {
  const Mapping mapping(*this);
  number("number", rule.number);
  entry("class", rule.class_map.value);
  if (rule.execute == Execute::run_all) entry("execute", "run-all");
  if (rule.execute == Execute::stop_on_success) entry("execute", "stop-on-success");
  actions(rule.actions);
}

void PolicyWriter::target(const Target &target) {
  const Mapping mapping(*this);
  if (target.client) entry("client", target.client->value);
  if (!target.attributes.empty()) {
    key("attributes");
    const Mapping attributes(*this);
    for (const Assignment &assignment : target.attributes)
      entry(assignment.attribute.value, assignment.text);
  }
  key("policies");
  out_ << YAML::Flow << YAML::BeginSeq;
  for (const Name &policy : target.policies)
    scalar(policy.value);
  out_ << YAML::EndSeq;
}

// ---- Leaves, a line each ------------------------------------------------------------------------------------------------------

void PolicyWriter::filter(const Filter &filter) {
  out_ << YAML::Flow;
  const Mapping mapping(*this);
  entry("attribute", filter.attribute.value);
  test_of(filter);
  if (filter.no_match) flag("no-match");
}

void PolicyWriter::test_of(const Filter &filter) {
  switch (filter.kind) {
    case FilterKind::equals:
    case FilterKind::prefix:
    case FilterKind::regex:
      return entry(to_string(filter.kind), filter.text);
    case FilterKind::range: {
      key("range");
      const Mapping range(*this);
      // A range needs an end, even if that is the lowest or highest number.
      const bool open = filter.high == std::numeric_limits<int64_t>::max();
      if (open || filter.low != std::numeric_limits<int64_t>::min()) number("min", filter.low);
      if (!open) number("max", filter.high);
      return;
    }
    case FilterKind::present:
      return flag("present");
  }
}

void PolicyWriter::actions(const std::vector<Action> &actions) {
  uint32_t next_number = 1;
  list("actions", actions, [&](const Action &each) {
    action(each, next_number);
    next_number = each.number + 1;
  });
}

void PolicyWriter::action(const Action &action, uint32_t next_number) {
  const bool numbered = action.number != next_number;
  const bool verb_only = !numbered && action.precedence == 0;
  const bool is_word = action.kind == ActionKind::permit || action.kind == ActionKind::deny;
  if (verb_only && is_word) return scalar(to_string(action.kind));
  if (!verb_only) out_ << YAML::Flow;
  const Mapping mapping(*this);
  verb_of(action);
  if (numbered) number("number", action.number);
  if (action.precedence != 0) number("precedence", action.precedence);
}

void PolicyWriter::verb_of(const Action &action) {
  switch (action.kind) {
    case ActionKind::set: {
      key("set");
      out_ << YAML::Flow;
      const Mapping assignment(*this);
      return entry(action.subject.value, action.text);
    }
    case ActionKind::log:
      return entry("log", action.text);
    case ActionKind::clear:
    case ActionKind::count:
    case ActionKind::raise:
    case ActionKind::apply:
      return entry(to_string(action.kind), action.subject.value);
    case ActionKind::permit:
    case ActionKind::deny:
      key(to_string(action.kind));
      out_ << YAML::Null;
      return;
  }
}

}  // namespace

std::string write_objects(const PolicyFile &file) {
  return PolicyWriter().run(file);
}

}  // namespace simulator
