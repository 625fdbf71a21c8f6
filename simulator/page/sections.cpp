#include "simulator/page/sections.h"

#include "simulator/text/text.h"

namespace simulator::page {

Changed::Changed(const Contents &contents) : is_compared_(contents.against.has_value()) {
  if (!is_compared_) return;
  for (const diff::ObjectChange &change : contents.against->changes) {
    if (change.after) names_.insert(concat(change.after->kind, " ", change.after->name));
  }
}

std::string counted(size_t count, std::string_view one, std::string_view many) {
  return concat(count, " ", count == 1 ? one : many);
}

Html section(const std::string &id, std::string_view heading, const Html &content) {
  return element("section", {{"aria-labelledby", id}},
                 join({element("h2", {{"id", id}}, text(heading)), content, Html::made_elsewhere("\n")}));
}

Html place(const PolicyFile &file, Position position) {
  return element("span", {{"class", "place"}}, text(concat(file.shown_path_of(position), ":", position.line)));
}

Html verdict_word(std::string_view verdict) {
  const bool is_coloured = verdict == "permit" || verdict == "deny";
  return is_coloured ? element("strong", {{"class", std::string(verdict)}}, text(verdict)) : text(verdict);
}

Html verdict_bar(const Verdicts &verdicts) {
  Html bar;
  const auto add = [&](const char *verdict, size_t count) {
    if (count == 0) return;
    const std::string share = concat("flex-grow:", count);
    bar += element("span", {{"class", verdict}, {"style", share}}, Html());
  };
  add("permit", verdicts.permit);
  add("deny", verdicts.deny);
  add("none", verdicts.none);
  return element("div", {{"class", "bar"}, {"aria-hidden", "true"}}, bar);
}

Table verdict_table(std::string_view caption, std::string_view what) {
  return {caption, {what, "Events", "Permit", "Deny", "None", "Shares"}};
}

void add_verdicts(const Html &heading, const Verdicts &verdicts, Table &table) {
  table.add_row({row_heading(heading), number_cell(verdicts.all()), number_cell(verdicts.permit),
                 number_cell(verdicts.deny), number_cell(verdicts.none), cell(verdict_bar(verdicts))});
}

Html over_time(const std::string &id, const std::vector<Stretch> &stretches) {
  Html columns;
  Table table = verdict_table("Verdicts over time", "From event");
  for (const Stretch &stretch : stretches) {
    columns += verdict_bar(stretch.verdicts);
    add_verdicts(text(std::to_string(stretch.first)), stretch.verdicts, table);
  }
  return element(
      "figure",
      join({element("div", {{"class", "columns"}, {"role", "img"}, {"aria-label", "Verdicts over time"}}, columns),
            element("figcaption", join({element("span", {{"class", "permit"}}, text("permit")), text(", "),
                                        element("span", {{"class", "deny"}}, text("deny")),
                                        text(" and none over time, from the first event to the last")})),
            foldable(Fold::closed, {}, text("the numbers"), table.html({{"id", id}}))}));
}

Html stopped_warning(size_t stopped) {
  if (stopped == 0) return {};
  return element("p", {{"class", "warning"}},
                 text(concat(counted(stopped, "event was", "events were"),
                             " stopped by a limit, because it raised too many others.")));
}

Html printed(std::string_view lines) {
  // A line end is a line end there, and text() would show it.
  Html all;
  while (!lines.empty()) {
    const std::string_view line = lines.substr(0, lines.find('\n'));
    all += text(line);
    all += Html::made_elsewhere("\n");
    lines.remove_prefix(std::min(lines.size(), line.size() + 1));
  }
  return element("pre", {{"tabindex", "0"}}, all);
}

}  // namespace simulator::page
