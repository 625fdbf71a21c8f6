#include "simulator/lint/raises.h"

#include <algorithm>
#include <deque>

#include "engine/engine.h"

namespace simulator::lint {

Raises::Raises(const PolicyFile &file) : file_(&file) {
  for (const PolicyMap &policy : file.policy_maps) {
    for (const EventRules &event : policy.events) {
      for (const Rule &rule : event.rules)
        collect({&policy, &event, &rule});
    }
  }
  std::stable_sort(all_.begin(), all_.end(),
                   [](const Raise &a, const Raise &b) { return a.action->position < b.action->position; });
  for (size_t at = 0; at < all_.size(); ++at)
    from_[all_[at].from()].push_back(at);
  leave_out_ways_without_return();
}

// A raise of an event from which no raise is left leads nowhere; without it there may be others.
void Raises::leave_out_ways_without_return() {
  std::unordered_map<std::string_view, std::vector<std::string_view>> raised_by;
  std::unordered_map<std::string_view, size_t> left;
  for (const Raise &raise : all_) {
    raised_by[raise.to()].push_back(raise.from());
    ++left[raise.from()];
    left.try_emplace(raise.to(), 0);
  }
  std::vector<std::string_view> dead_ends;
  for (const auto &[event, count] : left) {
    if (count == 0) dead_ends.push_back(event);
  }
  while (!dead_ends.empty()) {
    const std::string_view event = dead_ends.back();
    dead_ends.pop_back();
    from_.erase(event);
    for (const std::string_view before : raised_by[event]) {
      if (--left[before] == 0) dead_ends.push_back(before);
    }
  }
}

void Raises::collect(const RuleOf &rule) {
  std::vector<AppliedStatement> through;
  collect(rule, rule.rule->actions, through, 0);
}

// The engine nests parameter-maps only so deep, so what is nested deeper raises nothing.
void Raises::collect(const RuleOf &rule, const std::vector<Action> &actions, std::vector<AppliedStatement> &through,
                     size_t depth) {
  for (const Action &action : actions) {
    if (all_.size() >= kMost) {
      complete_ = false;
      return;
    }
    if (action.kind == ActionKind::raise) all_.push_back({rule, through, &action});
    if (action.kind != ActionKind::apply || depth >= engine::kMaxDepth) continue;
    const ParameterMap *map = file_->find_parameter_map(action.subject.value);
    // A map that applies itself would be followed again and again.
    const bool is_nested =
        std::any_of(through.begin(), through.end(), [&](const AppliedStatement &outer) { return outer.map == map; });
    if (is_nested) continue;
    for (const Statement &statement : map->statements) {
      through.push_back({map, &statement});
      collect(rule, statement.actions, through, depth + 1);
      through.pop_back();
    }
  }
}

const std::vector<size_t> &Raises::from(std::string_view event) const {
  static const std::vector<size_t> kNone;
  const auto found = from_.find(event);
  return found == from_.end() ? kNone : found->second;
}

std::optional<std::vector<size_t>> Raises::shortest_loop(size_t raise, const std::function<bool()> &step) const {
  const std::string_view home = all_[raise].from();
  std::vector<size_t> loop;
  if (!from_.contains(home)) return loop;
  std::unordered_map<std::string_view, size_t> reached_by = {{all_[raise].to(), raise}};
  std::deque<std::string_view> to_follow = {all_[raise].to()};
  while (!to_follow.empty() && !reached_by.contains(home)) {
    for (const size_t next : from(to_follow.front())) {
      if (!step()) return std::nullopt;
      if (reached_by.emplace(all_[next].to(), next).second) to_follow.push_back(all_[next].to());
    }
    to_follow.pop_front();
  }
  if (!reached_by.contains(home)) return loop;
  for (std::string_view event = home; loop.empty() || loop.back() != raise; event = all_[loop.back()].from())
    loop.push_back(reached_by.at(event));
  std::reverse(loop.begin(), loop.end());
  return loop;
}

namespace {

std::vector<Formula> claims_of(Prover &prover, const AppliedStatement &applied) {
  std::vector<Formula> claims = {prover.claim(*applied.statement)};
  for (const Statement &statement : applied.map->statements) {
    if (&statement == applied.statement) break;
    claims.push_back(~prover.claim(statement));
  }
  return claims;
}

}  // namespace

std::vector<Formula> claims_of(Prover &prover, const PolicyFile &file, const RuleOf &rule) {
  const auto class_of = [&](const Rule &of) -> const ClassMap & { return *file.find_class_map(of.class_map.value); };
  std::vector<Formula> claims = {prover.claim(class_of(*rule.rule))};
  if (rule.event->match != EventMatch::first) return claims;
  for (const Rule &other : rule.event->rules) {
    if (other.number < rule.rule->number) claims.push_back(~prover.claim(class_of(other)));
  }
  return claims;
}

std::vector<Formula> claims_of(Prover &prover, const PolicyFile &file, const Raise &raise) {
  std::vector<Formula> claims = claims_of(prover, file, raise.rule);
  for (const AppliedStatement &applied : raise.through) {
    const std::vector<Formula> more = claims_of(prover, applied);
    claims.insert(claims.end(), more.begin(), more.end());
  }
  return claims;
}

}  // namespace simulator::lint
