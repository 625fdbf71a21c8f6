#include "simulator/messages/lines.h"

#include <algorithm>

namespace simulator::messages {

void LineFramer::append(std::string_view bytes) {
  received_.erase(0, begin_);
  searched_ -= begin_;
  begin_ = 0;
  received_ += bytes;
  // Only a line that is incomplete grows without bound.
  if (received_.size() > most_ + 1 && !has_line()) {
    skipping_ = true;
    received_.clear();
    received_.shrink_to_fit();
    searched_ = 0;
  }
}

bool LineFramer::has_line() {
  searched_ = std::min(received_.find('\n', searched_), received_.size());
  return searched_ < received_.size();
}

std::optional<MessageLine> LineFramer::next() {
  while (has_line()) {
    std::optional<MessageLine> line = take(searched_);
    searched_ = begin_ = searched_ + 1;
    if (line) return line;
  }
  return std::nullopt;
}

std::optional<MessageLine> LineFramer::last() {
  std::optional<MessageLine> line = take(received_.size());
  received_.clear();
  begin_ = searched_ = 0;
  return line;
}

std::optional<MessageLine> LineFramer::take(size_t end) {
  std::string_view text = std::string_view(received_).substr(begin_, end - begin_);
  if (!text.empty() && text.back() == '\r') text.remove_suffix(1);
  const bool is_too_long = skipping_ || text.size() > most_;
  skipping_ = false;
  if (is_too_long) return MessageLine{.is_too_long = true};
  if (text.find_first_not_of(" \t") == std::string_view::npos) return std::nullopt;
  return MessageLine{.text = std::string(text)};
}

}  // namespace simulator::messages
