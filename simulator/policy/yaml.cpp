#include "simulator/policy/yaml.h"

#include <sstream>
#include <unordered_map>

#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/exceptions.h>
#include <yaml-cpp/mark.h>
#include <yaml-cpp/parser.h>

#include "simulator/policy/value.h"
#include "simulator/policy/yaml_errors.h"
#include "simulator/policy/yaml_openings.h"
#include "simulator/text/interruption.h"
#include "simulator/text/text.h"

namespace simulator::yaml {

namespace {

// Ends the parse when the text exceeds a bound.
struct Refused {
  Diagnostic diagnostic;
};

}  // namespace

const char *name_of(Kind kind) {
  switch (kind) {
    case Kind::null:
      return "nothing";
    case Kind::scalar:
      return "a single value";
    case Kind::sequence:
      return "a list";
    case Kind::mapping:
      return "a mapping";
  }
  return "";
}

// Builds the tree from the parser's events. A completed node is added to the open one.
class Builder final : public YAML::EventHandler {
 public:
  Builder(const Source &source, Document &document) : source_(&source), document_(&document) {}

  void OnDocumentStart(const YAML::Mark &) override {}
  void OnDocumentEnd() override {}
  // The parser reports the position of a missing value where the text goes on; a reader looks for it at its key.
  void OnNull(const YAML::Mark &mark, YAML::anchor_t anchor) override {
    const Node *key = open_.empty() ? nullptr : open_.back().key;
    leaf(mark, anchor, Kind::null, "");
    if (key) document_->nodes_.back().position = key->position;
  }
  void OnScalar(const YAML::Mark &mark, const std::string &tag, YAML::anchor_t anchor,
                const std::string &value) override {
    refuse_tag(mark, tag);
    refuse_open_quote(mark);
    if (std::optional<BadValue> bad = check_value(value)) refuse(mark, std::move(bad->what), std::move(bad->expected));
    leaf(mark, anchor, Kind::scalar, value);
  }
  void OnAlias(const YAML::Mark &mark, YAML::anchor_t anchor) override {
    const auto found = anchored_.find(anchor);
    if (found == anchored_.end()) refuse(mark, "an alias inside of what it stands for", "an anchor that is complete");
    add(mark, *found->second);
  }
  void OnSequenceStart(const YAML::Mark &mark, const std::string &tag, YAML::anchor_t anchor,
                       YAML::EmitterStyle::value) override {
    refuse_tag(mark, tag);
    open(mark, anchor, Kind::sequence);
  }
  void OnSequenceEnd() override { close(); }
  void OnMapStart(const YAML::Mark &mark, const std::string &tag, YAML::anchor_t anchor,
                  YAML::EmitterStyle::value) override {
    refuse_tag(mark, tag);
    open(mark, anchor, Kind::mapping);
  }
  void OnMapEnd() override { close(); }

 private:
  struct Open {
    Node *node;
    YAML::anchor_t anchor;
    const Node *key = nullptr;  // of a mapping: the key that still needs its value
  };

  [[noreturn]] void refuse(const YAML::Mark &mark, std::string message, std::string expected) const {
    throw Refused{{position_of(*source_, mark), std::move(message), std::move(expected), {}}};
  }

  void refuse_tag(const YAML::Mark &mark, const std::string &tag) const {
    // The parser reports '?' for a plain value without a tag and '!' for a quoted one.
    if (tag.empty() || tag == "?" || tag == "!") return;
    refuse(mark, concat("the tag ", as_word(tag)), "no tags");
  }

  // The parser takes the end of the file for the missing quote.
  void refuse_open_quote(const YAML::Mark &mark) const {
    const std::string &text = source_->text();
    const size_t begin = source_->offset_of(static_cast<size_t>(mark.line), static_cast<size_t>(mark.column));
    if (begin >= text.size() || (text[begin] != '"' && text[begin] != '\'')) return;
    if (!end_of_quoted(text, begin)) throw Refused{describe_open_quote(begin, *source_)};
  }

  Node &make(const YAML::Mark &mark, Kind kind) {
    Node &node = document_->nodes_.emplace_back();
    node.kind = kind;
    node.position = position_of(*source_, mark);
    return node;
  }

  void leaf(const YAML::Mark &mark, YAML::anchor_t anchor, Kind kind, const std::string &text) {
    Node &node = make(mark, kind);
    node.text = text;
    if (anchor != YAML::NullAnchor) anchored_[anchor] = &node;
    add(mark, node);
  }

  void open(const YAML::Mark &mark, YAML::anchor_t anchor, Kind kind) {
    if (open_.size() >= kMaxDepth) {
      refuse(mark, "nested too deep", concat("at most ", kMaxDepth, " levels"));
    }
    open_.push_back({&make(mark, kind), anchor});
  }

  void close() {
    const Open complete = open_.back();
    open_.pop_back();
    if (complete.anchor != YAML::NullAnchor) anchored_[complete.anchor] = complete.node;
    add(YAML::Mark::null_mark(), *complete.node);
  }

  void add(const YAML::Mark &mark, const Node &node) {
    interruption::check();
    if (open_.empty()) {
      document_->root_ = &node;
      return;
    }
    Open &parent = open_.back();
    parent.node->weight += node.weight;
    if (parent.node->weight > kMaxNodes) {
      refuse(mark, "aliases that stand for too much", concat("at most ", kMaxNodes, " values"));
    }
    if (parent.node->kind == Kind::sequence) {
      parent.node->items.push_back(&node);
    } else if (!parent.key) {
      parent.key = &node;
    } else {
      parent.node->entries.emplace_back(parent.key, &node);
      parent.key = nullptr;
    }
  }

  const Source *source_;
  Document *document_;
  std::vector<Open> open_;
  std::unordered_map<YAML::anchor_t, const Node *> anchored_;
};

namespace {

// Consumes the events of a document that is not used.
class Ignore final : public YAML::EventHandler {
 public:
  explicit Ignore(const Source &source) : source_(&source) {}

  void OnDocumentStart(const YAML::Mark &mark) override {
    throw Refused{{position_of(*source_, mark), "a second document in the file", "one document", {}}};
  }
  void OnDocumentEnd() override {}
  void OnNull(const YAML::Mark &, YAML::anchor_t) override {}
  void OnAlias(const YAML::Mark &, YAML::anchor_t) override {}
  void OnScalar(const YAML::Mark &, const std::string &, YAML::anchor_t, const std::string &) override {}
  void OnSequenceStart(const YAML::Mark &, const std::string &, YAML::anchor_t, YAML::EmitterStyle::value) override {}
  void OnSequenceEnd() override {}
  void OnMapStart(const YAML::Mark &, const std::string &, YAML::anchor_t, YAML::EmitterStyle::value) override {}
  void OnMapEnd() override {}

 private:
  const Source *source_;
};

}  // namespace

std::optional<Document> parse(const Source &source, Diagnostics &diagnostics) {
  std::istringstream text(source.text());
  Document document;
  try {
    YAML::Parser parser(text);
    Builder builder(source, document);
    if (!parser.HandleNextDocument(builder) || document.root().kind == Kind::null) {
      diagnostics.add(source.position_of(0, 0), "the file is empty",
                      "a mapping with clients, domains, class-maps, policy-maps, ...");
      return std::nullopt;
    }
    Ignore ignore(source);
    parser.HandleNextDocument(ignore);
  } catch (const Refused &refused) {
    const Diagnostic &why = refused.diagnostic;
    diagnostics.add(why.position, why.message, why.expected);
    return std::nullopt;
  } catch (const YAML::Exception &error) {
    const Diagnostic why = describe(error, source);
    diagnostics.add(why.position, why.message, why.expected);
    return std::nullopt;
  }
  return document;
}

}  // namespace simulator::yaml
