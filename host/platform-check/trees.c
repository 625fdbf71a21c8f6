#include <stdlib.h>
#include <string.h>

#include "check.h"
#include "platform/runtime.h"

/* A node, like the library's records: the links first. */
typedef struct Node {
  avl_node links;
  int key;
  int is_inserted;
} Node;

enum { kBefore, kEqual, kAfter };
enum { kKeys = 5 };

/* A wrong argument that the comparator received. */
static const void *the_probe;
static const char *misuse;

static uint32_t compare_keys(const void *nascent, const void *tree) {
  const Node *left = nascent, *right = tree;
  if (!left || !right) broken("the comparator received NULL");
  if (the_probe && nascent != the_probe) misuse = "the first argument was not the node being searched for or inserted";
  if (the_probe && !right->is_inserted) misuse = "the second argument was not a node of the tree";
  return left->key < right->key ? kBefore : left->key > right->key ? kAfter : kEqual;
}

static uint32_t call_all_equal(const void *nascent, const void *tree) {
  return nascent && tree ? kEqual : kBefore;
}

static void forget(void *unlinked) {
  (void)unlinked;
}

static void start(avl_tree *tree, avl_compare_fn compare) {
  memset(tree, 0, sizeof *tree);
  EXPECT(i_avl_tree_init(tree, compare, forget) != 0, "the tree could not be initialised");
}

static void insert(avl_tree *tree, Node *inserted) {
  EXPECT(i_avl_insert(tree, inserted) != 0, "the key %d was refused although no node has it", inserted->key);
  inserted->is_inserted = 1;
}

static Node *first_of(avl_tree *tree) {
  static int nothing;
  void *found = &nothing;
  i_avl_get_first(tree->top.parent, &found);
  EXPECT(found != &nothing, "i_avl_get_first did not write its result");
  return found;
}

static Node *next_of(avl_tree *tree, Node *current) {
  static int nothing;
  void *found = &nothing;
  i_avl_get_next(tree, current, &found);
  EXPECT(found != &nothing, "i_avl_get_next did not write its result");
  return found;
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
  start(tree, compare_keys);
  for (int i = 0; i < kKeys; i++) {
    nodes[i] = (Node){.key = order[i]};
    insert(tree, &nodes[i]);
  }
}

static void init_creates_an_empty_tree(void) {
  avl_tree tree;
  start(&tree, compare_keys);
  EXPECT(first_of(&tree) == NULL, "a walk of a new tree visits a node");
}

static void insert_keeps_the_order(void) {
  int order[kKeys] = {0, 1, 2, 3, 4}, wanted[kKeys] = {1, 1, 1, 1, 1};
  do {
    avl_tree tree;
    Node nodes[kKeys];
    insert_in_order(&tree, nodes, order);
    holds(&tree, wanted, kKeys);
  } while (next_order(order, kKeys));
}

static void insert_refuses_an_equal_key(void) {
  avl_tree tree;
  Node one = {.key = 1}, same = {.key = 1};
  start(&tree, compare_keys);
  insert(&tree, &one);
  EXPECT(i_avl_insert(&tree, &same) == 0, "a second node with the same key was inserted");
  EXPECT(first_of(&tree) == &one && !next_of(&tree, &one), "the refusal changed the tree");
}

static void insert_refuses_a_node_that_is_in_a_tree(void) {
  avl_tree tree, other;
  Node one = {.key = 1}, two = {.key = 2};
  start(&tree, compare_keys);
  start(&other, compare_keys);
  insert(&tree, &one);
  insert(&tree, &two);
  EXPECT(i_avl_insert(&tree, &one) == 0, "a node was inserted twice into one tree");
  EXPECT(i_avl_insert(&other, &two) == 0, "a node was inserted into a second tree");
  holds(&tree, (const int[]){0, 1, 1}, 3);
  EXPECT(first_of(&other) == NULL, "the second tree holds a node that it refused");
}

static void comparator_receives_probe_and_node(void) {
  avl_tree tree;
  Node nodes[kKeys], probe = {.key = 3};
  void *removed = NULL;
  start(&tree, compare_keys);
  for (int i = 0; i < kKeys; i++) {
    nodes[i] = (Node){.key = i};
    the_probe = &nodes[i];
    insert(&tree, &nodes[i]);
  }
  the_probe = &probe;
  i_avl_search(&tree, &probe);
  i_avl_delete(&tree, &probe, &removed);
  EXPECT(!misuse, "%s", misuse);
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
  Node one = {.key = 1}, probe = {.key = 2};
  start(&tree, compare_keys);
  EXPECT(i_avl_search(&tree, &probe) == NULL, "it found a node in an empty tree");
  insert(&tree, &one);
  EXPECT(i_avl_search(&tree, &probe) == NULL, "it found a node with another key");
}

/* Every order of five insertions, followed by every order of five deletions by key. */
static void delete_removes(void) {
  int insertions[kKeys] = {0, 1, 2, 3, 4};
  do {
    int deletions[kKeys] = {0, 1, 2, 3, 4};
    do {
      avl_tree tree;
      Node nodes[kKeys];
      int wanted[kKeys] = {1, 1, 1, 1, 1};
      insert_in_order(&tree, nodes, insertions);
      for (int i = 0; i < kKeys; i++) {
        Node probe = {.key = deletions[i]};
        void *removed = NULL;
        EXPECT(i_avl_delete(&tree, &probe, &removed) != 0, "it did not find the key %d", deletions[i]);
        EXPECT(removed && ((Node *)removed)->key == deletions[i], "it did not write the node that it removed");
        wanted[deletions[i]] = 0;
        holds(&tree, wanted, kKeys);
      }
    } while (next_order(deletions, kKeys));
  } while (next_order(insertions, kKeys));
}

static void delete_reports_an_absent_key(void) {
  avl_tree tree;
  Node one = {.key = 1}, probe = {.key = 2};
  void *removed = &probe;
  start(&tree, compare_keys);
  insert(&tree, &one);
  EXPECT(i_avl_delete(&tree, &probe, &removed) == 0, "it returned non-zero for a key that is not in the tree");
  holds(&tree, (const int[]){0, 1}, 2);
}

/* The keys of maps compare as equal when one begins with the other, so a neighbour may compare equal. */
static void delete_prefers_the_node_itself(void) {
  for (int chosen = 0; chosen < kKeys; chosen++) {
    avl_tree tree;
    Node nodes[kKeys];
    int order[kKeys] = {2, 0, 4, 1, 3}, wanted[kKeys] = {1, 1, 1, 1, 1};
    void *removed = NULL;
    insert_in_order(&tree, nodes, order);
    tree.compare = call_all_equal;
    EXPECT(i_avl_delete(&tree, &nodes[chosen], &removed) != 0, "it did not remove a node of the tree");
    EXPECT(removed == &nodes[chosen], "it removed a neighbour that compares equal");
    tree.compare = compare_keys;
    wanted[order[chosen]] = 0;
    holds(&tree, wanted, kKeys);
  }
}

static void deleted_node_can_be_inserted_again(void) {
  avl_tree tree, other;
  Node one = {.key = 1}, two = {.key = 2};
  void *removed = NULL;
  start(&tree, compare_keys);
  start(&other, compare_keys);
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

static int n_freed;

static void free_record(void *unlinked) {
  n_freed++;
  memset(unlinked, 0xa5, sizeof(Node));
  free(unlinked);
}

static void remove_frees_each_node_once(void) {
  enum { kMany = 100 };
  avl_tree tree;
  Node again = {.key = 1};
  memset(&tree, 0, sizeof tree);
  i_avl_tree_init(&tree, compare_keys, free_record);
  for (int i = 0; i < kMany; i++) {
    Node *record = calloc(1, sizeof *record);
    if (!record) abort();
    record->key = i * 37 % kMany;
    insert(&tree, record);
  }
  i_avl_remove(&tree, &tree);
  EXPECT(n_freed == kMany, "the free function was called %d times for %d nodes", n_freed, (int)kMany);
  EXPECT(first_of(&tree) == NULL, "the tree is not empty afterwards");
  insert(&tree, &again);
  EXPECT(first_of(&tree) == &again, "the tree cannot be used afterwards");
}

static void remove_of_an_empty_tree(void) {
  avl_tree tree;
  memset(&tree, 0, sizeof tree);
  i_avl_tree_init(&tree, compare_keys, free_record);
  i_avl_remove(&tree, &tree);
  EXPECT(n_freed == 0, "the free function was called %d times", n_freed);
}

/* A walk continues from a record that was removed, or was never in the tree. */
static void next_of_an_absent_node(void) {
  avl_tree tree;
  Node nodes[3] = {{.key = 2}, {.key = 4}, {.key = 6}};
  start(&tree, compare_keys);
  for (int i = 0; i < 3; i++)
    insert(&tree, &nodes[i]);
  for (int key = 1; key < 8; key += 2) {
    Node absent = {.key = key};
    const Node *wanted = key > 6 ? NULL : &nodes[key / 2], *next = next_of(&tree, &absent);
    EXPECT(next == wanted, "after the key %d, which is not in the tree, it finds %d instead of %d (-1: none)", key,
           next ? next->key : -1, wanted ? wanted->key : -1);
  }
}

typedef struct NamedNode {
  avl_node links;
  const char *name;
} NamedNode;

/*
 * Compares like the keys of policy-maps: over the length of the shorter one. Strictly speaking, this is not an order.
 */
static uint32_t compare_beginnings(const void *nascent, const void *tree) {
  const char *left = ((const NamedNode *)nascent)->name, *right = ((const NamedNode *)tree)->name;
  size_t length = strlen(left) < strlen(right) ? strlen(left) : strlen(right);
  int difference = strncmp(left, right, length);
  return difference < 0 ? kBefore : difference > 0 ? kAfter : kEqual;
}

/* A walk visits each inserted record once. */
static void visits_all(avl_tree *tree, const NamedNode *nodes, const int *is_inserted, int n_nodes) {
  void *visited = NULL;
  int n_visited = 0, n_inserted = 0;
  for (int i = 0; i < n_nodes; i++)
    n_inserted += is_inserted[i];
  i_avl_get_first(tree->top.parent, &visited);
  while (visited && n_visited <= n_inserted) {
    ptrdiff_t at = (NamedNode *)visited - nodes;
    EXPECT(at >= 0 && at < n_nodes && is_inserted[at], "a walk visits a node that is not in the tree");
    n_visited++;
    i_avl_get_next(tree, visited, &visited);
  }
  EXPECT(n_visited == n_inserted, "a walk visits %d of %d nodes", n_visited, n_inserted);
}

static void survives_prefixes(void) {
  static const char *const names[] = {"b", "ab", "abc", "a", "bcd", "bc", "c", "abd", "ca", "cab"};
  enum { kNames = sizeof names / sizeof names[0] };
  for (int turn = 0; turn < kNames; turn++) {
    avl_tree tree;
    NamedNode nodes[kNames];
    int is_inserted[kNames] = {0};
    start(&tree, compare_beginnings);
    for (int i = 0; i < kNames; i++)
      nodes[i] = (NamedNode){.name = names[(i + turn) % kNames]};
    for (int i = 0; i < kNames; i++)
      is_inserted[i] = i_avl_insert(&tree, &nodes[i]) != 0;
    visits_all(&tree, nodes, is_inserted, kNames);
    for (int i = 0; i < kNames; i++) {
      void *removed = NULL;
      if (!is_inserted[i]) continue;
      EXPECT(i_avl_delete(&tree, &nodes[i], &removed) != 0 && removed == &nodes[i], "it lost the node '%s'",
             nodes[i].name);
      is_inserted[i] = 0;
      visits_all(&tree, nodes, is_inserted, kNames);
    }
  }
}

/* Random insertions and deletions, compared with an array of the expected contents. */
static void agrees_with_a_model(void) {
  enum { kMany = 200, kSteps = 20000 };
  static Node nodes[kMany];
  int present[kMany] = {0};
  uint32_t random = 12345;
  avl_tree tree;
  start(&tree, compare_keys);
  for (int i = 0; i < kMany; i++)
    nodes[i].key = i;
  for (int step = 0; step < kSteps; step++) {
    random = random * 1664525u + 1013904223u;
    int key = (int)((random >> 8) % kMany);
    Node probe = {.key = key};
    void *removed = NULL;
    uint32_t done = random >> 31 ? i_avl_insert(&tree, &nodes[key]) : i_avl_delete(&tree, &probe, &removed);
    int should = random >> 31 ? !present[key] : present[key];
    EXPECT((done != 0) == should, "step %d, %s the key %d: it returned %u", step, random >> 31 ? "insert" : "delete",
           key, done);
    if (done) present[key] = !present[key];
    EXPECT((i_avl_search(&tree, &probe) == &nodes[key]) == present[key],
           "step %d: a search for the key %d returns the wrong result", step, key);
    if (step % 100 == 0) holds(&tree, present, kMany);
  }
  holds(&tree, present, kMany);
}

static const Promise promises[] = {
    {"i_avl_tree_init", "returns non-zero and initialises an empty tree", init_creates_an_empty_tree},
    {"i_avl_insert", "keeps the nodes in the order of the comparator", insert_keeps_the_order},
    {"i_avl_insert", "returns 0 for a key that is already in the tree, and changes nothing",
     insert_refuses_an_equal_key},
    {"i_avl_insert", "returns 0 for a node that is already in a tree", insert_refuses_a_node_that_is_in_a_tree},
    {"i_avl_insert", "agrees with a simple model over many steps, and so do search and deletion", agrees_with_a_model},
    {"i_avl_search", "finds the node that compares equal", search_finds},
    {"i_avl_search", "returns NULL if no node compares equal", search_finds_nothing},
    {"i_avl_search", "passes the probe to the comparator first, then a node of the tree",
     comparator_receives_probe_and_node},
    {"i_avl_delete", "removes the node that compares equal, and writes it to 'removed'", delete_removes},
    {"i_avl_delete", "returns 0 if no node compares equal, and changes nothing", delete_reports_an_absent_key},
    {"i_avl_delete", "removes the given node itself if it is in the tree", delete_prefers_the_node_itself},
    {"i_avl_delete", "lets the removed node be inserted again", deleted_node_can_be_inserted_again},
    {"i_avl_delete", "loses no node if a key compares as equal to one that begins with it", survives_prefixes},
    {"i_avl_remove", "calls the free function once for each node, which it may free", remove_frees_each_node_once},
    {"i_avl_remove", "does nothing to an empty tree", remove_of_an_empty_tree},
    {"i_avl_get_next", "finds the first node that sorts after one that is not in the tree", next_of_an_absent_node},
};
const Group trees = {"trees", promises, COUNT_OF(promises)};
