#include "simulator/editing/outline.h"

#include <algorithm>
#include <set>
#include <unordered_map>

#include "simulator/policy/yaml_openings.h"
#include "simulator/text/text.h"

namespace simulator::editing {

namespace {

bool is_quote(char character) {
  return character == '"' || character == '\'';
}

bool ends_plain_value(std::string_view text, size_t at) {
  const char character = text[at];
  const char next = at + 1 < text.size() ? text[at + 1] : '\n';
  const bool before_blank = next == ' ' || next == '\n' || next == '\r' || next == '\t';
  switch (character) {
    case '\n':
    case '\r':
    case ',':
    case ']':
    case '}':
      return true;
    case ':':
      return before_blank;
    case ' ':
    case '\t':
      return next == '#';
    default:
      return false;
  }
}

// Where the value behind an anchor begins.
size_t behind_anchor(std::string_view text, size_t begin) {
  if (begin >= text.size() || text[begin] != '&') return begin;
  const size_t end = text.find_first_of(" \t\r\n", begin);
  const size_t value = end == std::string_view::npos ? end : text.find_first_not_of(" \t", end);
  return value == std::string_view::npos ? text.size() : value;
}

// Where a scalar stands, and whether its text is written there as it is.
Mention place_of(const yaml::Node &node, std::string_view text, size_t begin) {
  begin = behind_anchor(text, begin);
  Mention place{.name = node.text, .span = {begin, begin + node.text.size()}};
  if (begin < text.size() && is_quote(text[begin]) && text.substr(begin, node.text.size()) != node.text) {
    const size_t end = yaml::end_of_quoted(text, begin).value_or(text.size());
    place.span = {begin + 1, std::max(begin + 1, end - 1)};
  }
  place.verbatim = text.substr(place.span.begin, place.span.size()) == node.text;
  if (!place.verbatim) place.span = span_of_value(text, begin);
  return place;
}

const yaml::Node *value_of(const yaml::Node &node, std::string_view key) {
  for (const auto &[name, value] : node.entries) {
    if (name->text == key) return value;
  }
  return nullptr;
}

std::string text_of(const yaml::Node &node, std::string_view key) {
  const yaml::Node *value = value_of(node, key);
  return value ? value->text : std::string();
}

}  // namespace

Span span_of_value(std::string_view text, size_t begin) {
  begin = std::min(begin, text.size());
  if (begin < text.size() && is_quote(text[begin])) {
    if (const std::optional<size_t> end = yaml::end_of_quoted(text, begin)) return {begin, *end};
  }
  size_t end = begin;
  // What begins with a bracket goes to the end of its line at most.
  const bool is_group = begin < text.size() && (text[begin] == '{' || text[begin] == '[');
  while (end < text.size() && text[end] != '\n' && (is_group || !ends_plain_value(text, end)))
    ++end;
  while (end > begin && (text[end - 1] == ' ' || text[end - 1] == '\r'))
    --end;
  return {begin, end};
}

// Walks the tree beside the grammar.
class OutlineBuilder {
 public:
  OutlineBuilder(const Source &source, Outline &outline) : source_(&source), outline_(&outline) {}

  void build(const yaml::Node &root) {
    visit(root, file_shape());
    resolve_rules();
    outline_->index();
  }

 private:
  struct RuleName {
    std::string policy;
    std::string event;
  };

  // The end of the node.
  size_t visit(const yaml::Node &node, const Shape &shape) {
    switch (node.kind) {
      case yaml::Kind::null:
        return offset_of(node);
      case yaml::Kind::scalar:
        return visit_text(node, shape.kind, false, shape.kind == Kind::test || shape.kind == Kind::claim);
      case yaml::Kind::sequence:
        return visit_items(node, shape);
      case yaml::Kind::mapping:
        return visit_entries(node, shape);
    }
    return 0;
  }

  size_t offset_of(const yaml::Node &node) const { return source_->offset_of(node.position); }

  // An alias leads to the same place again.
  size_t visit_text(const yaml::Node &node, Kind kind, bool is_key, bool defines) {
    const std::string_view text = source_->text();
    Mention mention = place_of(node, text, offset_of(node));
    const size_t end = mention.span.end;
    if (kind == Kind::none || !seen_.emplace(mention.span.begin, kind).second) return end;
    mention.kind = kind;
    mention.defines = defines;
    outline_->mentions_.push_back(std::move(mention));
    return is_key || end >= text.size() || !is_quote(text[end]) ? end : end + 1;
  }

  size_t visit_items(const yaml::Node &node, const Shape &shape) {
    size_t end = offset_of(node);
    if (!shape.item) return end;
    for (const yaml::Node *item : node.items)
      end = std::max(end, visit(*item, *shape.item));
    return end;
  }

  size_t visit_entries(const yaml::Node &node, const Shape &shape) {
    if (!shape.is_mapping()) return offset_of(node);
    if (const std::optional<std::string> name = name_of(node, shape)) return visit_named(node, shape, *name);
    size_t end = offset_of(node);
    for (const auto &[key, value] : node.entries)
      end = std::max(end, visit_entry(*key, *value, shape));
    return end;
  }

  // Of a mapping in a list; nothing if it is none that people look for.
  static std::optional<std::string> name_of(const yaml::Node &node, const Shape &shape) {
    if (shape.name == "rule") return concat(text_of(node, "number"), " ", text_of(node, "class"));
    if (shape.name == "statement") return concat("statement ", text_of(node, "index"));
    if (shape.name == "step" || shape.name == "test_step")
      return concat(text_of(node, "event"), "@", text_of(node, "target"));
    if (shape.name != "test" && shape.name != "claim") return std::nullopt;
    const std::string name = text_of(node, "name");
    return name.empty() ? std::string(shape.name) : name;
  }

  static Kind kind_of(const Shape &shape) {
    if (shape.name == "rule") return Kind::rule;
    if (shape.name == "test") return Kind::test;
    return shape.name == "claim" ? Kind::claim : Kind::none;
  }

  size_t visit_named(const yaml::Node &node, const Shape &shape, const std::string &name) {
    if (shape.name == "rule") note_rule(node);
    const size_t begin = offset_of(node);
    const yaml::Node *named = value_of(node, shape.name == "rule" ? "number" : "name");
    const Span name_span = named && named->kind == yaml::Kind::scalar
                               ? place_of(*named, source_->text(), offset_of(*named)).span
                               : Span{begin, begin};
    return within({kind_of(shape), name, shape.name, {begin, begin}, name_span, {}}, [&] {
      size_t end = begin;
      for (const auto &[key, value] : node.entries)
        end = std::max(end, visit_entry(*key, *value, shape));
      return end;
    });
  }

  size_t visit_entry(const yaml::Node &key, const yaml::Node &value, const Shape &shape) {
    if (const Shape::Key *known = shape.find(key.text)) return visit_known(key, value, shape, *known);
    if (!shape.any_value || key.kind != yaml::Kind::scalar) return offset_of(value);
    const size_t key_end = visit_text(key, shape.key_kind, true, shape.keys_define || in_target(shape));
    if (!shape.keys_define || shape.key_kind == Kind::attribute)
      return std::max(key_end, visit(value, *shape.any_value));
    note_owner(key, shape.key_kind);
    const Span span = place_of(key, source_->text(), offset_of(key)).span;
    return within({shape.key_kind, key.text, shape.any_value->name, {span.begin, key_end}, span, {}},
                  [&] { return std::max(key_end, visit(value, *shape.any_value)); });
  }

  size_t visit_known(const yaml::Node &key, const yaml::Node &value, const Shape &shape, const Shape::Key &known) {
    const Span span = place_of(key, source_->text(), offset_of(key)).span;
    outline_->keywords_.push_back({span, &shape, &known});
    if (shape.name == "file") {
      section_ = key.text;
      return within({Kind::none, key.text, "section", {span.begin, span.end}, span, {}},
                    [&] { return std::max(span.end, visit(value, *known.value)); });
    }
    const size_t end = std::max(span.end, visit(value, *known.value));
    if (value.kind == yaml::Kind::scalar && !known.value->words.empty())
      outline_->keywords_.push_back({place_of(value, source_->text(), offset_of(value)).span, &shape, &known});
    return end;
  }

  // The attributes of a target are defined there; elsewhere the same shape only mentions them.
  bool in_target(const Shape &shape) const { return shape.key_kind == Kind::attribute && section_ == "targets"; }

  void note_owner(const yaml::Node &key, Kind kind) {
    if (kind == Kind::policy_map) policy_ = key.text;
    if (kind == Kind::event) event_ = key.text;
  }

  void note_rule(const yaml::Node &node) {
    const yaml::Node *number = value_of(node, "number");
    if (!number || number->kind != yaml::Kind::scalar) return;
    const std::string name = concat(policy_, "/", event_, "/", number->text);
    rules_.emplace(name, RuleName{policy_, event_});
    Mention mention = place_of(*number, source_->text(), offset_of(*number));
    mention.name = name;
    mention.kind = Kind::rule;
    mention.defines = true;
    // The number is not the name: renaming does not apply to rules.
    mention.verbatim = false;
    outline_->mentions_.push_back(std::move(mention));
  }

  template <class Visit>
  size_t within(Symbol symbol, Visit visit_inside) {
    path_.push_back(std::move(symbol));
    const size_t end = visit_inside();
    Symbol complete = std::move(path_.back());
    path_.pop_back();
    complete.whole.end = std::max({complete.whole.end, end, complete.name_span.end});
    (path_.empty() ? outline_->symbols_ : path_.back().inside).push_back(std::move(complete));
    return end;
  }

  // The name of a rule mentions its policy-map and its event; one without either is that of a class-map.
  void resolve_rules() {
    std::vector<Mention> more;
    for (Mention &mention : outline_->mentions_) {
      if (mention.kind != Kind::rule || mention.defines) continue;
      const auto found = rules_.find(mention.name);
      if (found == rules_.end()) {
        mention.kind = Kind::class_map;
      } else if (mention.verbatim) {
        split(mention, found->second, more);
      }
    }
    outline_->mentions_.insert(outline_->mentions_.end(), more.begin(), more.end());
  }

  static void split(Mention &mention, const RuleName &rule, std::vector<Mention> &more) {
    const size_t begin = mention.span.begin;
    const size_t event = begin + rule.policy.size() + 1;
    const size_t number = event + rule.event.size() + 1;
    more.push_back({Kind::policy_map, rule.policy, {begin, begin + rule.policy.size()}});
    more.push_back({Kind::event, rule.event, {event, event + rule.event.size()}});
    mention.span.begin = number;
    mention.verbatim = false;
  }

  const Source *source_;
  Outline *outline_;
  std::vector<Symbol> path_;  // those that are not complete, from outside in
  std::set<std::pair<size_t, Kind>> seen_;
  std::unordered_map<std::string, RuleName> rules_;
  // Where the walk is.
  std::string section_;
  std::string policy_;
  std::string event_;
};

Outline::Outline(const Source &source, const yaml::Document &document) {
  OutlineBuilder(source, *this).build(document.root());
}

void Outline::index() {
  const auto before = [](const auto &one, const auto &other) { return one.span < other.span; };
  std::sort(mentions_.begin(), mentions_.end(), before);
  std::sort(keywords_.begin(), keywords_.end(), before);
  for (size_t at = 0; at < mentions_.size(); ++at)
    by_name_[{mentions_[at].kind, mentions_[at].name}].push_back(at);
}

namespace {

// The last one that begins at or before the offset, if it reaches it.
template <class Spanned>
const Spanned *find_at(const std::vector<Spanned> &all, size_t offset) {
  auto after = std::upper_bound(all.begin(), all.end(), offset,
                                [](size_t wanted, const Spanned &each) { return wanted < each.span.begin; });
  if (after == all.begin()) return nullptr;
  const Spanned &last = *std::prev(after);
  return last.span.contains(offset) ? &last : nullptr;
}

}  // namespace

const Mention *Outline::mention_at(size_t offset) const {
  return find_at(mentions_, offset);
}

const Keyword *Outline::keyword_at(size_t offset) const {
  return find_at(keywords_, offset);
}

std::vector<const Mention *> Outline::mentions_of(Kind kind, std::string_view name) const {
  std::vector<const Mention *> found;
  const auto indices = by_name_.find({kind, name});
  if (indices == by_name_.end()) return found;
  for (const size_t at : indices->second)
    found.push_back(&mentions_[at]);
  return found;
}

std::vector<const Mention *> Outline::definitions_of(Kind kind, std::string_view name) const {
  std::vector<const Mention *> all = mentions_of(kind, name);
  std::vector<const Mention *> defining;
  std::copy_if(all.begin(), all.end(), std::back_inserter(defining), [](const Mention *each) { return each->defines; });
  return defining.empty() && kind == Kind::attribute ? all : defining;
}

// An attribute exists wherever it is mentioned; everything else has to be defined.
Names Outline::names() const {
  Names names;
  std::set<Key> seen;
  for (const Mention &mention : mentions_) {
    const bool counts = mention.defines || mention.kind == Kind::attribute;
    if (counts && seen.emplace(mention.kind, mention.name).second)
      names[static_cast<size_t>(mention.kind)].push_back(mention.name);
  }
  return names;
}

}  // namespace simulator::editing
