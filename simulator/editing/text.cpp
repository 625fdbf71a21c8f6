#include "simulator/editing/text.h"

#include <algorithm>

#include "simulator/text/utf8.h"

namespace simulator::editing {

namespace {

// Of the character at the front; a byte that is no character counts as one.
Character front_or_byte(std::string_view text) {
  const Character character = front_of(text);
  return character.length == 0 ? Character{0, 1} : character;
}

bool begins_line(std::string_view text, size_t at) {
  return at == 0 || text[at - 1] == '\n';
}

size_t units_of(const Character &character) {
  return character.code > 0xffff ? 2 : 1;
}

}  // namespace

Text::Text(std::string bytes) : bytes_(std::move(bytes)) {
  find_lines();
}

void Text::find_lines() {
  line_starts_.assign(1, 0);
  for (size_t at = 0; at < bytes_.size(); ++at) {
    const bool is_lone_return = bytes_[at] == '\r' && (at + 1 == bytes_.size() || bytes_[at + 1] != '\n');
    if (bytes_[at] == '\n' || is_lone_return) line_starts_.push_back(at + 1);
  }
}

Span Text::line(size_t number) const {
  const size_t begin = line_starts_[number];
  size_t end = number + 1 < line_starts_.size() ? line_starts_[number + 1] : bytes_.size();
  while (end > begin && (bytes_[end - 1] == '\n' || bytes_[end - 1] == '\r'))
    --end;
  return {begin, end};
}

size_t Text::offset_of(Point point) const {
  if (point.line >= line_starts_.size()) return bytes_.size();
  const auto [begin, end] = line(point.line);
  size_t at = begin;
  for (size_t left = point.unit; at < end;) {
    const Character character = front_or_byte(std::string_view(bytes_).substr(at, end - at));
    if (left < units_of(character)) break;
    left -= units_of(character);
    at += character.length;
  }
  return at;
}

Point Text::point_of(size_t offset) const {
  offset = std::min(offset, bytes_.size());
  const auto after = std::upper_bound(line_starts_.begin(), line_starts_.end(), offset);
  Point point{static_cast<size_t>(after - line_starts_.begin()) - 1, 0};
  for (size_t at = line_starts_[point.line]; at < offset;) {
    const Character character = front_or_byte(std::string_view(bytes_).substr(at));
    at += character.length;
    if (at <= offset) point.unit += units_of(character);
  }
  return point;
}

Span Text::line_at(size_t offset) const {
  const auto after = std::upper_bound(line_starts_.begin(), line_starts_.end(), offset);
  return line(static_cast<size_t>(after - line_starts_.begin()) - 1);
}

void Text::replace(Point from, Point to, std::string_view by) {
  const size_t begin = offset_of(from);
  const size_t end = std::max(begin, offset_of(to));
  bytes_.replace(begin, end - begin, by);
  find_lines();
}

size_t begin_of_line(std::string_view text, size_t offset) {
  return offset == 0 ? 0 : text.rfind('\n', offset - 1) + 1;
}

std::string edited(std::string_view text, std::vector<Edit> edits) {
  std::sort(edits.begin(), edits.end(), [](const Edit &one, const Edit &other) { return one.span < other.span; });
  std::string result;
  size_t at = 0;
  for (const Edit &edit : edits) {
    result += text.substr(at, edit.span.begin - at);
    result += edit.text;
    at = edit.span.end;
  }
  result += text.substr(at);
  return result;
}

Edit difference(std::string_view before, std::string_view after) {
  const size_t shorter = std::min(before.size(), after.size());
  size_t front = 0;
  while (front < shorter && before[front] == after[front])
    ++front;
  while (!begins_line(before, front))
    --front;
  size_t back = 0;
  while (back < shorter - front && before[before.size() - 1 - back] == after[after.size() - 1 - back])
    ++back;
  while (back > 0 && !(begins_line(before, before.size() - back) && begins_line(after, after.size() - back)))
    --back;
  const Span span = {front, before.size() - back};
  return {span, std::string(after.substr(front, after.size() - back - front))};
}

}  // namespace simulator::editing
