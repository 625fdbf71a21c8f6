#include "simulator/prove/render.h"

#include "simulator/explanation/explanation_json.h"
#include "simulator/explanation/explanation_text.h"
#include "simulator/policy/position_json.h"
#include "simulator/reasoning/render.h"
#include "simulator/text/text.h"

namespace simulator::prove {

const char *to_string(Result result) {
  switch (result) {
    case Result::proved:
      return "proved";
    case Result::refuted:
      return "refuted";
    case Result::undecided:
      break;
  }
  return "undecided";
}

namespace {

Tone tone_of(Result result) {
  switch (result) {
    case Result::proved:
      return Tone::good;
    case Result::refuted:
      return Tone::bad;
    case Result::undecided:
      break;
  }
  return Tone::changed;
}

std::string place_of(const PolicyFile &file, const Answer &answer) {
  const Position position = answer.position;
  if (position.line == 0) return file.shown_path();
  return concat(file.shown_path_of(position), ":", position.line);
}

// The attributes that matter and are absent are left out: a target that has these and no others is a witness, too.
std::string text_of_witness(const reasoning::Input &witness) {
  std::string text;
  for (const auto &[attribute, value] : witness) {
    if (value) text += concat(text.empty() ? "" : ", ", attribute, " is ", as_word(*value));
  }
  return text.empty() ? "a target without attributes" : text;
}

std::string text_of_policies(const reasoning::Policies &policies) {
  return concat("policy-map", policies.size() == 1 ? " " : "s ", comma_separated({policies.begin(), policies.end()}));
}

// The explanations of a comparison are those of two files.
std::string text_of_plays(const Answer &answer, Colours colours, size_t width) {
  std::string text;
  constexpr size_t kIndent = 4;
  const size_t left = width > kIndent ? width - kIndent : width;
  for (const Play &play : answer.plays) {
    text += answer.plays.size() == 1 ? std::string("  what happens:\n")
                                     : concat("  what happens with ", play.file->shown_path(), ":\n");
    text += indented(explanation_text(play.explanation, *play.file, play.step, Level::rules, colours, left), "    ");
  }
  return text;
}

}  // namespace

std::string text_of(const PolicyFile &file, const Answer &answer, Colours colours, size_t width) {
  std::string text = concat(painted(colours, tone_of(answer.result), to_string(answer.result)), "  ",
                            place_of(file, answer), ": ", escape_control_characters(answer.name), "\n");
  for (const std::string &note : answer.notes)
    text += concat("  ", note, "\n");
  for (const std::string &why : answer.why)
    text += concat("  in the way: ", why, "\n");
  if (answer.result != Result::refuted) return text;
  for (const std::string &what : answer.what)
    text += concat("  ", what, "\n");
  text += concat("  for example: ", text_of_witness(answer.witness), "\n");
  if (answer.plays.size() == 1) text += concat("  event ", answer.event, ", ", text_of_policies(answer.policies), "\n");
  return text + text_of_plays(answer, colours, width);
}

std::string summary_of(const Answers &answers) {
  return concat(answers.count(Result::proved), " proved, ", answers.count(Result::refuted), " refuted, ",
                answers.count(Result::undecided), " undecided");
}

Json json_of_counts(const Answers &answers) {
  Json counts;
  for (const Result result : {Result::proved, Result::refuted, Result::undecided})
    counts[to_string(result)] = answers.count(result);
  return counts;
}

Json json_of(const PolicyFile &file, const Answer &answer) {
  Json object;
  object["name"] = answer.name;
  object["file"] = file.path_of(answer.position);
  add_position_or_null(object, answer.position);
  object["event"] = answer.event;
  object["policies"] = Json(answer.policies);
  object["answer"] = to_string(answer.result);
  object["notes"] = Json(answer.notes);
  object["in_the_way"] = Json(answer.why);
  object["what"] = Json(answer.what);
  object["witness"] = answer.result == Result::refuted ? reasoning::json_of_input(answer.witness) : Json(nullptr);
  object["explanations"] = Json::array();
  for (const Play &play : answer.plays) {
    Json played;
    played["file"] = play.file->path;
    played["explanation"] = explanation_json(play.explanation, *play.file, play.step, Level::rules);
    object["explanations"].push_back(std::move(played));
  }
  return object;
}

}  // namespace simulator::prove
