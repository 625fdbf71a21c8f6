// Balanced trees of records with embedded links.
//
// The balancing is Boost.Intrusive's. The head of a tree is the header that its algorithms require: its parent is the
// root, its left and right are the first and the last node, and the root's parent is the header. So every linked node
// has a parent, and a node without one is in no tree.
//
// Positions are found here, not by Boost: one comparator call per node has three results, and the comparators need not
// define a consistent order. Whatever they return, a node goes to the end of a path and the balancing uses only the
// links.
#include <boost/intrusive/avltree_algorithms.hpp>

#include "host/runtime/monitor.h"
#include "host/runtime/services.h"

using namespace runtime;

namespace {

struct NodeTraits {
  using node = avl_node;
  using node_ptr = avl_node *;
  using const_node_ptr = const avl_node *;
  using balance = intptr_t;

  static node_ptr get_parent(const_node_ptr node) { return node->parent; }
  static void set_parent(node_ptr node, node_ptr parent) { node->parent = parent; }
  static node_ptr get_left(const_node_ptr node) { return node->left; }
  static void set_left(node_ptr node, node_ptr left) { node->left = left; }
  static node_ptr get_right(const_node_ptr node) { return node->right; }
  static void set_right(node_ptr node, node_ptr right) { node->right = right; }
  static balance get_balance(const_node_ptr node) { return node->balance; }
  static void set_balance(node_ptr node, balance value) { node->balance = value; }
  static balance negative() { return -1; }
  static balance zero() { return 0; }
  static balance positive() { return 1; }
};
using Algorithms = boost::intrusive::avltree_algorithms<NodeTraits>;

enum Order : uint32_t { kBefore = 0, kEqual = 1 };  // anything else is after

bool is_linked(const avl_node *node) {
  return node->parent != nullptr;
}

avl_node *first_below(avl_node *node) {
  while (node->left)
    node = node->left;
  return node;
}

// The root is the only node that is its parent's parent.
bool is_in(const avl_tree *tree, const avl_node *node) {
  if (!is_linked(node)) return false;
  while (node->parent->parent != node)
    node = node->parent;
  return node->parent == &tree->top;
}

// A descent from the root, one comparison per node.
//
// Its direction is effectively random, so a branch on the order is mispredicted every other time. Near the root, where
// the nodes are in the cache, this is the main cost, so the child is chosen by arithmetic. Further down, waiting for
// the nodes costs more, and a prediction, correct every other time, starts the access early. So does prefetching both
// children before the comparison.
class Descent {
 public:
  explicit Descent(const avl_tree *tree) : compare_(tree->compare), node_(tree->top.parent) {}

  // NULL below the last node.
  avl_node *node() const { return node_; }

  uint32_t compare(const void *probe) {
    left_ = node_->left;
    right_ = node_->right;
    prefetch(left_);
    prefetch(right_);
    return compare_(probe, node_);
  }
  void turn(uint32_t order) { node_ = depth_++ < kLevelsInCache ? chosen(order) : guessed(order); }

 private:
  // 4,095 nodes, with a line for the node and one for its key each: half of a usual second-level cache.
  static constexpr uint32_t kLevelsInCache = 12;

  // A descent does not read the parent's word, which may be in another line than the rest. A missing child does no
  // harm, but its address must then be computed as a number.
  static void prefetch(const avl_node *node) {
    __builtin_prefetch(reinterpret_cast<const void *>(reinterpret_cast<uintptr_t>(node) + sizeof(void *)));
  }

  avl_node *chosen(uint32_t order) const {
    auto left = reinterpret_cast<uintptr_t>(left_), right = reinterpret_cast<uintptr_t>(right_);
    uintptr_t all_when_left = 0 - static_cast<uintptr_t>(order == kBefore);
    return reinterpret_cast<avl_node *>(right ^ ((left ^ right) & all_when_left));
  }
  avl_node *guessed(uint32_t order) const {
    if (order == kBefore) return left_;
    asm volatile("");  // keeps compilers from also choosing by arithmetic here
    return right_;
  }

  avl_compare_fn compare_;
  avl_node *node_;
  avl_node *left_ = nullptr;
  avl_node *right_ = nullptr;
  uint32_t depth_ = 0;
};

avl_node *find(const avl_tree *tree, const void *probe) {
  Descent path(tree);
  while (path.node()) {
    uint32_t order = path.compare(probe);
    if (order == kEqual) return path.node();
    path.turn(order);
  }
  return nullptr;
}

avl_node *first_after(const avl_tree *tree, const void *probe) {
  avl_node *best = nullptr;
  Descent path(tree);
  while (path.node()) {
    uint32_t order = path.compare(probe);
    if (order == kBefore) best = path.node();
    path.turn(order);
  }
  return best;
}

// Where to insert a node that equals none in the tree. False if one is equal.
bool find_place(avl_tree *tree, const avl_node *node, Algorithms::insert_commit_data &place) {
  place.node = &tree->top;
  place.link_left = true;
  Descent path(tree);
  while (path.node()) {
    uint32_t order = path.compare(node);
    if (order == kEqual) return false;
    place.node = path.node();
    place.link_left = order == kBefore;
    path.turn(order);
  }
  return true;
}

void take_out(avl_tree *tree, avl_node *node) {
  Algorithms::erase(&tree->top, node);
  *node = {};
}

avl_node *node_of(void *record) {
  return static_cast<avl_node *>(record);
}

bool usable(const avl_tree *tree, const void *argument, const char *service) {
  if (tree && tree->compare && argument) [[likely]]
    return true;
  complain("%s: tree %p%s, argument %p", service, static_cast<const void *>(tree),
           tree && !tree->compare ? " (not initialised)" : "", argument);
  return false;
}

}  // namespace

uint32_t i_avl_tree_init(avl_tree *tree, avl_compare_fn compare, avl_free_fn free_node) {
  if (!tree || !compare) {
    complain("i_avl_tree_init: tree %p%s", static_cast<void *>(tree), compare ? "" : ", no comparator");
    return 0;
  }
  if (refused(Service::tree_init)) return 0;
  Algorithms::init_header(&tree->top);
  tree->compare = compare;
  tree->free_node = free_node;
  return 1;
}

uint32_t i_avl_insert(avl_tree *tree, void *record) {
  if (!usable(tree, record, "i_avl_insert") || refused(Service::tree_insert)) return 0;
  avl_node *node = node_of(record);
  Algorithms::insert_commit_data place;
  if (is_linked(node) || !find_place(tree, node, place)) return 0;
  Algorithms::insert_unique_commit(&tree->top, node, place);
  return 1;
}

void *i_avl_search(avl_tree *tree, const void *probe) {
  return usable(tree, probe, "i_avl_search") ? find(tree, probe) : nullptr;
}

uint32_t i_avl_delete(avl_tree *tree, void *probe, void **removed) {
  if (!usable(tree, probe, "i_avl_delete")) return 0;
  if (monitor.fail_next_tree_delete) [[unlikely]] {
    monitor.fail_next_tree_delete = false;
    return 0;
  }
  avl_node *node = is_in(tree, node_of(probe)) ? node_of(probe) : find(tree, probe);
  if (!node) return 0;
  take_out(tree, node);
  if (removed) *removed = node;
  return 1;
}

void i_avl_remove(avl_tree *tree, void *) {
  if (!tree) {
    complain("i_avl_remove: no tree");
    return;
  }
  // The callback may free the record and remove others, so each step starts from the tree as it is then.
  while (tree->top.parent) {
    avl_node *node = tree->top.left;
    take_out(tree, node);
    if (tree->free_node) tree->free_node(node);
  }
}

void i_avl_get_first(avl_node *root, void **first) {
  if (first) *first = root ? first_below(root) : nullptr;
}

void i_avl_get_next(avl_tree *tree, void *current, void **next) {
  if (!next) return;
  *next = nullptr;
  if (!usable(tree, current, "i_avl_get_next")) return;
  if (!is_in(tree, node_of(current))) {
    *next = first_after(tree, current);
    return;
  }
  avl_node *node = Algorithms::next_node(node_of(current));
  *next = node == &tree->top ? nullptr : node;
}
