// The text of a policy file.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/policy/diagnostics.h"

namespace simulator {

class Source {
 public:
  // A larger file is not a policy file.
  static constexpr size_t kMaxSize = size_t{16} << 20;

  // Every position in the source carries 'number'. The text begins with line 'first_line' of what it is a part of.
  Source(std::string name, std::string text, uint32_t number = 0, uint32_t first_line = 1);

  // Reads a file. Adds an error to 'diagnostics' when the file cannot be read, is too large, or is not UTF-8 text. Throws
  // bad_alloc if there is no memory, also if the C library found this.
  static Source read(const std::string &path, Diagnostics &diagnostics, uint32_t number = 0);
  // The same for a file that is already open; it stays open.
  static Source read(std::FILE *file, std::string name, Diagnostics &diagnostics, uint32_t number = 0);
  // The same checks for a text in memory.
  void check(Diagnostics &diagnostics) const;

  const std::string &name() const { return name_; }
  uint32_t number() const { return number_; }
  const std::string &text() const { return text_; }
  // A line without its newline; empty when there is no such line.
  std::string_view line(uint32_t number) const;
  // The position of a byte of a line of the text, both counted from 0. Columns count characters, which can take several bytes.
  Position position_of(size_t line, size_t byte) const;
  // The same for a byte of the text, and which byte of the text that one is.
  Position position_at(size_t offset) const;
  size_t offset_of(size_t line, size_t byte) const;
  // The first byte of the character at a position of the source. The file as a whole begins with its first byte.
  size_t offset_of(Position position) const;

 private:
  size_t continuations_before(size_t offset) const;

  std::string name_;
  std::string text_;
  uint32_t number_;
  uint32_t first_line_;
  std::vector<size_t> line_starts_;
  // Continuation bytes before every kStride-th byte of the text, so that finding a column costs the same on every line.
  static constexpr size_t kStride = 256;
  std::vector<size_t> continuations_;
};

}  // namespace simulator
