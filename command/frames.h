// What the processes of a stream send each other through pipes: lines to play, and what they did.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "simulator/stream/lines.h"
#include "simulator/stream/totals.h"

namespace command {

// Bytes that arrive at one end and leave at the other.
class ByteQueue {
 public:
  // Another simulator::stream::kPadding bytes can be read behind them.
  std::string_view bytes() const { return {buffer_.data() + begin_, end_ - begin_}; }
  size_t size() const { return end_ - begin_; }
  void drop(size_t count);
  // The place for this many more bytes; stored() says how many there are.
  char *room(size_t count);
  void stored(size_t count) { end_ += count; }
  void append(std::string_view bytes);

 private:
  std::vector<char> buffer_ = std::vector<char>(simulator::stream::kPadding);
  size_t begin_ = 0;
  size_t end_ = 0;
};

struct Reply {
  size_t line = 0;
  simulator::stream::Counted counted{};
  std::string_view output{};
  std::string_view kind{};  // of the target of an event, where kinds are counted
  std::string_view error{};
};

void append_line(ByteQueue &to, const simulator::stream::Line &line);
// Takes the next line off the queue, whose bytes it points to. False if it is not complete yet. The caller drops the
// bytes that 'at' has passed.
bool take_line(const ByteQueue &from, size_t &at, simulator::stream::Line &line);

void append_reply(ByteQueue &to, const Reply &reply);
// The same for a reply; 'rules' holds those that it points to.
bool take_reply(const ByteQueue &from, size_t &at, Reply &reply, std::vector<uint32_t> &rules);

}  // namespace command
