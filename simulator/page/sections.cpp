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
