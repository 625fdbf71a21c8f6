#include "simulator/stream/totals.h"

#include <algorithm>

#include "simulator/explanation/words.h"
#include "simulator/text/text.h"

namespace simulator::stream {

namespace {

std::string count_of(size_t count, const char *one, const char *several) {
  return concat(count, " ", count == 1 ? one : several);
}

std::string text_of_rules(const Totals &totals, const Rules &rules) {
  std::string text;
  size_t idle = 0;
  size_t columns = 0;
  for (const size_t hits : totals.rules)
    columns = std::max(columns, std::to_string(hits).size());
  for (size_t number = 0; number < rules.size(); ++number) {
    const std::string hits = std::to_string(totals.rules[number]);
    if (totals.rules[number] == 0) {
      ++idle;
    } else {
      text += concat("  ", std::string(columns - hits.size(), ' '), hits, "  ", rules[number].name(), "\n");
    }
  }
  if (idle > 0) text += concat("  never: ", count_of(idle, "rule", "rules"), "\n");
  return text;
}

}  // namespace

Counted counted(const Played &played) {
  if (!played.error.empty() || !played.request) return {};
  if (played.request->is == Request::Is::add_target) return {.as = Counted::As::added};
  if (played.request->is == Request::Is::delete_target) return {.as = Counted::As::deleted};
  const Happened &happened = *played.happened;
  return {Counted::As::event, happened.outcome.verdict, happened.refused.count > 0, happened.rules};
}

void Totals::count(const Counted &line) {
  switch (line.as) {
    case Counted::As::event:
      ++events;
      break;
    case Counted::As::added:
      ++added;
      return;
    case Counted::As::deleted:
      ++deleted;
      return;
    case Counted::As::bad:
      ++bad;
      return;
  }
  ++verdicts[static_cast<size_t>(line.verdict)];
  if (line.stopped) ++stopped;
  for (const uint32_t rule : line.rules)
    ++rules[rule];
}

std::string text_of(const Totals &totals, const Rules &rules, Colours colours) {
  const auto verdict = [&](engine::Verdict which) {
    return concat(totals.verdicts[static_cast<size_t>(which)], " ", verdict_text(which, colours));
  };
  const std::string bad = count_of(totals.bad, "bad line", "bad lines");
  const std::string stopped =
      totals.stopped == 0 ? ""
                          : concat(", ", painted(colours, Tone::bad, concat(totals.stopped, " stopped by a limit")));
  return concat(count_of(totals.events, "event", "events"), ", ", count_of(totals.added, "target", "targets"),
                " added, ", totals.deleted, " deleted, ", totals.bad == 0 ? bad : painted(colours, Tone::bad, bad),
                "\n", "verdicts: ", verdict(engine::Verdict::permit), ", ", verdict(engine::Verdict::deny), ", ",
                verdict(engine::Verdict::none), stopped, "\nrules that ran:\n", text_of_rules(totals, rules));
}

}  // namespace simulator::stream
