#include "simulator/diff/replay.h"

#include <functional>
#include <ostream>
#include <unordered_set>

#include "command/child_process.h"
#include "command/exit_codes.h"
#include "command/json_output.h"
#include "command/report.h"
#include "simulator/explanation/explanation_json.h"
#include "simulator/explanation/explanation_text.h"
#include "simulator/explanation/recorder.h"
#include "simulator/explanation/words.h"
#include "simulator/policy/attributes.h"
#include "simulator/text/text.h"

namespace simulator::diff {

namespace {

// Raises the steps one after the other on a repository of a file that they were not written for.
class Player {
 public:
  explicit Player(const PolicyFile &file) : file_(&file) {
    for_each_attribute(file, [&](const Name &attribute) { attributes_.insert(attribute.value); });
  }

  // Calls 'each' with every step as this file has it, why it cannot be raised, and what came of it. Answers an exit code.
  int play(const std::vector<Step> &steps,
           const std::function<void(const Step &, const std::string &, const EventExplanation &)> &each) const {
    Repository repository(*file_);
    if (repository.build()) {
      Recorder recorder(*file_);
      for (const Step &given : steps) {
        const Step step = known_part_of(given);
        const std::string impossible = why_impossible(step);
        each(step, impossible, impossible.empty() ? recorder.raise(repository, step) : EventExplanation());
      }
    }
    return command::finish(repository);
  }

 private:
  // What no filter and no action of the file speaks of can be left out, and there is no end to what others may speak of.
  Step known_part_of(const Step &step) const {
    Step known = step;
    std::erase_if(known.set, [&](const Assignment &set) { return !attributes_.contains(set.attribute.value); });
    std::erase_if(known.clear, [&](const Name &attribute) { return !attributes_.contains(attribute.value); });
    // The positions are those of another file.
    known.position = {};
    for (Assignment &set : known.set)
      set.attribute.position = {};
    for (Name &attribute : known.clear)
      attribute.position = {};
    return known;
  }

  std::string why_impossible(const Step &step) const {
    if (file_->event_id(step.event.value) == 0) return concat("no policy-map handles the event ", step.event.value);
    if (!file_->find_target(step.target.value)) return concat("there is no target ", step.target.value);
    return {};
  }

  const PolicyFile *file_;
  std::unordered_set<std::string_view> attributes_;
};

Decided decided_by(const std::string &impossible, const EventExplanation &explanation) {
  if (!impossible.empty()) return {.impossible = impossible};
  Decided decided{.verdict = to_string(explanation.outcome.verdict), .log = logs(explanation)};
  for (const RuleRun &run : rules_run(explanation)) {
    decided.rules.push_back(
        concat(run.policy->name.value, "/", run.event->event.value, " ", run.rule->class_map->name.value));
  }
  for (Change &change : net_changes(explanation))
    decided.changed[engine::attribute_name(change.attribute)] = std::move(change.after);
  return decided;
}

Json to_json(const Decided &decided) {
  Json changed = Json::object();
  for (const auto &[attribute, value] : decided.changed)
    changed[attribute] = text_or_null(value);
  return Json::array({decided.impossible, decided.verdict, decided.rules, std::move(changed), decided.log});
}

Decided from_json(const Json &json) {
  Decided decided{json[0], json[1], json[2], {}, json[4]};
  for (const auto &[attribute, value] : json[3].items()) {
    decided.changed[attribute] = value.is_null() ? std::nullopt : std::optional(value.get<std::string>());
  }
  return decided;
}

}  // namespace

std::optional<std::vector<Decided>> replay(const PolicyFile &file, const std::vector<Step> &steps) {
  const command::Apart apart = command::run_in_child_process(file.path, [&](std::ostream &answer) {
    Json all = Json::array();
    const int code =
        Player(file).play(steps, [&](const Step &, const std::string &impossible, const EventExplanation &explanation) {
          all.push_back(to_json(decided_by(impossible, explanation)));
        });
    answer << all.dump();
    return code;
  });
  if (apart.code != command::kSuccess) return std::nullopt;
  std::vector<Decided> decided;
  for (const Json &json : Json::parse(apart.answer))
    decided.push_back(from_json(json));
  return decided;
}

std::optional<Explanation> explain(const PolicyFile &file, const std::vector<Step> &steps, size_t number) {
  const std::vector<Step> up_to(steps.begin(), steps.begin() + static_cast<std::ptrdiff_t>(number) + 1);
  const command::Apart apart = command::run_in_child_process(file.path, [&](std::ostream &answer) {
    Json explanation;
    size_t at = 0;
    const int code = Player(file).play(up_to, [&](const Step &step, const std::string &impossible,
                                                  const EventExplanation &raised) {
      if (at++ != number) return;
      const bool possible = impossible.empty();
      explanation = {possible ? explanation_text(raised, file, step, Level::rules, Colours::off) : impossible + "\n",
                     possible ? explanation_json(raised, file, step, Level::rules) : Json(nullptr)};
    });
    command::print_json(answer, explanation);
    return code;
  });
  if (apart.code != command::kSuccess) return std::nullopt;
  Json explanation = Json::parse(apart.answer);
  return Explanation{explanation[0], std::move(explanation[1])};
}

}  // namespace simulator::diff
