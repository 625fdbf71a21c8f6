// A policy file as YAML: a tree of nodes with their positions. Code above the loader uses only the model.
//
// Files come from outside. Depth, the length of scalars and the total size of aliases are bounded during the parse, so
// that no file takes more time or memory than its size justifies.
#pragma once

#include <deque>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "simulator/policy/diagnostics.h"
#include "simulator/policy/source.h"

namespace simulator::yaml {

inline constexpr size_t kMaxDepth = 32;
inline constexpr size_t kMaxNodes = 2'000'000;  // an alias counts again at each use

enum class Kind { null, scalar, sequence, mapping };

struct Node {
  Kind kind = Kind::null;
  Position position;
  std::string text;                                            // of a scalar
  std::vector<const Node *> items;                             // of a sequence
  std::vector<std::pair<const Node *, const Node *>> entries;  // of a mapping, as written, duplicates included
  size_t weight = 1;                                           // the number of nodes below this one, plus this one
};

// "a mapping", "a sequence", ...
const char *name_of(Kind kind);

class Document {
 public:
  Document() = default;
  Document(Document &&) noexcept = default;
  Document &operator=(Document &&) noexcept = default;
  const Node &root() const { return *root_; }

 private:
  friend class Builder;
  std::deque<Node> nodes_;  // a deque: nodes point to each other
  const Node *root_ = nullptr;
};

// Returns nothing when the text is not exactly one YAML document; 'diagnostics' then says why.
std::optional<Document> parse(const Source &source, Diagnostics &diagnostics);

}  // namespace simulator::yaml
