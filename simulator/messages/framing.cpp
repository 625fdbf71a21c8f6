#include "simulator/messages/framing.h"

#include <algorithm>
#include <charconv>

#include "simulator/text/text.h"

namespace simulator::messages {

namespace {

char lower(char character) {
  return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

bool is_same_name(std::string_view one, std::string_view other) {
  return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                    [](char a, char b) { return lower(a) == lower(b); });
}

std::string_view trimmed(std::string_view text) {
  const size_t begin = text.find_first_not_of(" \t");
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(" \t") + 1 - begin);
}

}  // namespace

void Framer::append(std::string_view bytes) {
  if (!error_.empty()) return;
  received_.erase(0, begin_);
  begin_ = 0;
  received_ += bytes;
}

std::optional<std::string> Framer::next() {
  if (!error_.empty() || (!size_ && !read_head())) return std::nullopt;
  if (received_.size() - begin_ < *size_) return std::nullopt;
  std::string message = received_.substr(begin_, *size_);
  begin_ += *size_;
  size_.reset();
  return message;
}

bool Framer::read_head() {
  const size_t end = std::min(received_.find("\r\n\r\n", begin_), received_.size());
  if (end - begin_ > kMostHeadBytes) error_ = concat("the head of a message is longer than ", kMostHeadBytes, " bytes");
  if (end == received_.size() || !error_.empty()) return false;
  std::string_view head = std::string_view(received_).substr(begin_, end - begin_);
  while (error_.empty() && !head.empty()) {
    const size_t length = std::min(head.find("\r\n"), head.size());
    if (!read_line(head.substr(0, length))) return false;
    head.remove_prefix(std::min(length + 2, head.size()));
  }
  begin_ = end + 4;
  if (!size_) error_ = "the head of a message has no Content-Length";
  return size_.has_value();
}

bool Framer::read_line(std::string_view line) {
  const size_t colon = line.find(':');
  if (colon == std::string_view::npos) {
    error_ = concat("the head of a message has the line ", in_quotes(line));
    return false;
  }
  if (!is_same_name(line.substr(0, colon), "Content-Length")) return true;
  const std::string_view value = trimmed(line.substr(colon + 1));
  size_t size = 0;
  const auto [end, problem] = std::from_chars(value.data(), value.data() + value.size(), size);
  if (problem != std::errc() || end != value.data() + value.size()) {
    error_ = concat("the Content-Length ", in_quotes(value), " is no number");
  } else if (size > kMostBytes) {
    error_ = concat("a message of ", size, " bytes; at most ", kMostBytes, " are accepted");
  } else {
    size_ = size;
  }
  return error_.empty();
}

std::string framed(std::string_view message) {
  return concat("Content-Length: ", message.size(), "\r\n\r\n", message);
}

}  // namespace simulator::messages
