// A text as editors see it: lines that end with LF, CRLF or CR, and in a line a count of UTF-16 units.
#pragma once

#include <compare>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace simulator::editing {

// A line and a UTF-16 unit in it, both counted from 0.
struct Point {
  size_t line = 0;
  size_t unit = 0;

  auto operator<=>(const Point &) const = default;
};

// Bytes of a text, from 'begin' up to but without 'end'.
struct Span {
  size_t begin = 0;
  size_t end = 0;

  auto operator<=>(const Span &) const = default;
  bool contains(size_t offset) const { return begin <= offset && offset <= end; }
  size_t size() const { return end - begin; }
};

// A change of a text.
struct Edit {
  Span span{};
  std::string text{};
};

class Text {
 public:
  explicit Text(std::string bytes = {});

  const std::string &bytes() const { return bytes_; }

  // A point behind the end of its line stands for that end, one behind the last line for the end of the text, and one
  // between the two units of a character for its beginning.
  size_t offset_of(Point point) const;
  Point point_of(size_t offset) const;
  // Without what ends the line.
  Span line_at(size_t offset) const;

  // A span that ends before it begins is empty.
  void replace(Point from, Point to, std::string_view by);

 private:
  void find_lines();
  Span line(size_t number) const;

  std::string bytes_;
  std::vector<size_t> line_starts_;
};

// Where the line of the offset begins; only LF ends a line.
size_t begin_of_line(std::string_view text, size_t offset);
// The text with all edits, which do not overlap.
std::string edited(std::string_view text, std::vector<Edit> edits);
// The one edit that makes 'after' of 'before', with as little in it as the lines allow; nothing to do gives an empty one.
Edit difference(std::string_view before, std::string_view after);

}  // namespace simulator::editing
