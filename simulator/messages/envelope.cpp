#include "simulator/messages/envelope.h"

#include <iterator>

#include "simulator/text/text.h"

namespace simulator::messages {

namespace {

// Reads a text byte by byte and publishes where it stands.
class Place {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char *;
  using reference = const char &;

  Place(const char *at, const char **published) : at_(at), published_(published) {}

  reference operator*() const { return *at_; }
  Place &operator++() {
    ++at_;
    if (published_) *published_ = at_;
    return *this;
  }
  bool operator==(const Place &other) const { return at_ == other.at_; }
  bool operator!=(const Place &other) const { return at_ != other.at_; }

 private:
  const char *at_;
  const char **published_;
};

// Takes what the parser finds, and keeps what belongs on the envelopes. Each function returns whether to go on. The
// names are those that the parser calls.
class Reader {
 public:
  Reader(std::string_view text, const char *const *at, Envelopes &found) : text_(text), at_(at), found_(found) {}

  bool null() { return take(nullptr); }
  bool boolean(bool) { return take(Json::value_t::discarded); }
  bool number_integer(Json::number_integer_t number) { return take(number); }
  bool number_unsigned(Json::number_unsigned_t number) { return take(number); }
  bool number_float(Json::number_float_t number, const std::string &) { return take(number); }
  bool binary(Json::binary_t &) { return take(Json::value_t::discarded); }
  bool string(std::string &text) {
    if (is_member() && keys_[0] == "method") found_.calls.back().method = text;
    return take(is_wanted() ? Json(text) : Json(Json::value_t::discarded));
  }

  bool start_object(size_t) {
    if (depth_ == 0) base_ = 0;
    const bool good = take(Json::value_t::discarded);
    if (depth_ == base_) begin_ = position() - 1;
    ++depth_;
    return good;
  }
  bool end_object() {
    --depth_;
    if (depth_ == base_) found_.calls.back().text = text_.substr(begin_, position() - begin_);
    return true;
  }
  bool start_array(size_t) {
    if (depth_ == 0) {
      found_.is_batch = true;
      base_ = 1;
    }
    const bool good = depth_ == 0 || take(Json::value_t::discarded);
    ++depth_;
    return good;
  }
  bool end_array() {
    --depth_;
    return true;
  }
  bool key(const std::string &name) {
    const size_t level = depth_ - base_ - 1;
    if (level < 2) keys_[level] = name;
    if (level == 0) forget(name);
    return true;
  }
  bool has_too_many() const { return has_too_many_; }
  static bool parse_error(size_t, const std::string &, const nlohmann::detail::exception &) { return false; }

 private:
  // Of several members with the same name the last one counts.
  void forget(const std::string &name) {
    Envelope &call = found_.calls.back();
    if (name == "method") call.method.clear();
    if (name == "id") call.id.reset();
    if (name == "params") call.param_id.reset();
    keys_[1].clear();
  }

  size_t position() const { return static_cast<size_t>(*at_ - text_.data()); }
  bool is_member() const { return depth_ == base_ + 1; }
  bool is_wanted() const {
    if (is_member()) return keys_[0] == "id";
    return depth_ == base_ + 2 && keys_[0] == "params" && keys_[1] == "id";
  }

  // Anything that begins; a discarded one is nothing that is kept.
  bool take(const Json &value) {
    if (depth_ == base_) {
      if (found_.calls.size() == kMostCalls) {
        has_too_many_ = true;
        return false;
      }
      found_.calls.emplace_back();
    } else if (is_wanted()) {
      keep(value);
    }
    return true;
  }
  void keep(const Json &value) {
    Envelope &call = found_.calls.back();
    std::optional<Json> &place = is_member() ? call.id : call.param_id;
    place.reset();
    if (!value.is_discarded()) place = value;
  }

  std::string_view text_;
  const char *const *at_;
  Envelopes &found_;
  size_t base_ = 0;  // the depth at which calls stand
  size_t depth_ = 0;
  size_t begin_ = 0;
  std::string keys_[2];  // of the call, and of the object in it
  bool has_too_many_ = false;
};

Envelopes refused(bool is_batch, std::string why, ErrorCode code) {
  return {.is_batch = is_batch, .failure = Failure(code, std::move(why))};
}

}  // namespace

Envelopes open(std::string_view text) {
  Envelopes found;
  const char *at = text.data();
  Reader reader(text, &at, found);
  const char *const end = text.data() + text.size();
  const bool good = Json::sax_parse(Place(at, &at), Place(end, nullptr), &reader);
  if (reader.has_too_many())
    return refused(true, concat("a batch of more than ", kMostCalls, " calls"), ErrorCode::invalid_request);
  if (!good) return refused(false, "the message is not JSON in UTF-8", ErrorCode::parse_error);
  if (found.is_batch && found.calls.empty()) return refused(true, "the batch is empty", ErrorCode::invalid_request);
  if (!found.is_batch && (found.calls.empty() || found.calls[0].text.empty()))
    return refused(false, "the message is no object or batch", ErrorCode::invalid_request);
  return found;
}

}  // namespace simulator::messages
