#include "simulator/session/completion.h"

#include <algorithm>
#include <filesystem>
#include <optional>

#include "simulator/policy/attributes.h"
#include "simulator/session/commands.h"
#include "simulator/text/text.h"

namespace simulator::session {

namespace {

using Words = std::vector<std::string>;

template <class Texts>
Words copies(const Texts &texts, std::string_view suffix = {}) {
  Words words;
  for (const auto &text : texts)
    words.push_back(concat(text, suffix));
  return words;
}

// The events that a policy-map handles.
std::vector<std::string_view> event_names(const PolicyFile &file) {
  std::vector<std::string_view> names;
  for (const std::string &event : file.events) {
    if (file.event_id(event) != 0) names.push_back(event);
  }
  return names;
}

// Completes the event first, then its target.
Words events_at_targets(const PolicyFile &file, const std::string &word) {
  const size_t at = word.find('@');
  if (at == std::string::npos) return copies(event_names(file), "@");
  Words words = copies(names_of(file, ObjectKind::target));
  for (std::string &target : words)
    target.insert(0, word, 0, at + 1);
  return words;
}

Words files(const std::string &word) {
  const std::filesystem::path path(word);
  const std::filesystem::path folder = path.has_parent_path() ? path.parent_path() : ".";
  Words words;
  std::error_code error;
  for (std::filesystem::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
    const std::string name = at->path().filename().string();
    const bool is_folder = at->is_directory(error);
    words.push_back((path.has_parent_path() ? (path.parent_path() / name).string() : name) + (is_folder ? "/" : ""));
  }
  return words;
}

Words words_of(std::span<const KindWord> kinds) {
  Words words;
  for (const KindWord &kind : kinds)
    words.emplace_back(kind.word);
  return words;
}

Words shown_kinds() {
  Words words = words_of(kMapKinds);
  words.insert(words.end(), {"config", "listing"});
  return words;
}

Words command_names() {
  Words words;
  for (const Command &command : commands())
    words.emplace_back(command.name);
  return words;
}

Words names_of_kind(const Session &session, const std::string &word) {
  const KindWord *kind = find_kind(word);
  return kind ? copies(names_of(session.file(), kind->kind)) : Words();
}

Words what_can_stand(const Session &session, Completes what, const std::string &before, const std::string &word) {
  switch (what) {
    case Completes::nothing:
      break;
    case Completes::command:
      return command_names();
    case Completes::file:
      return files(word);
    case Completes::kind:
      return words_of(kKinds);
    case Completes::map_kind:
      return words_of(kMapKinds);
    case Completes::shown_kind:
      return shown_kinds();
    case Completes::name_of_kind:
      return names_of_kind(session, before);
    case Completes::policy:
      return copies(names_of(session.file(), ObjectKind::policy));
    case Completes::target:
      return copies(names_of(session.file(), ObjectKind::target));
    case Completes::event_at_target:
      return events_at_targets(session.file(), word);
    case Completes::attribute:
      return copies(attribute_names(session.file()));
    case Completes::assignment:
      return copies(attribute_names(session.file()), "=");
    case Completes::counters:
      return {"counters"};
    case Completes::force:
      return {"force"};
    case Completes::filter:
      return {"exclude", "include"};
    case Completes::level:
      return {"decision", "filters", "rules"};
    case Completes::trace_level:
      return {"error", "info", "off", "on"};
  }
  return {};
}

Completes completes_of(const Command &command, size_t argument) {
  if (command.completions.empty()) return Completes::nothing;
  return command.completions[std::min(argument, command.completions.size() - 1)];
}

size_t common_length(const Words &words) {
  size_t length = words[0].size();
  for (const std::string &word : words) {
    const auto [end, other] = std::mismatch(words[0].begin(), words[0].end(), word.begin(), word.end());
    length = std::min(length, static_cast<size_t>(end - words[0].begin()));
  }
  return length;
}

// A word that goes on has no blank after it: an event before its target, an attribute before its value, a folder.
bool is_whole(const std::string &word) {
  return !word.empty() && std::string_view("@=/").find(word.back()) == std::string_view::npos;
}

void keep_continuations(Words &candidates, const std::string &word) {
  std::erase_if(candidates, [&](const std::string &candidate) { return !candidate.starts_with(word); });
  std::sort(candidates.begin(), candidates.end());
}

// The number of words between the last bar and the last of 'count' words; nothing if there is no bar.
std::optional<size_t> words_after_bar(const Line &line, size_t count) {
  std::optional<size_t> after;
  for (size_t bar = line.first_bar(); bar + 1 < count; bar = line.first_bar(bar + 1))
    after = count - bar - 2;
  return after;
}

// What the last of the words can become.
Words candidates_of(const Session &session, const Line &line, const Words &words) {
  if (words.size() == 1) return command_names();
  const Command *command = find_command(words[0]);
  if (!command) return {};
  const std::string &before = words[words.size() - 2];
  if (command->takes_filters) {
    if (const std::optional<size_t> after = words_after_bar(line, words.size()))
      return *after == 0 ? what_can_stand(session, Completes::filter, before, words.back()) : Words();
  }
  if (words.size() - 1 > command->most) return {};
  return what_can_stand(session, completes_of(*command, words.size() - 2), before, words.back());
}

}  // namespace

std::vector<std::string> candidates(const PolicyFile &file, Meaning meaning, ObjectKind kind, const std::string &word) {
  Words words;
  switch (meaning) {
    case Meaning::event_at_target:
      words = events_at_targets(file, word);
      break;
    case Meaning::attribute:
      words = copies(attribute_names(file));
      break;
    case Meaning::assignment:
      words = copies(attribute_names(file), "=");
      break;
    case Meaning::name:
      words = copies(names_of(file, kind));
      break;
  }
  keep_continuations(words, word);
  return words;
}

Completion complete(const Session &session, const std::string &before) {
  const Line line = split(before);
  const bool begins = before.empty() || before.back() == ' ' || line.words.empty();
  Words words = line.words;
  if (begins) words.emplace_back();
  const std::string &word = words.back();

  Words candidates = candidates_of(session, line, words);
  keep_continuations(candidates, word);
  if (candidates.empty()) return {};

  Completion completion;
  completion.insertion = candidates[0].substr(word.size(), common_length(candidates) - word.size());
  if (candidates.size() == 1 && is_whole(candidates[0])) completion.insertion += ' ';
  completion.candidates = std::move(candidates);
  return completion;
}

}  // namespace simulator::session
