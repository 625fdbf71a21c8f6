#include "simulator/diff/stream_side.h"

#include <algorithm>

#include "simulator/explanation/words.h"
#include "simulator/text/json_text.h"
#include "simulator/text/text.h"

namespace simulator::diff {

namespace {

// No name contains it, and in JSON it would be escaped.
constexpr char kSeparator = '\0';

void append_part(std::string &to, std::string_view part) {
  to.append(part);
  to += kSeparator;
}

std::string_view take_part(std::string_view &text) {
  const size_t length = text.find(kSeparator);
  const std::string_view part = text.substr(0, length);
  text.remove_prefix(length + 1);
  return part;
}

void pack(const LineDecision &decision, std::string &to) {
  to.clear();
  for (const std::string_view part : {decision.event, decision.target, decision.error, decision.verdict,
                                      decision.decided_by, decision.changed, decision.log, decision.rules})
    append_part(to, part);
}

std::string name_of(const stream::RuleOfFile &of, const Side &side) {
  return concat(side.common_name(Named::policy_map, of.policy->name.value), "/",
                side.common_name(Named::event, of.event->event.value), " ",
                side.common_name(Named::class_map, of.rule->class_map.value));
}

}  // namespace

std::string packed(const LineDecision &decision) {
  std::string text;
  pack(decision, text);
  return text;
}

LineDecision unpacked(std::string_view text) {
  LineDecision decision;
  for (std::string_view *part : {&decision.event, &decision.target, &decision.error, &decision.verdict,
                                 &decision.decided_by, &decision.changed, &decision.log, &decision.rules})
    *part = take_part(text);
  return decision;
}

StreamSide::StreamSide(const Side &side, const PolicyFile &file, Repository &repository)
    : side_(&side), file_(&file), player_(file, repository) {
  for (size_t number = 0; number < player_.rules().size(); ++number)
    rule_names_.push_back(name_of(player_.rules()[number], side));
}

const stream::Played &StreamSide::play(const stream::Line &line) {
  event_ = target_ = {};
  const stream::Request *request = line.too_long ? nullptr : reader_.read(line.text);
  if (!request) return *(played_ = &player_.play(line));
  event_ = request->event;
  target_ = request->target;
  request_ = known_part_of(*request);
  return *(played_ = &player_.play(line.number, request_));
}

std::string_view StreamSide::own_name(Named kind, std::string_view name, bool is_known) const {
  if (is_known) return name;
  const std::string text(name);
  const std::string &own = side_->own_name(kind, text);
  return &own == &text ? name : std::string_view(own);
}

stream::Request StreamSide::known_part_of(const stream::Request &request) const {
  stream::Request known = request;
  std::erase_if(known.set, [&](const stream::Given &given) { return !player_.knows(given.attribute); });
  std::erase_if(known.clear, [&](std::string_view attribute) { return !player_.knows(attribute); });
  known.event = own_name(Named::event, request.event, file_->event_id(request.event) != 0);
  known.target = own_name(Named::target, request.target, file_->find_target(request.target) != nullptr);
  for (std::string_view &policy : known.policies)
    policy = own_name(Named::policy_map, policy, file_->find_policy_map(policy) != nullptr);
  if (known.client) known.client = own_name(Named::client, *known.client, file_->find_client(*known.client) != nullptr);
  return known;
}

const std::string &StreamSide::decision() {
  LineDecision decision{.event = event_, .target = target_, .error = played_->error};
  if (const stream::Happened *happened = played_->happened) {
    write_changes();
    write_rules_and_log();
    decision.verdict = to_string(happened->outcome.verdict);
    decision.decided_by = happened->decision ? rule_names_[happened->decision->rule] : std::string_view("-");
    decision.changed = changed_;
    decision.log = log_;
    decision.rules = rules_;
  }
  pack(decision, packed_);
  return packed_;
}

void StreamSide::write_changes() {
  sorted_.clear();
  for (const stream::Change &change : played_->happened->changes) {
    if (change.is_one()) sorted_.push_back(&change);
  }
  const auto name = [](const stream::Change *change) -> const std::string & {
    return engine::attribute_name(change->attribute);
  };
  std::sort(sorted_.begin(), sorted_.end(),
            [&](const auto *one, const auto *other) { return name(one) < name(other); });
  changed_.clear();
  for (const stream::Change *change : sorted_) {
    changed_ += changed_.empty() ? "" : ", ";
    changed_ += name(change);
    changed_ += ' ';
    if (change->is_present) {
      append_json_string(changed_, change->after);
    } else {
      changed_ += "absent";
    }
  }
}

void StreamSide::write_rules_and_log() {
  rules_.clear();
  for (const uint32_t rule : played_->happened->rules) {
    rules_ += rules_.empty() ? "" : ", ";
    rules_ += rule_names_[rule];
  }
  log_.clear();
  for (const std::string_view text : played_->happened->log) {
    log_ += log_.empty() ? "" : ", ";
    append_json_string(log_, text);
  }
}

}  // namespace simulator::diff
