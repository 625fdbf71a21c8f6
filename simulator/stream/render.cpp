#include "simulator/stream/render.h"

#include <charconv>

#include "simulator/explanation/words.h"
#include "simulator/policy/position_json.h"
#include "simulator/text/json_text.h"
#include "simulator/text/text.h"

namespace simulator::stream {

namespace {

void append_number(std::string &out, size_t number) {
  char digits[24];
  const auto written = std::to_chars(digits, digits + sizeof digits, number);
  out.append(digits, written.ptr);
}

void append_text_or_null(std::string &out, bool is_present, const std::string &text) {
  if (is_present) {
    append_json_string(out, text);
  } else {
    out += "null";
  }
}

void append_changes(std::string &out, std::span<const Change> changes) {
  bool first = true;
  for (const Change &change : changes) {
    if (!change.is_one()) continue;
    out += first ? "" : ",";
    first = false;
    out += "{\"attribute\":";
    append_json_string(out, engine::attribute_name(change.attribute));
    out += ",\"before\":";
    append_text_or_null(out, change.was_present, change.before);
    out += ",\"after\":";
    append_text_or_null(out, change.is_present, change.after);
    out += '}';
  }
}

void append_log(std::string &out, const std::vector<std::string_view> &log) {
  for (size_t at = 0; at < log.size(); ++at) {
    out += at == 0 ? "" : ",";
    append_json_string(out, log[at]);
  }
}

// A JSON object without its last brace.
std::string open_text(const Json &object) {
  std::string text = object.dump();
  text.pop_back();
  return text;
}

std::string text_of_rule(const RuleOfFile &of) {
  Json object;
  object["rule"] = of.name();
  object["class_map"] = of.rule->class_map.value;
  add_position(object, of.rule->position);
  return open_text(object);
}

std::string text_of_action(const Action &action) {
  Json object;
  object["number"] = action.number;
  object["action"] = to_string(action);
  add_position(object, action.position);
  return object.dump();
}

std::string limit_text(const Refused &refused) {
  return simulator::limit_text(*refused.first, refused.too_deep, refused.count);
}

}  // namespace

JsonRenderer::JsonRenderer(const Rules &rules) {
  for (size_t number = 0; number < rules.size(); ++number)
    rule_texts_.push_back(text_of_rule(rules[number]));
}

void JsonRenderer::append(std::string &out, const Played &played) {
  if (played.error.empty() && !played.happened) return;
  out += "{\"line\":";
  append_number(out, played.line);
  if (played.error.empty()) {
    append_event(out, played);
  } else {
    out += ",\"error\":";
    append_json_string(out, played.error);
  }
  out += "}\n";
}

void JsonRenderer::append_event(std::string &out, const Played &played) {
  const Happened &happened = *played.happened;
  out += ",\"event\":";
  append_json_string(out, played.request->event);
  out += ",\"target\":";
  append_json_string(out, played.request->target);
  out += ",\"verdict\":\"";
  out += to_string(happened.outcome.verdict);
  out += "\",\"decided_by\":";
  append_decision(out, happened);
  out += ",\"changes\":[";
  append_changes(out, happened.changes);
  out += "],\"log\":[";
  append_log(out, happened.log);
  out += ']';
  if (happened.refused.count == 0) return;
  out += ",\"stopped\":";
  append_json_string(out, limit_text(happened.refused));
}

void JsonRenderer::append_decision(std::string &out, const Happened &happened) {
  if (!happened.decision) {
    out += "null";
    return;
  }
  out += rule_texts_[happened.decision->rule];
  out += ",\"action\":";
  std::string &action = action_texts_[happened.decision->action];
  if (action.empty()) action = text_of_action(*happened.decision->action);
  out += action;
  out += '}';
}

TextRenderer::TextRenderer(const PolicyFile &file, const Rules &rules, Colours colours) : colours_(colours) {
  for (size_t number = 0; number < rules.size(); ++number) {
    const Position position = rules[number].rule->position;
    rule_texts_.push_back(concat(rules[number].name(), "  ", file.shown_path_of(position), ":", position.line));
  }
}

void TextRenderer::append(std::string &out, const Played &played) {
  if (!played.happened) return;
  const Happened &happened = *played.happened;
  append_number(out, played.line);
  out += "  ";
  out += played.request->event;
  out += "  ";
  out += played.request->target;
  out += "  ";
  out += verdict_text(happened.outcome.verdict, colours_);
  out += "  ";
  out += happened.decision ? std::string_view(rule_texts_[happened.decision->rule]) : std::string_view("-");
  if (happened.refused.count > 0)
    out += concat("  ", painted(colours_, Tone::bad, "error: "), limit_text(happened.refused));
  out += '\n';
}

}  // namespace simulator::stream
