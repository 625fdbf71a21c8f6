// Reads one line of a stream, a JSON object:
//
//   {"event": NAME, "target": NAME, "set": {ATTRIBUTE: VALUE}, "clear": [ATTRIBUTE]}
//   {"add-target": NAME, "policies": [NAME], "attributes": {ATTRIBUTE: VALUE}, "client": NAME}
//   {"delete-target": NAME}
//
// It checks the structure; whether the names mean anything is for the player.
#pragma once

#include <array>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace simulator::stream {

struct Given {
  std::string_view attribute;
  std::string_view text;
};

struct Request {
  enum class Is : uint8_t { event, add_target, delete_target };

  Is is = Is::event;
  std::string_view event{};
  std::string_view target{};
  std::vector<Given> set{};               // before the event, or the attributes of a target
  std::vector<std::string_view> clear{};  // before the event, and before 'set'
  std::vector<std::string_view> policies{};
  std::optional<std::string_view> client{};
};

class LineReader {
 public:
  LineReader();
  ~LineReader();
  LineReader(const LineReader &) = delete;
  LineReader &operator=(const LineReader &) = delete;

  // 'text' has kPadding readable bytes behind it. The request is valid until the next call. NULL if anything is wrong
  // with the line; error() then says what.
  const Request *read(std::string_view text);
  const std::string &error() const { return error_; }

 private:
  struct Json;
  enum class Key : uint8_t;

  bool read_members();
  bool read_member(std::string_view name);
  bool read_value(Key key);
  bool read_text(std::string_view what, std::string_view &text);
  bool read_texts(std::string_view what, std::string_view item, std::vector<std::string_view> &texts);
  bool read_values(std::string_view what);
  bool read_scalar(std::string_view &text);
  bool check_keys();
  bool has(Key key) const { return (seen_ & bit(key)) != 0; }
  static unsigned bit(Key key) { return 1U << static_cast<unsigned>(key); }
  bool refuse(std::string what);
  bool refuse_kind(std::string_view what, std::string_view expected);
  std::string_view digits_of(long long number);

  std::unique_ptr<Json> json_;
  Request request_;
  unsigned seen_ = 0;  // the keys of the line so far
  std::string error_;
  // Whole numbers become texts. A deque: the texts of the line stay where they are.
  std::deque<std::array<char, 24>> digits_;
  size_t digits_used_ = 0;
};

}  // namespace simulator::stream
