#include <stdlib.h>
#include <string.h>

#include "check.h"
#include "platform/runtime.h"

/* A node, like the library's records: the links first. */
typedef struct Node {
  avl_node links;
  int key;
  int is_inserted;
  int n_freed;
} Node;

enum { kBefore, kEqual, kAfter };
enum { kKeys = 5, kMany = 200, kVeryMany = 5000 };

/* A wrong argument that the comparator received. */
static const void *the_probe;
static const char *misuse;
/* While it is set, all keys compare as equal. */
static int all_are_equal;

static uint32_t compare_keys(const void *nascent, const void *tree) {
  const Node *left = nascent, *right = tree;
  if (!left || !right) FAIL("the comparator received NULL");
  if (the_probe && nascent != the_probe) misuse = "the first argument was not the node being searched for or inserted";
  if (the_probe && !right->is_inserted) misuse = "the second argument was not a node of the tree";
  if (all_are_equal) return kEqual;
  return left->key < right->key ? kBefore : left->key > right->key ? kAfter : kEqual;
}

static uint32_t compare_backwards(const void *nascent, const void *tree) {
  return compare_keys(tree, nascent);
}

static void forget(void *unlinked) {
  (void)unlinked;
}

static void start_with(avl_tree *tree, avl_compare_fn compare, avl_free_fn free_node) {
  memset(tree, 0, sizeof *tree);
  EXPECT(i_avl_tree_init(tree, compare, free_node) != 0, "the tree could not be initialised");
}

static void start(avl_tree *tree) {
  start_with(tree, compare_keys, forget);
}

/* The library passes this word to i_avl_get_first. */
static int is_empty(const avl_tree *tree) {
  return tree->top.parent == NULL;
}

static void insert(avl_tree *tree, Node *inserted) {
  EXPECT(i_avl_insert(tree, inserted) != 0, "the key %d was refused although no node has it", inserted->key);
  inserted->is_inserted = 1;
}

static void insert_all(avl_tree *tree, Node *nodes, int n_nodes) {
  for (int i = 0; i < n_nodes; i++)
    insert(tree, &nodes[i]);
}

static Node *first_of(avl_tree *tree) {
  static int nothing;
  void *found = &nothing;
  if (is_empty(tree)) return NULL;
  i_avl_get_first(tree->top.parent, &found);
  EXPECT(found != &nothing, "i_avl_get_first did not write its result");
  return found;
}

static Node *next_of(avl_tree *tree, void *current) {
  static int nothing;
  void *found = &nothing;
  i_avl_get_next(tree, current, &found);
  EXPECT(found != &nothing, "i_avl_get_next did not write its result");
  return found;
}

/* Deletes by key, and returns the node that was removed. */
static Node *delete_key(avl_tree *tree, int key) {
  Node probe = {.key = key};
  void *removed = NULL;
  EXPECT(i_avl_delete(tree, &probe, &removed) != 0, "it did not find the key %d", key);
  return removed;
}

/* A walk visits the keys whose entry in 'wanted' is not 0, in order, and then ends. */
static void holds(avl_tree *tree, const int *wanted, int n_keys) {
  Node *visited = first_of(tree);
  for (int key = 0; key < n_keys; key++) {
    if (!wanted[key]) continue;
    EXPECT(visited != NULL, "a walk ends before the key %d", key);
    EXPECT(visited->key == key, "a walk visits the key %d instead of %d", visited->key, key);
    visited = next_of(tree, visited);
  }
  EXPECT(visited == NULL, "a walk visits the key %d where it should end", visited->key);
}

/* Puts 'keys' into the next order. Returns 0 after the last one. */
static int next_order(int *keys, int n_keys) {
  int i = n_keys - 1, j = n_keys - 1;
  while (i > 0 && keys[i - 1] > keys[i])
    i--;
  if (i == 0) return 0;
  while (keys[j] < keys[i - 1])
    j--;
  int swapped = keys[j];
  keys[j] = keys[i - 1];
  keys[i - 1] = swapped;
  for (j = n_keys - 1; i < j; i++, j--) {
    swapped = keys[i];
    keys[i] = keys[j];
    keys[j] = swapped;
  }
  return 1;
}

static void insert_in_order(avl_tree *tree, Node *nodes, const int *order) {
  start(tree);
  for (int i = 0; i < kKeys; i++) {
    nodes[i] = (Node){.key = order[i]};
    insert(tree, &nodes[i]);
  }
}

static void init_makes_an_empty_tree(void) {
  avl_tree tree;
  start(&tree);
  EXPECT(is_empty(&tree), "the top.parent of a new tree is %p", (void *)tree.top.parent);
}

static int n_freed_by[2];

static void free_by_first(void *unlinked) {
  (void)unlinked;
  n_freed_by[0]++;
}

static void free_by_second(void *unlinked) {
  (void)unlinked;
  n_freed_by[1]++;
}

static void trees_have_their_own_functions(void) {
  avl_tree forwards, backwards;
  Node nodes[4] = {{.key = 0}, {.key = 1}, {.key = 0}, {.key = 1}};
  start_with(&forwards, compare_keys, free_by_first);
  start_with(&backwards, compare_backwards, free_by_second);
  insert_all(&forwards, nodes, 2);
  insert_all(&backwards, nodes + 2, 2);
  EXPECT(first_of(&forwards) == &nodes[0], "the first tree has the comparator of the second one");
  EXPECT(first_of(&backwards) == &nodes[3], "the second tree has the comparator of the first one");
  i_avl_remove(&forwards, &forwards);
  EXPECT(n_freed_by[1] == 0, "the first tree has the free function of the second one");
  i_avl_remove(&backwards, &backwards);
  EXPECT(n_freed_by[0] <= 2, "the second tree has the free function of the first one");
}

static void insert_keeps_the_order(void) {
  enum { kLarge = 400 };
  static Node many[kLarge];
  static int all[kLarge];
  int order[kKeys] = {0, 1, 2, 3, 4}, wanted[kKeys] = {1, 1, 1, 1, 1};
  avl_tree large;
  do {
    avl_tree tree;
    Node nodes[kKeys];
    insert_in_order(&tree, nodes, order);
    holds(&tree, wanted, kKeys);
  } while (next_order(order, kKeys));
  start(&large);
  for (int i = 0; i < kLarge; i++) {
    many[i].key = i * 37 % kLarge;
    all[i] = 1;
    insert(&large, &many[i]);
  }
  holds(&large, all, kLarge);
}

static void insert_refuses_an_equal_key(void) {
  avl_tree tree;
  Node one = {.key = 1}, two = {.key = 2}, same = {.key = 1};
  start(&tree);
  insert(&tree, &one);
  insert(&tree, &two);
  EXPECT(i_avl_insert(&tree, &same) == 0, "a second node with the same key was inserted");
  EXPECT(first_of(&tree) == &one && next_of(&tree, &one) == &two, "the refusal changed the tree");
}

static void insert_refuses_a_node_that_is_in_a_tree(void) {
  avl_tree tree, other;
  Node one = {.key = 1}, two = {.key = 2};
  start(&tree);
  start(&other);
  insert(&tree, &one);
  insert(&tree, &two);
  EXPECT(i_avl_insert(&tree, &one) == 0, "a node was inserted twice into one tree");
  EXPECT(i_avl_insert(&other, &two) == 0, "a node was inserted into a second tree");
  holds(&tree, (const int[]){0, 1, 1}, 3);
  EXPECT(is_empty(&other), "the second tree holds a node that it refused");
}

static void search_finds(void) {
  int order[kKeys] = {0, 1, 2, 3, 4};
  do {
    avl_tree tree;
    Node nodes[kKeys];
    insert_in_order(&tree, nodes, order);
    for (int i = 0; i < kKeys; i++) {
      Node probe = {.key = order[i]};
      EXPECT(i_avl_search(&tree, &probe) == &nodes[i], "it did not find the key %d", order[i]);
    }
  } while (next_order(order, kKeys));
}

static void search_finds_nothing(void) {
  avl_tree tree;
  Node nodes[2] = {{.key = 1}, {.key = 3}};
  start(&tree);
  for (int n_nodes = 0; n_nodes <= 2; n_nodes++) {
    for (int key = 0; key <= 4; key += 2) {
      Node probe = {.key = key};
      EXPECT(i_avl_search(&tree, &probe) == NULL, "it found the key %d among %d other keys", key, n_nodes);
    }
    if (n_nodes < 2) insert(&tree, &nodes[n_nodes]);
  }
}

static void search_changes_nothing(void) {
  avl_tree tree;
  Node nodes[kKeys];
  insert_in_order(&tree, nodes, (const int[]){2, 0, 4, 1, 3});
  for (int key = -1; key <= kKeys; key++) {
    Node probe = {.key = key};
    unsigned char before[sizeof probe];
    memcpy(before, &probe, sizeof probe);
    i_avl_search(&tree, &probe);
    EXPECT(memcmp(before, &probe, sizeof probe) == 0, "it changed the probe for the key %d", key);
    holds(&tree, (const int[]){1, 1, 1, 1, 1}, kKeys);
  }
}

static void comparator_receives_probe_and_node(void) {
  avl_tree tree;
  Node nodes[kKeys], sought = {.key = 3}, deleted = {.key = 1}, passed = {.key = 1};
  void *result = NULL;
  start(&tree);
  for (int i = 0; i < kKeys; i++) {
    nodes[i] = (Node){.key = i};
    the_probe = &nodes[i];
    insert(&tree, &nodes[i]);
  }
  the_probe = &sought;
  i_avl_search(&tree, &sought);
  the_probe = &deleted;
  i_avl_delete(&tree, &deleted, &result);
  the_probe = &passed;
  i_avl_get_next(&tree, &passed, &result);
  EXPECT(!misuse, "%s", misuse);
}

/* Every order of five insertions, followed by every order of five deletions by key. */
static void delete_removes_in_any_order(void) {
  int insertions[kKeys] = {0, 1, 2, 3, 4};
  do {
    int deletions[kKeys] = {0, 1, 2, 3, 4};
    do {
      avl_tree tree;
      Node nodes[kKeys];
      int wanted[kKeys] = {1, 1, 1, 1, 1};
      insert_in_order(&tree, nodes, insertions);
      for (int i = 0; i < kKeys; i++) {
        const Node *removed = delete_key(&tree, deletions[i]);
        EXPECT(removed, "it did not write the node that it removed");
        EXPECT(removed >= nodes && removed < nodes + kKeys, "it wrote another address than that of the removed node");
        EXPECT(removed->key == deletions[i], "it removed the key %d instead of %d", removed->key, deletions[i]);
        wanted[deletions[i]] = 0;
        holds(&tree, wanted, kKeys);
      }
    } while (next_order(deletions, kKeys));
  } while (next_order(insertions, kKeys));
}

/*
 * Random insertions and deletions, compared with an array of the expected contents. What was removed is overwritten, as
 * freed memory is.
 */
static void delete_removes_from_a_large_tree(void) {
  static Node nodes[kMany];
  int present[kMany] = {0};
  uint32_t random = 12345;
  avl_tree tree;
  start(&tree);
  for (int step = 0; step < 20000; step++) {
    random = random * 1664525u + 1013904223u;
    int key = (int)((random >> 8) % kMany);
    if (present[key]) {
      delete_key(&tree, key);
      memset(&nodes[key], 0xa5, sizeof nodes[key]);
    } else {
      nodes[key] = (Node){.key = key};
      insert(&tree, &nodes[key]);
    }
    present[key] = !present[key];
    if (step % 100 == 0) holds(&tree, present, kMany);
  }
  holds(&tree, present, kMany);
}

static void delete_removes(void) {
  delete_removes_in_any_order();
  delete_removes_from_a_large_tree();
}

static void delete_reports_an_absent_key(void) {
  avl_tree tree;
  Node one = {.key = 1}, probe = {.key = 2};
  void *removed = NULL;
  start(&tree);
  EXPECT(i_avl_delete(&tree, &probe, &removed) == 0, "it returned non-zero for an empty tree");
  insert(&tree, &one);
  EXPECT(i_avl_delete(&tree, &probe, &removed) == 0, "it returned non-zero for a key that is not in the tree");
  holds(&tree, (const int[]){0, 1}, 2);
}

/* The keys of maps compare as equal when one begins with the other, so a neighbour may compare equal. */
static void delete_prefers_the_node_itself(void) {
  for (int chosen = 0; chosen < kKeys; chosen++) {
    avl_tree tree;
    Node nodes[kKeys];
    void *removed = NULL;
    all_are_equal = 0;
    insert_in_order(&tree, nodes, (const int[]){2, 0, 4, 1, 3});
    all_are_equal = 1;
    EXPECT(i_avl_delete(&tree, &nodes[chosen], &removed) != 0, "it did not remove a node of the tree");
    EXPECT(removed == &nodes[chosen], "it removed a neighbour that compares equal");
  }
}

/* Two databases may each have a map of the same name. */
static void delete_takes_a_node_of_another_tree_for_a_probe(void) {
  avl_tree tree, other;
  Node here[3] = {{.key = 0}, {.key = 1}, {.key = 2}}, there[3] = {{.key = 0}, {.key = 1}, {.key = 3}};
  void *removed = NULL;
  start(&tree);
  start(&other);
  insert_all(&tree, here, 3);
  insert_all(&other, there, 3);
  EXPECT(i_avl_delete(&tree, &there[1], &removed) != 0, "it did not find the equal node of the tree");
  i_avl_delete(&tree, &there[2], &removed);
  holds(&tree, (const int[]){1, 0, 1}, 3);
  holds(&other, (const int[]){1, 1, 0, 1}, 4);
}

static void deleted_node_can_be_inserted_again(void) {
  avl_tree tree, other;
  Node one = {.key = 1}, two = {.key = 2};
  void *removed = NULL;
  start(&tree);
  start(&other);
  insert(&tree, &one);
  insert(&tree, &two);
  i_avl_delete(&tree, &one, &removed);
  insert(&other, &one);
  holds(&tree, (const int[]){0, 0, 1}, 3);
  holds(&other, (const int[]){0, 1, 0}, 3);
  i_avl_delete(&other, &one, &removed);
  insert(&tree, &one);
  holds(&tree, (const int[]){0, 1, 1}, 3);
}

typedef struct NamedNode {
  avl_node links;
  const char *name;
  int is_inserted;
} NamedNode;

static const char *const names[] = {"b", "ab", "abc", "a", "bcd", "bc", "c", "abd", "ca", "cab"};
enum { kNames = sizeof names / sizeof names[0] };

/*
 * Compares like the keys of policy-maps: over the length of the shorter one. Strictly speaking, this is not an order.
 */
static uint32_t compare_beginnings(const void *nascent, const void *tree) {
  const char *left = ((const NamedNode *)nascent)->name, *right = ((const NamedNode *)tree)->name;
  size_t length = strlen(left) < strlen(right) ? strlen(left) : strlen(right);
  int difference = strncmp(left, right, length);
  return difference < 0 ? kBefore : difference > 0 ? kAfter : kEqual;
}

/*
 * Compares like the keys of class-maps: over the length of the one in the tree. A key equals one that it begins with,
 * and not the other way round, so far more of them get into the tree.
 */
static uint32_t compare_over_the_stored(const void *nascent, const void *tree) {
  const char *left = ((const NamedNode *)nascent)->name, *right = ((const NamedNode *)tree)->name;
  int difference = strncmp(left, right, strlen(right));
  return difference < 0 ? kBefore : difference > 0 ? kAfter : kEqual;
}

/* No order at all. */
static uint32_t compare_at_random(const void *nascent, const void *tree) {
  static uint32_t random = 12345;
  random = random * 1664525u + 1013904223u;
  return nascent && tree && random >> 31 ? kBefore : kAfter;
}

static const avl_compare_fn inconsistent[] = {compare_beginnings, compare_over_the_stored, compare_at_random};
enum { kInconsistent = sizeof inconsistent / sizeof inconsistent[0] };

/* Inserts the names, beginning with one of them, and returns how many were accepted. */
static int insert_names(avl_tree *tree, avl_compare_fn compare, NamedNode *nodes, int first) {
  int n_inserted = 0;
  start_with(tree, compare, forget);
  for (int i = 0; i < kNames; i++) {
    nodes[i] = (NamedNode){.name = names[(i + first) % kNames]};
    nodes[i].is_inserted = i_avl_insert(tree, &nodes[i]) != 0;
    n_inserted += nodes[i].is_inserted;
  }
  return n_inserted;
}

/* Deletes all names one after the other; whichever node goes, the others stay. */
static void delete_names(avl_tree *tree, NamedNode *nodes, int n_inserted) {
  for (int i = 0; i < kNames; i++) {
    while (nodes[i].is_inserted) {
      void *removed = NULL;
      EXPECT(i_avl_delete(tree, &nodes[i], &removed) != 0, "it lost the node '%s'", nodes[i].name);
      ptrdiff_t at = (NamedNode *)removed - nodes;
      EXPECT(at >= 0 && at < kNames && nodes[at].is_inserted, "it removed what is not in the tree");
      nodes[at].is_inserted = 0;
      n_inserted--;
    }
  }
  EXPECT(n_inserted == 0 && is_empty(tree), "the tree is not empty after all nodes were deleted");
}

static void delete_survives_any_comparator(void) {
  for (int turn = 0; turn < kNames * kInconsistent; turn++) {
    avl_tree tree;
    NamedNode nodes[kNames];
    int n_inserted = insert_names(&tree, inconsistent[turn / kNames], nodes, turn % kNames);
    delete_names(&tree, nodes, n_inserted);
  }
}

/* A walk visits each inserted record once. */
static void visits_all(avl_tree *tree, const NamedNode *nodes, int n_inserted) {
  int n_visited = 0;
  void *visited = first_of(tree);
  while (visited && n_visited <= n_inserted) {
    ptrdiff_t at = (NamedNode *)visited - nodes;
    EXPECT(at >= 0 && at < kNames && nodes[at].is_inserted, "a walk visits a node that is not in the tree");
    n_visited++;
    visited = next_of(tree, visited);
  }
  EXPECT(n_visited == n_inserted, "a walk visits %d of %d nodes", n_visited, n_inserted);
}

static void next_survives_any_comparator(void) {
  for (int turn = 0; turn < kNames * kInconsistent; turn++) {
    avl_tree tree;
    NamedNode nodes[kNames];
    int n_inserted = insert_names(&tree, inconsistent[turn / kNames], nodes, turn % kNames);
    visits_all(&tree, nodes, n_inserted);
  }
}

static void count_freed(void *unlinked) {
  ((Node *)unlinked)->n_freed++;
}

static void remove_frees_each_node_once(void) {
  static Node nodes[kMany];
  avl_tree tree;
  start_with(&tree, compare_keys, count_freed);
  for (int i = 0; i < kMany; i++) {
    nodes[i].key = i * 37 % kMany;
    insert(&tree, &nodes[i]);
  }
  i_avl_remove(&tree, &tree);
  for (int i = 0; i < kMany; i++)
    EXPECT(nodes[i].n_freed == 1, "the free function was called %d times for a node", nodes[i].n_freed);
}

static avl_tree new_homes[kKeys];

/* Half of the nodes enter a tree of their own at once, the others later. */
static void insert_elsewhere(void *unlinked) {
  Node *node = unlinked;
  if (node->key % 2 == 0) insert(&new_homes[node->key], node);
}

static void remove_unlinks_the_nodes(void) {
  avl_tree tree;
  Node nodes[kKeys] = {{.key = 0}, {.key = 1}, {.key = 2}, {.key = 3}, {.key = 4}};
  for (int i = 0; i < kKeys; i++)
    start(&new_homes[i]);
  start_with(&tree, compare_keys, insert_elsewhere);
  insert_all(&tree, nodes, kKeys);
  i_avl_remove(&tree, &tree);
  for (int i = 1; i < kKeys; i += 2)
    EXPECT(i_avl_insert(&new_homes[i], &nodes[i]) != 0, "a node is refused after its tree was emptied");
}

static void remove_leaves_a_usable_tree(void) {
  avl_tree tree;
  Node nodes[3] = {{.key = 0}, {.key = 1}, {.key = 2}}, again = {.key = 1};
  start(&tree);
  insert_all(&tree, nodes, 3);
  i_avl_remove(&tree, &tree);
  EXPECT(is_empty(&tree), "the tree is not empty: its top.parent is %p", (void *)tree.top.parent);
  insert(&tree, &again);
  EXPECT(first_of(&tree) == &again && !next_of(&tree, &again), "the tree cannot be used again");
}

enum { kPoison = 0xa5 };

static void poison(void *unlinked) {
  memset(unlinked, kPoison, sizeof(Node));
}

static void remove_does_not_touch_freed_nodes(void) {
  avl_tree tree;
  Node nodes[kKeys] = {{.key = 0}, {.key = 1}, {.key = 2}, {.key = 3}, {.key = 4}};
  start_with(&tree, compare_keys, poison);
  insert_all(&tree, nodes, kKeys);
  i_avl_remove(&tree, &tree);
  for (int i = 0; i < kKeys; i++) {
    const unsigned char *bytes = (const unsigned char *)&nodes[i];
    if (nodes[i].key == i) continue; /* not freed, which is another promise */
    for (size_t at = 0; at < sizeof nodes[i]; at++)
      EXPECT(bytes[at] == kPoison, "it wrote to byte %zu of a node that was freed", at);
  }
}

static avl_tree *being_emptied;
static Node *all_nodes;

/* Removes further nodes, as the deletion of a map may delete others. */
static void remove_others(void *unlinked) {
  Node *node = unlinked;
  EXPECT(node->is_inserted, "the free function was called for the node %d, which had been removed", node->key);
  node->is_inserted = 0;
  for (int i = 0; i < kKeys; i++) {
    void *removed = NULL;
    if (!all_nodes[i].is_inserted || i % 2 == node->key % 2) continue;
    EXPECT(i_avl_delete(being_emptied, &all_nodes[i], &removed) != 0, "the node %d cannot be removed meanwhile", i);
    all_nodes[i].is_inserted = 0;
  }
}

static void remove_lets_others_be_removed(void) {
  avl_tree tree;
  Node nodes[kKeys] = {{.key = 0}, {.key = 1}, {.key = 2}, {.key = 3}, {.key = 4}};
  start_with(&tree, compare_keys, remove_others);
  insert_all(&tree, nodes, kKeys);
  being_emptied = &tree;
  all_nodes = nodes;
  i_avl_remove(&tree, &tree);
}

static int n_calls;

static void count_calls(void *unlinked) {
  (void)unlinked;
  n_calls++;
}

static void remove_of_an_empty_tree(void) {
  avl_tree tree;
  start_with(&tree, compare_keys, count_calls);
  i_avl_remove(&tree, &tree);
  EXPECT(n_calls == 0, "the free function was called %d times", n_calls);
}

static Node very_many[kVeryMany];

/* In ascending order, which gives the deepest left side. */
static void start_with_very_many(avl_tree *tree) {
  start(tree);
  for (int i = 0; i < kVeryMany; i++) {
    very_many[i].key = i;
    insert(tree, &very_many[i]);
  }
}

static void first_is_found(void) {
  avl_tree tree;
  start_with_very_many(&tree);
  const Node *first = first_of(&tree);
  EXPECT(first && first->key == 0, "the first of %d nodes is the node %d", (int)kVeryMany, first ? first->key : -1);
}

static void first_of_an_empty_tree(void) {
  int nothing;
  void *first = &nothing;
  i_avl_get_first(NULL, &first);
  EXPECT(first == NULL, "it %s for an empty tree", first == &nothing ? "wrote nothing" : "wrote a node");
}

static void next_follows(void) {
  avl_tree tree;
  start_with_very_many(&tree);
  for (int i = 1; i < kVeryMany; i++) {
    const Node *next = next_of(&tree, &very_many[i - 1]);
    EXPECT(next == &very_many[i], "the key %d is followed by %d (-1: none)", i - 1, next ? next->key : -1);
  }
  EXPECT(next_of(&tree, &very_many[kVeryMany - 1]) == NULL, "the last node is followed by another one");
}

/* A walk continues from a record that was removed, or was never in the tree. */
static void next_of_an_absent_node(void) {
  avl_tree tree;
  Node nodes[3] = {{.key = 2}, {.key = 4}, {.key = 6}};
  void *removed = NULL;
  start(&tree);
  insert_all(&tree, nodes, 3);
  for (int key = 1; key < 8; key += 2) {
    Node absent = {.key = key};
    const Node *wanted = key > 6 ? NULL : &nodes[key / 2], *next = next_of(&tree, &absent);
    EXPECT(next == wanted, "after the key %d, which is not in the tree, it finds %d instead of %d (-1: none)", key,
           next ? next->key : -1, wanted ? wanted->key : -1);
  }
  i_avl_delete(&tree, &nodes[1], &removed);
  EXPECT(next_of(&tree, &nodes[1]) == &nodes[2], "a walk does not continue from a node that was removed");
}

/* A walk of one database may be given a map of another one. */
static void next_takes_a_node_of_another_tree_for_a_probe(void) {
  avl_tree tree, other;
  Node here[3] = {{.key = 1}, {.key = 3}, {.key = 5}}, there[3] = {{.key = 0}, {.key = 3}, {.key = 6}};
  start(&tree);
  start(&other);
  insert_all(&tree, here, 3);
  insert_all(&other, there, 3);
  EXPECT(next_of(&tree, &there[0]) == &here[0], "from a first node of another tree, it does not find the first node");
  EXPECT(next_of(&tree, &there[1]) == &here[2], "from a node of another tree, it leaves the tree");
  EXPECT(next_of(&tree, &there[2]) == NULL, "from a last node of another tree, it finds a node");
}

static const Promise promises[] = {
    {1, "i_avl_tree_init", "returns non-zero and makes an empty tree, whose top.parent is NULL",
     init_makes_an_empty_tree},
    {2, "i_avl_tree_init", "gives each tree its own functions", trees_have_their_own_functions},
    {3, "i_avl_insert", "keeps the nodes in the order of the comparator", insert_keeps_the_order},
    {4, "i_avl_insert", "returns 0 if a node compares equal, and changes nothing", insert_refuses_an_equal_key},
    {5, "i_avl_insert", "returns 0 for a node that is in a tree, this one or another",
     insert_refuses_a_node_that_is_in_a_tree},
    {6, "i_avl_search", "returns the node that compares equal", search_finds},
    {7, "i_avl_search", "returns NULL if no node compares equal", search_finds_nothing},
    {8, "i_avl_search", "changes neither the tree nor the probe", search_changes_nothing},
    {9, "i_avl_search", "passes the probe to the comparator first, then a node of the tree, like all services",
     comparator_receives_probe_and_node},
    {10, "i_avl_delete", "removes the node that compares equal, and writes it to 'removed'", delete_removes},
    {11, "i_avl_delete", "returns 0 if no node compares equal, and changes nothing", delete_reports_an_absent_key},
    {12, "i_avl_delete", "removes the probe itself if it is in the tree, however others compare",
     delete_prefers_the_node_itself},
    {13, "i_avl_delete", "takes a node of another tree for a probe", delete_takes_a_node_of_another_tree_for_a_probe},
    {14, "i_avl_delete", "leaves the removed node unlinked: it can be inserted again",
     deleted_node_can_be_inserted_again},
    {15, "i_avl_delete", "loses no other node, whatever the comparator returns", delete_survives_any_comparator},
    {16, "i_avl_remove", "calls the free function once for each node", remove_frees_each_node_once},
    {17, "i_avl_remove", "unlinks a node before it frees it: the node can be inserted again", remove_unlinks_the_nodes},
    {18, "i_avl_remove", "leaves an empty tree, which can be used again", remove_leaves_a_usable_tree},
    {19, "i_avl_remove", "does not touch a node once it was freed", remove_does_not_touch_freed_nodes},
    {20, "i_avl_remove", "lets the free function remove further nodes", remove_lets_others_be_removed},
    {21, "i_avl_remove", "does nothing to an empty tree", remove_of_an_empty_tree},
    {22, "i_avl_get_first", "writes the first node in order", first_is_found},
    {23, "i_avl_get_first", "writes NULL for an empty tree", first_of_an_empty_tree},
    {24, "i_avl_get_next", "writes the node that follows, and NULL after the last", next_follows},
    {25, "i_avl_get_next", "visits each node once, whatever the comparator returns", next_survives_any_comparator},
    {26, "i_avl_get_next", "writes the first node that sorts after one that is in no tree", next_of_an_absent_node},
    {27, "i_avl_get_next", "takes a node of another tree for a probe", next_takes_a_node_of_another_tree_for_a_probe},
};
const Group zar_platform_check_trees = {"trees", "avl", promises, COUNT_OF(promises), NULL};
