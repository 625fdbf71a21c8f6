#include "host/runtime/kept_trace.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "host/runtime/control.h"

namespace runtime {

constinit KeptTrace kept_trace;

namespace {

constexpr TraceTopic kOtherTopics = {"", "(others)"};

template <size_t size>
void copy_cut(char (&to)[size], const char *from, size_t length) {
  length = std::min(length, size - 1);
  std::memcpy(to, from, length);
  to[length] = '\0';
}

bool is_same(const TraceTopic &one, const TraceTopic &other) {
  return std::strcmp(one.subject, other.subject) == 0 && std::strcmp(one.category, other.category) == 0;
}

TraceCount &count_of(const TraceTopic &topic) {
  TraceCount *const begin = kept_trace.counts, *const end = begin + kept_trace.n_counts;
  TraceCount *const last = std::end(kept_trace.counts) - 1;
  TraceCount *found = std::find_if(begin, end, [&](const TraceCount &count) { return is_same(count.topic, topic); });
  if (found != end) return *found;
  if (end > last) return *last;
  ++kept_trace.n_counts;
  end->topic = end == last ? kOtherTopics : topic;
  return *end;
}

}  // namespace

TraceTopic topic_of(const char *text) noexcept {
  TraceTopic topic = {};
  const char *subject = text;
  if (const char *end = *text == '(' ? std::strchr(text, ')') : nullptr) {
    copy_cut(topic.category, text + 1, static_cast<size_t>(end - text - 1));
    subject = end + 1 + std::strspn(end + 1, ": ");
  }
  copy_cut(topic.subject, subject, std::strcspn(subject, ":,\n"));
  return topic;
}

void keep_line(uint32_t level, const char *text, size_t length, const TraceTopic &topic) noexcept {
  if (kept_trace.capacity == 0) return;
  if (length > 0 && text[length - 1] == '\n') --length;
  KeptLine &line = kept_trace.lines[kept_trace.n_ever++ % kept_trace.capacity];
  line.level = level;
  line.length = static_cast<uint32_t>(length);
  copy_cut(line.text, text, length);
  ++count_of(topic).count;
}

bool keep_trace_lines(size_t n_lines) {
  KeptLine *lines = n_lines > 0 ? new (std::nothrow) KeptLine[n_lines]() : nullptr;
  if (n_lines > 0 && !lines) return false;
  delete[] kept_trace.lines;
  kept_trace = {};
  kept_trace.lines = lines;
  kept_trace.capacity = n_lines;
  return true;
}

std::vector<std::string> kept_trace_lines() {
  std::vector<std::string> texts;
  for (uint64_t number = kept_trace.n_ever - std::min(kept_trace.n_ever, kept_trace.capacity);
       number < kept_trace.n_ever; ++number)
    texts.emplace_back(kept_trace.lines[number % kept_trace.capacity].text);
  return texts;
}

std::map<std::string, uint64_t> trace_counts() {
  std::map<std::string, uint64_t> counts;
  for (uint32_t index = 0; index < kept_trace.n_counts; ++index) {
    const TraceTopic &topic = kept_trace.counts[index].topic;
    std::string name = topic.category;
    if (!name.empty()) name += ' ';
    counts[name += topic.subject] = kept_trace.counts[index].count;
  }
  return counts;
}

}  // namespace runtime
