#include "simulator/stream/line_reader.h"

#include <charconv>

#include <simdjson.h>

#include "simulator/policy/name.h"
#include "simulator/text/text.h"

namespace simulator::stream {

struct LineReader::Json {
  simdjson::dom::parser parser;
  simdjson::dom::element value;  // that is read now
};

enum class LineReader::Key : uint8_t {
  event,
  target,
  set,
  clear,
  add_target,
  attributes,
  policies,
  client,
  delete_target,
};

namespace {

constexpr std::string_view kKeys[] = {"event",      "target",   "set",    "clear",        "add-target",
                                      "attributes", "policies", "client", "delete-target"};

std::string keys_text(unsigned keys) {
  std::vector<std::string_view> words;
  for (size_t at = 0; at < std::size(kKeys); ++at) {
    if ((keys >> at & 1U) != 0) words.push_back(kKeys[at]);
  }
  return words.size() == 1 ? concat("the key ", words[0]) : concat("one of the keys ", comma_separated(words));
}

std::string reason_of(simdjson::error_code error) {
  switch (error) {
    case simdjson::UTF8_ERROR:
      return "the line is not UTF-8: expected text in UTF-8";
    case simdjson::UNCLOSED_STRING:
      return "the line ends within a text: expected a JSON object in one line";
    case simdjson::NUMBER_ERROR:
      return "the line has a number that is none, or is beyond 64 bits: expected a text, in quotes";
    case simdjson::DEPTH_ERROR:
      return "the line is nested too deeply: expected a JSON object";
    default:
      return "the line is no JSON: expected a JSON object in one line";
  }
}

const char *kind_of(simdjson::dom::element value) {
  switch (value.type()) {
    case simdjson::dom::element_type::ARRAY:
      return "a list";
    case simdjson::dom::element_type::OBJECT:
      return "an object";
    case simdjson::dom::element_type::STRING:
      return "a text";
    case simdjson::dom::element_type::BOOL:
      return "true or false";
    case simdjson::dom::element_type::NULL_VALUE:
      return "null";
    case simdjson::dom::element_type::INT64:
    case simdjson::dom::element_type::UINT64:
      return "a number";
    case simdjson::dom::element_type::DOUBLE:
      return "a number with a fraction or an exponent";
    default:
      return "something else";
  }
}

}  // namespace

LineReader::LineReader() : json_(std::make_unique<Json>()) {}
LineReader::~LineReader() = default;

const Request *LineReader::read(std::string_view text) {
  request_.is = Request::Is::event;
  request_.event = request_.target = {};
  request_.set.clear();
  request_.clear.clear();
  request_.policies.clear();
  request_.client.reset();
  seen_ = 0;
  digits_used_ = 0;

  const simdjson::error_code error = json_->parser.parse(text.data(), text.size(), false).get(json_->value);
  if (error == simdjson::MEMALLOC) throw std::bad_alloc();
  if (error != simdjson::SUCCESS) {
    error_ = reason_of(error);
    return nullptr;
  }
  return read_members() && check_keys() ? &request_ : nullptr;
}

bool LineReader::read_members() {
  simdjson::dom::object object;
  if (json_->value.get(object) != simdjson::SUCCESS) return refuse_kind("the line", "an object");
  for (const auto [name, value] : object) {
    json_->value = value;
    if (!read_member(name)) return false;
  }
  return true;
}

bool LineReader::read_member(std::string_view name) {
  const auto *found = std::find(std::begin(kKeys), std::end(kKeys), name);
  if (found == std::end(kKeys)) {
    const std::string_view near = nearest(name.substr(0, 64), {std::begin(kKeys), std::end(kKeys)});
    return refuse(concat("unknown key ", shown(name), " in the line",
                         near.empty() ? std::string() : concat("; did you mean '", near, "'?")));
  }
  const auto key = static_cast<Key>(found - std::begin(kKeys));
  if (has(key)) return refuse(concat("duplicate key '", name, "' in the line: expected each key once"));
  seen_ |= bit(key);
  return read_value(key);
}

bool LineReader::read_value(Key key) {
  switch (key) {
    case Key::event:
      request_.is = Request::Is::event;
      return read_text("the event", request_.event);
    case Key::target:
      return read_text("the target", request_.target);
    case Key::set:
      return read_values("what the line sets");
    case Key::clear:
      return read_texts("what the line clears", "an attribute to clear", request_.clear);
    case Key::add_target:
      request_.is = Request::Is::add_target;
      return read_text("the target to add", request_.target);
    case Key::attributes:
      return read_values("the attributes");
    case Key::policies:
      return read_texts("the list of policies", "a policy", request_.policies);
    case Key::client:
      return read_text("the client", request_.client.emplace());
    case Key::delete_target:
      request_.is = Request::Is::delete_target;
      return read_text("the target to delete", request_.target);
  }
  return false;
}

bool LineReader::read_text(std::string_view what, std::string_view &text) {
  if (json_->value.get(text) == simdjson::SUCCESS) return true;
  return refuse_kind(what, "a text");
}

bool LineReader::read_texts(std::string_view what, std::string_view item, std::vector<std::string_view> &texts) {
  simdjson::dom::array array;
  if (json_->value.get(array) != simdjson::SUCCESS) return refuse_kind(what, "a list");
  for (const simdjson::dom::element element : array) {
    json_->value = element;
    if (!read_text(item, texts.emplace_back())) return false;
  }
  return true;
}

bool LineReader::read_values(std::string_view what) {
  simdjson::dom::object object;
  if (json_->value.get(object) != simdjson::SUCCESS) return refuse_kind(what, "an object");
  for (const auto [name, value] : object) {
    json_->value = value;
    Given &given = request_.set.emplace_back();
    given.attribute = name;
    if (!read_scalar(given.text)) return false;
  }
  return true;
}

// A policy file has the same texts with or without quotes.
bool LineReader::read_scalar(std::string_view &text) {
  if (json_->value.get(text) == simdjson::SUCCESS) return true;
  if (bool flag = false; json_->value.get(flag) == simdjson::SUCCESS) {
    text = flag ? "true" : "false";
    return true;
  }
  if (int64_t number = 0; json_->value.get(number) == simdjson::SUCCESS) {
    text = digits_of(number);
    return true;
  }
  return refuse_kind("an attribute's value", "a text, in quotes");
}

std::string_view LineReader::digits_of(long long number) {
  if (digits_used_ == digits_.size()) digits_.emplace_back();
  std::array<char, 24> &digits = digits_[digits_used_++];
  const auto written = std::to_chars(digits.data(), digits.data() + digits.size(), number);
  return {digits.data(), static_cast<size_t>(written.ptr - digits.data())};
}

// Every key belongs to one kind of line.
bool LineReader::check_keys() {
  static const unsigned kOfEvent = bit(Key::event) | bit(Key::target) | bit(Key::set) | bit(Key::clear);
  static const unsigned kOfAdding = bit(Key::add_target) | bit(Key::attributes) | bit(Key::policies) | bit(Key::client);
  static const unsigned kOfDeleting = bit(Key::delete_target);

  if (has(Key::event) && (seen_ & ~kOfEvent) == 0) {
    return has(Key::target) || refuse("an event has no 'target': expected the key target");
  }
  if (has(Key::add_target) && (seen_ & ~kOfAdding) == 0) {
    return has(Key::policies) || refuse("a target to add has no 'policies': expected the key policies");
  }
  if (has(Key::delete_target) && (seen_ & ~kOfDeleting) == 0) return true;

  const unsigned kinds = bit(Key::event) | bit(Key::add_target) | bit(Key::delete_target);
  if ((seen_ & kinds) == 0) return refuse(concat("the line says nothing: expected ", keys_text(kinds)));
  const unsigned keys = has(Key::event) ? kOfEvent : has(Key::add_target) ? kOfAdding : kOfDeleting;
  const std::string_view first = has(Key::event) ? kKeys[0] : has(Key::add_target) ? "add-target" : "delete-target";
  return refuse(
      concat("a line with '", first, "' cannot have ", keys_text(seen_ & ~keys), ": expected only ", keys_text(keys)));
}

bool LineReader::refuse(std::string what) {
  error_ = std::move(what);
  return false;
}

bool LineReader::refuse_kind(std::string_view what, std::string_view expected) {
  return refuse(concat(what, " is ", kind_of(json_->value), ": expected ", expected));
}

}  // namespace simulator::stream
