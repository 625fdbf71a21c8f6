#include "simulator/policy/source.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

#include "simulator/text/text.h"
#include "simulator/text/utf8.h"

namespace simulator {

namespace {

struct Close {
  void operator()(std::FILE *file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, Close>;

bool is_continuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xc0U) == 0x80;
}

// The length of the character at the front of 'text', or 0 when it is not valid UTF-8 or is a character that no text
// file needs.
size_t character_length(std::string_view text) {
  const Character character = front_of(text);
  const char32_t code = character.code;
  const bool is_layout = code == '\t' || code == '\n' || code == '\r';
  const bool is_control = code < 0x20 || (code >= 0x7f && code < 0xa0);
  return is_control && !is_layout ? 0 : character.length;
}

// The position of the first character that is not allowed, or nothing.
void check_characters(const Source &source, Diagnostics &diagnostics) {
  const std::string_view text = source.text();
  size_t line = 0;
  size_t line_start = 0;
  for (size_t at = 0; at < text.size();) {
    const size_t length = character_length(text.substr(at));
    if (length == 0) {
      char byte[8];
      std::snprintf(byte, sizeof byte, "0x%02x", static_cast<unsigned>(static_cast<unsigned char>(text[at])));
      diagnostics.add(source.position_of(line, at - line_start), concat("the byte ", byte, " is no text"),
                      "text in UTF-8 without control characters");
      return;
    }
    if (text[at] == '\n') {
      ++line;
      line_start = at + 1;
    }
    at += length;
  }
}

std::string read_all(std::FILE *file) {
  constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";
  std::string text;
  char buffer[65536];
  while (text.size() <= Source::kMaxSize) {
    const size_t got = std::fread(buffer, 1, sizeof buffer, file);
    if (got == 0) break;
    text.append(buffer, got);
  }
  if (text.starts_with(kByteOrderMark)) text.erase(0, kByteOrderMark.size());
  return text;
}

}  // namespace

Source::Source(std::string name, std::string text, uint32_t number, uint32_t first_line)
    : name_(std::move(name)), text_(std::move(text)), number_(number), first_line_(first_line) {
  size_t continuations = 0;
  line_starts_.push_back(0);
  for (size_t at = 0; at < text_.size(); ++at) {
    if (at % kStride == 0) continuations_.push_back(continuations);
    if (is_continuation(text_[at])) ++continuations;
    if (text_[at] == '\n') line_starts_.push_back(at + 1);
  }
  continuations_.resize(text_.size() / kStride + 1, continuations);
}

size_t Source::continuations_before(size_t offset) const {
  offset = std::min(offset, text_.size());
  const size_t stride = offset / kStride;
  const auto from = text_.begin() + static_cast<std::ptrdiff_t>(stride * kStride);
  const auto to = text_.begin() + static_cast<std::ptrdiff_t>(offset);
  return continuations_[stride] + static_cast<size_t>(std::count_if(from, to, is_continuation));
}

Source Source::read(const std::string &path, Diagnostics &diagnostics, uint32_t number) {
  const File file(std::fopen(path.c_str(), "rb"));
  if (file) return read(file.get(), path, diagnostics, number);
  if (errno == ENOMEM) throw std::bad_alloc();
  diagnostics.add({}, concat("cannot be opened: ", std::strerror(errno)), "a policy file");
  return {path, "", number};
}

Source Source::read(std::FILE *file, std::string name, Diagnostics &diagnostics, uint32_t number) {
  errno = 0;
  Source source(std::move(name), read_all(file), number);
  if (std::ferror(file) && errno == ENOMEM) throw std::bad_alloc();
  if (std::ferror(file)) {
    diagnostics.add({}, concat("cannot be read: ", std::strerror(errno)), "a policy file");
  } else {
    source.check(diagnostics);
  }
  return source;
}

void Source::check(Diagnostics &diagnostics) const {
  if (text_.size() > kMaxSize) {
    diagnostics.add({}, "is too large", concat("at most ", (kMaxSize >> 20), " MiB"));
  } else {
    check_characters(*this, diagnostics);
  }
}

std::string_view Source::line(uint32_t number) const {
  if (number < first_line_ || number - first_line_ >= line_starts_.size()) return {};
  const size_t at = number - first_line_;
  const size_t start = line_starts_[at];
  const size_t end = at + 1 < line_starts_.size() ? line_starts_[at + 1] - 1 : text_.size();
  std::string_view line = std::string_view(text_).substr(start, end - start);
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  return line;
}

Position Source::position_at(size_t offset) const {
  const auto after = std::upper_bound(line_starts_.begin(), line_starts_.end(), offset);
  const auto line = static_cast<size_t>(after - line_starts_.begin()) - 1;
  return position_of(line, offset - line_starts_[line]);
}

size_t Source::offset_of(size_t line, size_t byte) const {
  const size_t start = line < line_starts_.size() ? line_starts_[line] : text_.size();
  return std::min(start + byte, text_.size());
}

size_t Source::offset_of(Position position) const {
  if (position.line < first_line_ || position.column == 0) return 0;
  const size_t line = position.line - first_line_;
  // A column is at most that of the byte with the same number: each round takes the continuation bytes that it found.
  size_t byte = position.column - 1;
  for (uint32_t column = 0; offset_of(line, byte) < text_.size(); byte += position.column - column) {
    column = position_of(line, byte).column;
    if (column >= position.column) break;
  }
  size_t offset = offset_of(line, byte);
  while (offset < text_.size() && is_continuation(text_[offset]))
    ++offset;
  return offset;
}

Position Source::position_of(size_t line, size_t byte) const {
  const size_t start = line < line_starts_.size() ? line_starts_[line] : text_.size();
  const size_t continuations = continuations_before(start + byte) - continuations_before(start);
  return {static_cast<uint32_t>(first_line_ + line), static_cast<uint32_t>(byte + 1 - continuations), number_};
}

}  // namespace simulator
