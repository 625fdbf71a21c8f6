// The sections of the page, from top to bottom.
#pragma once

#include <string>
#include <unordered_set>

#include "simulator/page/html.h"
#include "simulator/page/page.h"

namespace simulator::page {

// The names of the objects that were changed or added: "rule service/session-start/10".
class Changed {
 public:
  explicit Changed(const Contents &contents);

  // Whether the page compares anything.
  bool is_compared() const { return is_compared_; }
  bool has(const std::string &kind, const std::string &name) const { return names_.contains(kind + " " + name); }
  bool has_any() const { return !names_.empty(); }

 private:
  bool is_compared_;
  std::unordered_set<std::string> names_;
};

// Each is empty if there is nothing to say.
Html changes_section(const Contents &contents);
Html findings_section(const Contents &contents);
Html claims_section(const Contents &contents);
Html tests_section(const Contents &contents);
Html events_section(const Contents &contents);
Html stream_section(const Contents &contents);
Html policies_section(const Contents &contents, const Changed &changed);
Html classes_section(const Contents &contents, const Changed &changed);
Html parameter_maps_section(const Contents &contents, const Changed &changed);
Html targets_section(const Contents &contents);
Html picture_section(const Contents &contents);

// ---- What sections share ----

// "1 target", "2 targets"
std::string counted(size_t count, std::string_view one, std::string_view many);
Html section(const std::string &id, std::string_view heading, const Html &content);
// "examples/broadband.yaml:17"
Html place(const PolicyFile &file, Position position);
// A verdict as a word with its colour.
Html verdict_word(std::string_view verdict);
// A bar of the shares of the verdicts; the numbers stand beside it.
Html verdict_bar(const Verdicts &verdicts);
// A table with a row for each name or time; add_verdicts() adds the rows.
Table verdict_table(std::string_view caption, std::string_view what);
void add_verdicts(const Html &heading, const Verdicts &verdicts, Table &table);
// A column for each stretch; the table behind it, with this id, has the numbers.
Html over_time(const std::string &id, const std::vector<Stretch> &stretches);
// That limits stopped some events; empty if there are none.
Html stopped_warning(size_t stopped);
// The part of the changes that a stream shows.
Html stream_changes(const diff::StreamChanges &changes);
// A text of several lines, as the command prints it.
Html printed(std::string_view lines);

}  // namespace simulator::page
