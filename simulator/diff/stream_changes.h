// The decisions of a stream that differ between two files, grouped.
#pragma once

#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "simulator/diff/stream_side.h"
#include "simulator/text/json.h"

namespace simulator::diff {

// Lines that went from one decision to another alike.
struct LineGroup {
  std::vector<std::string> aspects{};  // what differs, by the names in kAspects
  size_t lines = 0;
  size_t first = 0;      // the number of the first line
  std::string before{};  // what that line did, packed
  std::string after{};
};

class StreamChanges {
 public:
  // What a line did on both sides, packed.
  void add(size_t line, std::string_view before, std::string_view after);

  size_t lines() const { return lines_; }
  size_t differing() const { return differing_; }
  // In the order of their first lines.
  const std::vector<LineGroup> &groups() const { return groups_; }

 private:
  size_t lines_ = 0;
  size_t differing_ = 0;
  std::vector<LineGroup> groups_;
  std::unordered_map<std::string, size_t> by_key_;
};

// What was decided before and after, such as "deny service/session-start barred" or "impossible".
std::pair<std::string, std::string> decisions_of(const LineGroup &group);
// The first line of the group and what it does differently, in several lines.
std::string example_text(const LineGroup &group);

// A table with a row for each group, and its first line below it.
std::string text_of_stream(const StreamChanges &changes);
Json json_of_stream(const StreamChanges &changes, const std::string &stream);

}  // namespace simulator::diff
