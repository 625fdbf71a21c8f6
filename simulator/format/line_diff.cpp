#include "simulator/format/line_diff.h"

#include <algorithm>
#include <vector>

#include "simulator/text/text.h"

namespace simulator::format {

namespace {

constexpr size_t kContext = 3;

// The search for the smallest difference takes time and memory with the square of its size. Texts that differ in more
// lines are shown as replaced from their first difference to their last.
constexpr size_t kMostSteps = 2000;

using Lines = std::vector<std::string_view>;

enum class Sign : char { kept = ' ', removed = '-', added = '+' };

struct Edit {
  Sign sign;
  std::string_view line;
};

// Each line with its newline, which the last one may lack.
Lines lines_of(std::string_view text) {
  Lines lines;
  while (!text.empty()) {
    const size_t length = std::min(text.find('\n'), text.size() - 1) + 1;
    lines.push_back(text.substr(0, length));
    text.remove_prefix(length);
  }
  return lines;
}

// Myers' search: how far each diagonal can be followed with a number of removed and added lines. Diagonal k holds the
// places where k more lines of 'before' than of 'after' have been taken.
class Search {
 public:
  Search(const Lines &before, const Lines &after) : before_(&before), after_(&after) {}

  // Nothing if the texts differ in too many lines.
  std::vector<Edit> run() {
    for (size_t steps = 0; steps <= kMostSteps; ++steps) {
      if (follow(steps)) return walk_back(steps);
    }
    return {};
  }

 private:
  // The place of diagonal k in a row, which holds those from -steps to steps.
  static size_t index(size_t steps, long k) { return static_cast<size_t>(k + static_cast<long>(steps)); }

  // Whether the best way to diagonal k adds a line, coming from diagonal k + 1; else it removes one.
  bool adds(size_t steps, long k) const {
    const auto most = static_cast<long>(steps);
    if (k == -most) return true;
    if (k == most) return false;
    const std::vector<size_t> &previous = rows_[steps - 1];
    return previous[index(steps - 1, k - 1)] < previous[index(steps - 1, k + 1)];
  }

  // Where the way to diagonal k begins to follow it, in lines of 'before'.
  size_t start(size_t steps, long k) const {
    if (steps == 0) return 0;
    const std::vector<size_t> &previous = rows_[steps - 1];
    return adds(steps, k) ? previous[index(steps - 1, k + 1)] : previous[index(steps - 1, k - 1)] + 1;
  }

  // Returns whether both ends were reached.
  bool follow(size_t steps) {
    const auto most = static_cast<long>(steps);
    std::vector<size_t> row(2 * steps + 1, 0);
    for (long k = -most; k <= most; k += 2) {
      size_t x = start(steps, k);
      auto y = static_cast<size_t>(static_cast<long>(x) - k);
      while (x < before_->size() && y < after_->size() && (*before_)[x] == (*after_)[y]) {
        ++x;
        ++y;
      }
      row[index(steps, k)] = x;
      if (x < before_->size() || y < after_->size()) continue;
      rows_.push_back(std::move(row));
      return true;
    }
    rows_.push_back(std::move(row));
    return false;
  }

  std::vector<Edit> walk_back(size_t steps) const {
    std::vector<Edit> edits;
    size_t x = before_->size();
    long k = static_cast<long>(before_->size()) - static_cast<long>(after_->size());
    for (;; --steps) {
      for (const size_t from = start(steps, k); x > from; --x)
        edits.push_back({Sign::kept, (*before_)[x - 1]});
      if (steps == 0) break;
      if (adds(steps, k)) {
        edits.push_back({Sign::added, (*after_)[static_cast<size_t>(static_cast<long>(x) - k) - 1]});
        ++k;
      } else {
        edits.push_back({Sign::removed, (*before_)[--x]});
        --k;
      }
    }
    std::reverse(edits.begin(), edits.end());
    return edits;
  }

  const Lines *before_;
  const Lines *after_;
  std::vector<std::vector<size_t>> rows_{};  // for each number of steps: how far each diagonal was followed
};

std::vector<Edit> replaced(const Lines &before, const Lines &after) {
  std::vector<Edit> edits;
  for (const std::string_view line : before)
    edits.push_back({Sign::removed, line});
  for (const std::string_view line : after)
    edits.push_back({Sign::added, line});
  return edits;
}

// Without the lines that are equal at both ends, the search is short.
std::vector<Edit> edits_of(const Lines &before, const Lines &after) {
  const size_t shorter = std::min(before.size(), after.size());
  const auto first = static_cast<size_t>(
      std::mismatch(before.begin(), before.begin() + static_cast<std::ptrdiff_t>(shorter), after.begin()).first -
      before.begin());
  size_t last = 0;
  while (last < shorter - first && before[before.size() - last - 1] == after[after.size() - last - 1])
    ++last;

  const auto middle = [&](const Lines &lines) {
    return Lines(lines.begin() + static_cast<std::ptrdiff_t>(first), lines.end() - static_cast<std::ptrdiff_t>(last));
  };
  const Lines middle_before = middle(before);
  const Lines middle_after = middle(after);
  std::vector<Edit> changed = Search(middle_before, middle_after).run();
  if (changed.empty()) changed = replaced(middle_before, middle_after);

  std::vector<Edit> edits;
  for (size_t at = 0; at < first; ++at)
    edits.push_back({Sign::kept, before[at]});
  edits.insert(edits.end(), changed.begin(), changed.end());
  for (size_t at = before.size() - last; at < before.size(); ++at)
    edits.push_back({Sign::kept, before[at]});
  return edits;
}

// The number of lines of a text in these edits: all but those with the other text's sign.
size_t count_without(const std::vector<Edit> &edits, size_t first, size_t last, Sign other) {
  return static_cast<size_t>(std::count_if(edits.begin() + static_cast<std::ptrdiff_t>(first),
                                           edits.begin() + static_cast<std::ptrdiff_t>(last),
                                           [&](const Edit &edit) { return edit.sign != other; }));
}

// "FIRST,COUNT"; a text without lines is the line before it.
std::string range_text(size_t before, size_t count) {
  return concat(count == 0 ? before : before + 1, ",", count);
}

std::string line_text(const Edit &edit) {
  std::string text = concat(static_cast<char>(edit.sign), edit.line);
  if (!edit.line.ends_with('\n')) text += "\n\\ No newline at end of file\n";
  return text;
}

std::string hunk_text(const std::vector<Edit> &edits, size_t first, size_t last) {
  const size_t before = count_without(edits, 0, first, Sign::added);
  const size_t after = count_without(edits, 0, first, Sign::removed);
  std::string text = concat("@@ -", range_text(before, count_without(edits, first, last, Sign::added)), " +",
                            range_text(after, count_without(edits, first, last, Sign::removed)), " @@\n");
  for (size_t at = first; at < last; ++at)
    text += line_text(edits[at]);
  return text;
}

// The next line that changed, from 'at' on.
size_t next_change(const std::vector<Edit> &edits, size_t at) {
  while (at < edits.size() && edits[at].sign == Sign::kept)
    ++at;
  return at;
}

// The end of the hunk that begins with this change: behind it, more lines are equal than two hunks have context.
size_t end_of_changes(const std::vector<Edit> &edits, size_t change) {
  for (;;) {
    size_t end = change;
    while (end < edits.size() && edits[end].sign != Sign::kept)
      ++end;
    change = next_change(edits, end);
    if (change == edits.size() || change - end > 2 * kContext) return end;
  }
}

}  // namespace

std::string unified_diff(std::string_view name, std::string_view before, std::string_view after) {
  if (before == after) return {};
  const Lines old_lines = lines_of(before);
  const Lines new_lines = lines_of(after);
  const std::vector<Edit> edits = edits_of(old_lines, new_lines);
  std::string text = concat("--- ", name, "\n+++ ", name, "\n");
  for (size_t change = next_change(edits, 0); change < edits.size();) {
    const size_t end = end_of_changes(edits, change);
    text += hunk_text(edits, change - std::min(change, kContext), std::min(end + kContext, edits.size()));
    change = next_change(edits, end);
  }
  return text;
}

}  // namespace simulator::format
