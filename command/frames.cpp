#include "command/frames.h"

#include <algorithm>
#include <cstring>
#include <utility>

using namespace simulator;

namespace command {

namespace {

struct LineHead {
  uint64_t number;
  uint32_t length;
  uint32_t too_long;
};

struct ReplyHead {
  uint64_t line;
  uint32_t n_rules;
  uint32_t output_length;
  uint32_t kind_length;
  uint32_t error_length;
  uint8_t as;
  uint8_t verdict;
  uint16_t stopped;
};

constexpr size_t kRuleSize = sizeof(uint32_t);

size_t size_of(const ReplyHead &head) {
  return sizeof head + head.n_rules * kRuleSize + head.output_length + head.kind_length + head.error_length;
}

// Both ends are the same program, so a head is sent as it is in memory.
template <class Head>
char *store(char *to, const Head &head) {
  std::memcpy(to, &head, sizeof head);
  return to + sizeof head;
}

char *store(char *to, std::string_view text) {
  std::copy(text.begin(), text.end(), to);
  return to + text.size();
}

template <class Head>
bool load(std::string_view from, Head &head) {
  if (from.size() < sizeof head) return false;
  const char *const begin = from.data();
  std::memcpy(&head, begin, sizeof head);
  return true;
}

}  // namespace

void ByteQueue::drop(size_t count) {
  begin_ += count;
  if (begin_ == end_) begin_ = end_ = 0;
}

char *ByteQueue::room(size_t count) {
  if (end_ + count + stream::kPadding > buffer_.size()) {
    // Moving is worth it only if it makes much room; so a byte is moved a few times at most.
    if (begin_ > buffer_.size() / 2) {
      std::memmove(buffer_.data(), buffer_.data() + begin_, size());
      end_ -= begin_;
      begin_ = 0;
    }
    if (end_ + count + stream::kPadding > buffer_.size())
      buffer_.resize(std::max(2 * buffer_.size(), end_ + count + stream::kPadding));
  }
  return buffer_.data() + end_;
}

void ByteQueue::append(std::string_view bytes) {
  store(room(bytes.size()), bytes);
  stored(bytes.size());
}

void append_line(ByteQueue &to, const stream::Line &line) {
  const LineHead head = {line.number, static_cast<uint32_t>(line.text.size()), line.too_long ? 1U : 0U};
  const size_t size = sizeof head + line.text.size();
  store(store(to.room(size), head), line.text);
  to.stored(size);
}

bool take_line(const ByteQueue &from, size_t &at, stream::Line &line) {
  const std::string_view rest = from.bytes().substr(at);
  LineHead head{};
  if (!load(rest, head) || rest.size() - sizeof head < head.length) return false;
  line = {head.number, rest.substr(sizeof head, head.length), head.too_long != 0};
  at += sizeof head + head.length;
  return true;
}

void append_reply(ByteQueue &to, const Reply &reply) {
  const ReplyHead head = {reply.line,
                          static_cast<uint32_t>(reply.counted.rules.size()),
                          static_cast<uint32_t>(reply.output.size()),
                          static_cast<uint32_t>(reply.kind.size()),
                          static_cast<uint32_t>(reply.error.size()),
                          static_cast<uint8_t>(reply.counted.as),
                          static_cast<uint8_t>(reply.counted.verdict),
                          static_cast<uint16_t>(reply.counted.stopped)};
  const size_t size = size_of(head);
  char *end = store(to.room(size), head);
  for (const uint32_t rule : reply.counted.rules)
    end = store(end, rule);
  store(store(store(end, reply.output), reply.kind), reply.error);
  to.stored(size);
}

bool take_reply(const ByteQueue &from, size_t &at, Reply &reply, std::vector<uint32_t> &rules) {
  std::string_view rest = from.bytes().substr(at);
  ReplyHead head{};
  if (!load(rest, head)) return false;
  const size_t size = size_of(head);
  if (rest.size() < size) return false;
  rest.remove_prefix(sizeof head);
  rules.resize(head.n_rules);
  if (head.n_rules > 0) std::memcpy(rules.data(), rest.data(), head.n_rules * kRuleSize);
  rest.remove_prefix(head.n_rules * kRuleSize);
  reply.line = head.line;
  reply.counted = {static_cast<stream::Counted::As>(head.as), static_cast<engine::Verdict>(head.verdict),
                   head.stopped != 0, rules};
  for (const auto &[part, length] :
       {std::pair{&reply.output, head.output_length}, std::pair{&reply.kind, head.kind_length},
        std::pair{&reply.error, head.error_length}}) {
    *part = rest.substr(0, length);
    rest.remove_prefix(length);
  }
  at += size;
  return true;
}

}  // namespace command
