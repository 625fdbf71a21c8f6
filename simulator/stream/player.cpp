#include "simulator/stream/player.h"

#include <algorithm>

#include "simulator/policy/attributes.h"
#include "simulator/policy/kinds.h"
#include "simulator/policy/name.h"
#include "simulator/policy/value.h"
#include "simulator/text/text.h"

namespace simulator::stream {

namespace {

// Searching more names for the one that was meant would take longer than thousands of good lines.
constexpr size_t kMostSuggested = 200;

std::string no_such_of_many(std::string_view what, std::string_view name, const std::vector<std::string_view> &known) {
  return no_such(what, name, known.size() > kMostSuggested ? std::vector<std::string_view>() : known);
}

std::string bad_name(std::string_view name, std::string_view what, NameKind kind) {
  return concat(shown(name), " cannot be ", what, ": expected ", describe_name(kind));
}

}  // namespace

Player::Player(const PolicyFile &file, Repository &repository)
    : file_(&file), handles_(file.handles()), repository_(&repository), rules_(file), recorder_(rules_) {
  for (const std::string_view name : attribute_names(file)) {
    attribute_names_.emplace_back(name);
    attributes_.emplace(name, engine::register_attribute(name));
  }
}

// Does the work of a line; a bad one leaves its error.
template <class Work>
const Played &Player::played(size_t line, Work work) {
  played_ = {.line = line};
  try {
    work();
  } catch (Bad &bad) {
    error_ = std::move(bad.what);
    played_.error = error_;
  }
  return played_;
}

const Played &Player::play(const Line &line) {
  return play_read(line, 0, read(line, 0));
}

bool Player::play(std::span<const Line> lines, const std::function<bool(const Played &)> &each) {
  std::array<const Request *, kMostTogether> requests{};
  for (size_t at = 0; at < lines.size(); ++at)
    requests[at] = read(lines[at], at);
  prefetch(std::span(requests).first(lines.size()));
  for (size_t at = 0; at < lines.size(); ++at) {
    if (!each(play_read(lines[at], at, requests[at]))) return false;
  }
  return true;
}

// NULL if anything is wrong with the line; the reader of this number knows what.
const Request *Player::read(const Line &line, size_t with) {
  return line.too_long ? nullptr : readers_[with].read(line.text);
}

const Played &Player::play_read(const Line &line, size_t with, const Request *request) {
  return played(line.number, [&] {
    if (line.too_long) throw Bad{concat("the line is too long: expected at most ", kLongestLine, " bytes")};
    played_.request = request;
    if (!request) throw Bad{readers_[with].error()};
    play_request(*request);
  });
}

// Among thousands of targets, hardly one is in the processor's cache when its event comes.
void Player::prefetch(std::span<const Request *const> requests) const {
  std::array<std::string_view, kMostTogether> names;
  size_t count = 0;
  for (const Request *request : requests) {
    if (request) names[count++] = request->target;
  }
  std::array<uint32_t, kMostTogether> found;
  const auto targets = std::span(found).first(count);
  repository_->find_targets(std::span(names).first(count), targets);
  engine::prefetch(targets);
}

const Played &Player::play(size_t line, const Request &request) {
  return played(line, [&] {
    played_.request = &request;
    play_request(request);
  });
}

void Player::play_request(const Request &request) {
  switch (request.is) {
    case Request::Is::event:
      return raise(request);
    case Request::Is::add_target:
      return add_target(request);
    case Request::Is::delete_target:
      return delete_target(request);
  }
}

// ---- Names and values ---------------------------------------------------------------------------------------------------------

uint32_t Player::known_event(std::string_view name) const {
  if (const uint32_t id = file_->event_id(name)) return id;
  if (!is_name(name, NameKind::map)) throw Bad{bad_name(name, "an event's name", NameKind::map)};
  throw Bad{no_such_of_many("event", name, {file_->events.begin(), file_->events.end()})};
}

// Targets come and go, so their names are no suggestions.
uint32_t Player::known_target(std::string_view name) const {
  if (const uint32_t target = repository_->target_handle(name)) return target;
  if (!is_name(name, NameKind::target)) throw Bad{bad_name(name, "a target's name", NameKind::target)};
  throw Bad{no_such("target", name, {})};
}

engine::AttributeId Player::known_attribute(std::string_view name) const {
  if (const auto known = attributes_.find(name); known != attributes_.end()) return known->second;
  if (!is_name(name, NameKind::map)) throw Bad{bad_name(name, "an attribute's name", NameKind::map)};
  throw Bad{no_such_of_many("attribute", name, {attribute_names_.begin(), attribute_names_.end()})};
}

// Leaves the attributes in 'given_'.
void Player::check_values(const std::vector<Given> &values) {
  given_.clear();
  last_given_.resize(attribute_names_.size());
  ++checks_;
  for (const Given &value : values) {
    const engine::AttributeId attribute = known_attribute(value.attribute);
    if (std::exchange(last_given_[attribute], checks_) == checks_)
      throw Bad{concat("duplicate name '", value.attribute, "': expected each attribute once")};
    if (const std::optional<BadValue> bad = check_value(value.text)) {
      throw Bad{concat("the attribute '", value.attribute, "' cannot have ", bad->what, ": expected ", bad->expected)};
    }
    given_.push_back(attribute);
  }
}

// ---- Events -------------------------------------------------------------------------------------------------------------------

void Player::raise(const Request &request) {
  const uint32_t event = known_event(request.event);
  const uint32_t target = known_target(request.target);
  for (const std::string_view attribute : request.clear)
    known_attribute(attribute);
  check_values(request.set);

  if (!request.clear.empty() || !request.set.empty()) change_attributes(target, request);
  played_.happened = &recorder_.raise(target, event);
}

void Player::change_attributes(uint32_t target, const Request &request) {
  engine::Attributes *attributes = engine::attributes_of(target);
  if (!attributes) {
    broken_ = true;
    return;
  }
  for (const std::string_view attribute : request.clear)
    attributes->clear(known_attribute(attribute));
  set_given(*attributes, request);
}

void Player::set_given(engine::Attributes &attributes, const Request &request) {
  for (size_t at = 0; at < given_.size(); ++at)
    attributes.set(given_[at], request.set[at].text);
}

// ---- Targets ------------------------------------------------------------------------------------------------------------------

void Player::add_target(const Request &request) {
  check_new_target(request);
  const Client *client = known_client(request);
  check_values(request.set);
  check_policies(request);

  engine::Attributes *attributes = repository_->add_target(request.target, client, policies_);
  if (!attributes) {
    broken_ = true;
    return;
  }
  handles_ += kHandlesOfTarget;
  set_given(*attributes, request);
}

void Player::check_new_target(const Request &request) {
  if (!is_name(request.target, NameKind::target))
    throw Bad{bad_name(request.target, "a target's name", NameKind::target)};
  if (repository_->target_handle(request.target) != 0)
    throw Bad{concat("there is a target '", request.target, "' already: expected a name that no target has")};
  if (handles_ + kHandlesOfTarget > kMostHandles) {
    throw Bad{concat("there would be ", handles_ + kHandlesOfTarget, " objects: expected at most ", kMostHandles,
                     ": maps, filters, events, rules, actions, and two for each target")};
  }
}

// NULL if the line names none.
const Client *Player::known_client(const Request &request) const {
  if (!request.client) return nullptr;
  if (const Client *found = file_->find_client(*request.client)) return found;
  if (!is_name(*request.client, NameKind::map)) throw Bad{bad_name(*request.client, "a client's name", NameKind::map)};
  throw Bad{no_such_of_many("client", *request.client, names_of(*file_, ObjectKind::client))};
}

// Leaves the policy-maps in 'policies_'.
void Player::check_policies(const Request &request) {
  policies_.clear();
  if (request.policies.empty())
    throw Bad{concat("target '", request.target,
                     "' has no policy: expected at least one policy-map: no target exists without")};
  for (const std::string_view policy : request.policies) {
    const PolicyMap *found = file_->find_policy_map(policy);
    if (!found) {
      if (!is_name(policy, NameKind::map)) throw Bad{bad_name(policy, "a policy-map's name", NameKind::map)};
      throw Bad{no_such_of_many("policy-map", policy, names_of(*file_, ObjectKind::policy))};
    }
    // At most as many policies come before the first duplicate as the file has, so this ends early.
    if (std::find(policies_.begin(), policies_.end(), found) != policies_.end())
      throw Bad{concat("policy-map '", policy, "' is active already: expected each policy-map once on a target")};
    policies_.push_back(found);
  }
}

void Player::delete_target(const Request &request) {
  known_target(request.target);
  if (!repository_->delete_target(request.target)) {
    broken_ = true;
    return;
  }
  handles_ -= kHandlesOfTarget;
}

}  // namespace simulator::stream
