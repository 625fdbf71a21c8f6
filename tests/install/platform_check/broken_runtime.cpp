// Sits between the program and the stand-in runtime and breaks one promise, in the way that BREAK in the environment
// names. All other services, and all services without BREAK, are the stand-in's.
//
// Each way is a mistake that a runtime could have, and small enough that the other promises are kept.
#include <dlfcn.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/runtime.h"

namespace {

bool breaks(const char *way) {
  static const char *const wanted = std::getenv("BREAK");
  return wanted && std::strcmp(wanted, way) == 0;
}

// The stand-in's service of the given type and name.
template <class Service>
Service *find_next(Service *, const char *name) {
  void *found = dlsym(RTLD_NEXT, name);
  if (!found) _exit(70);
  return reinterpret_cast<Service *>(found);
}
#define NEXT(name)                                                                           \
  ([] {                                                                                      \
    static auto *const the_next = find_next(static_cast<decltype(&(name))>(nullptr), #name); \
    return the_next;                                                                         \
  }())

}  // namespace

// ---- Id tables ------------------------------------------------------------------------------------------------------

namespace {

struct Issued {
  uint32_t id;
  uint16_t table;
  void *pointer;
};

struct {
  std::vector<Issued> issued;
  std::vector<uint16_t> tables;
  std::set<uint16_t> destroyed;
  const char *name = nullptr;
  uint32_t n_live = 0;
  uint32_t n_deleted = 0;
  uint32_t first_deleted = 0;
  uint32_t last_deleted = 0;
  void *last_deleted_pointer = nullptr;
  std::map<uint32_t, void *> revived;  // an id that was issued a second time
} ids;

const Issued *live_with_pointer(const void *pointer, uint16_t table) {
  for (const Issued &issued : ids.issued) {
    uint32_t status = 0;
    if (issued.table == table && NEXT(id_to_ptr)(issued.id, &status, table) == pointer) return &issued;
  }
  return nullptr;
}

void note_deleted(uint32_t id) {
  ++ids.n_deleted;
  if (ids.first_deleted == 0) ids.first_deleted = id;
  ids.last_deleted = id;
}

void delete_the_next_one(uint32_t id, uint16_t table) {
  for (size_t i = 0; i + 1 < ids.issued.size(); ++i)
    if (ids.issued[i].id == id) NEXT(id_delete)(ids.issued[i + 1].id, table);
}

}  // namespace

uint16_t id_create_new_table(uint32_t initial, uint32_t growth, const char *name, uint32_t tag) {
  ids.name = name;
  ids.tables.push_back(NEXT(id_create_new_table)(initial, growth, name, tag));
  return ids.tables.back();
}

uint32_t id_get(void *pointer, uint16_t table, uint32_t tag) {
  constexpr uint32_t kReused = 1000;
  if (breaks("ids after a destruction") && !ids.destroyed.empty()) return 0;
  if (breaks("many ids") && ids.n_live >= 60000) return 0;
  if (breaks("one id for a pointer"))
    if (const Issued *issued = live_with_pointer(pointer, table)) return issued->id;
  if (breaks("reused ids") && ids.n_deleted == kReused && ids.revived.empty()) {
    ids.revived[ids.first_deleted] = pointer;
    return ids.first_deleted;
  }
  if (breaks("aligned pointers"))
    pointer = reinterpret_cast<void *>(reinterpret_cast<uintptr_t>(pointer) & ~uintptr_t{7});
  const uint32_t id = NEXT(id_get)(pointer, table, tag);
  ++ids.n_live;
  ids.last_deleted = 0;
  // A long list of ids is of no use to any of the ways, and takes time.
  if (ids.issued.size() < 100) ids.issued.push_back({id, table, pointer});
  return id;
}

void *id_to_ptr(uint32_t id, uint32_t *status, uint16_t table) {
  if (auto revived = ids.revived.find(id); revived != ids.revived.end() && revived->second) {
    *status = 0;
    return revived->second;
  }
  void *pointer = NEXT(id_to_ptr)(id, status, table);
  if (breaks("ids of other tables"))
    for (uint16_t other : ids.tables)
      if (*status != 0) pointer = NEXT(id_to_ptr)(id, status, other);
  if (breaks("freshly deleted ids") && *status == 2 && id == ids.last_deleted) *status = 1;
  if (breaks("forgotten ids") && *status == 2 && ids.n_deleted > 1000) *status = 1;
  if (breaks("unissued ids") && *status == 1) *status = 2;
  if (breaks("dead pointers") && *status == 2) return ids.last_deleted_pointer;
  return pointer;
}

uint32_t id_delete(uint32_t id, uint16_t table) {
  if (auto revived = ids.revived.find(id); revived != ids.revived.end() && revived->second) {
    revived->second = nullptr;
    return 1;
  }
  uint32_t status = 0;
  void *pointer = NEXT(id_to_ptr)(id, &status, table);
  const uint32_t was_live = NEXT(id_delete)(id, table);
  if (was_live) {
    --ids.n_live;
    ids.last_deleted_pointer = pointer;
    note_deleted(id);
    if (breaks("the next id")) delete_the_next_one(id, table);
  } else if (breaks("the newest id") && !ids.issued.empty()) {
    NEXT(id_delete)(ids.issued.back().id, table);
  }
  return breaks("deletions that succeed") ? 1 : was_live;
}

uint32_t id_destroy_table(uint16_t table) {
  if (breaks("kept name") && std::strlen(ids.name) == 0) return 0;
  const bool is_first = ids.destroyed.insert(table).second;
  if (breaks("immortal ids")) return is_first;
  if (breaks("all tables"))
    for (uint16_t other : ids.tables)
      if (other != table) NEXT(id_destroy_table)(other);
  const uint32_t is_destroyed = NEXT(id_destroy_table)(table);
  return breaks("destructions that succeed") ? 1 : is_destroyed;
}

// ---- Pools ----------------------------------------------------------------------------------------------------------

namespace {

struct {
  std::set<const chunk_pool *> named;
  std::map<const chunk_pool *, std::vector<void *>> out;
  size_t first_size = 0;
  size_t n_taken = 0;
} pools;

constexpr size_t kArena = 600, kMisplaced = 4;

bool arena_is_full(const chunk_pool *pool) {
  const bool is_limited = pools.named.contains(pool) ? breaks("named arena") : breaks("arena");
  return is_limited && pools.out[pool].size() >= kArena;
}

void *moved(void *memory, ptrdiff_t by) {
  return memory ? static_cast<char *>(memory) + by : nullptr;
}

}  // namespace

chunk_pool *chunk_create_bmalloc(size_t size, uint32_t per_chunk, uint32_t flags, uint32_t reserved, uint32_t tag) {
  if (pools.first_size == 0) pools.first_size = size;
  if (breaks("one record size")) size = pools.first_size;
  if (breaks("rounded records") && size > 128) size = size / 128 * 128;
  if (breaks("misplaced records")) size += 2 * kMisplaced;
  return NEXT(chunk_create_bmalloc)(size, per_chunk, flags, reserved, tag);
}

chunk_pool *chunk_create(const char *name, size_t size, uint32_t per_chunk, uint32_t flags, uint32_t reserved_1,
                         uint32_t reserved_2) {
  while (breaks("returning"))
    pause();
  if (breaks("misplaced records")) size += 2 * kMisplaced;
  chunk_pool *pool = NEXT(chunk_create)(name, size, per_chunk, flags, reserved_1, reserved_2);
  pools.named.insert(pool);
  return pool;
}

void *chunk_malloc(chunk_pool *pool) {
  if (arena_is_full(pool) || (breaks("spent records") && ++pools.n_taken > 60000)) return nullptr;
  void *record = NEXT(chunk_malloc)(pool);
  pools.out[pool].push_back(record);
  return breaks("misplaced records") ? moved(record, kMisplaced) : record;
}

uint32_t chunk_free(chunk_pool *pool, void *record) {
  if (breaks("leaked records")) return 1;
  if (breaks("misplaced records")) record = moved(record, -static_cast<ptrdiff_t>(kMisplaced));
  auto &out = pools.out[pool];
  if (auto found = std::find(out.begin(), out.end(), record); found != out.end()) out.erase(found);
  if (breaks("cleared neighbours") && !out.empty()) std::memset(out.back(), 0, 8);
  const uint32_t is_taken_back = NEXT(chunk_free)(pool, record);
  return breaks("silent freeing") ? 0 : is_taken_back;
}

// ---- Trees ----------------------------------------------------------------------------------------------------------

namespace {

constexpr uint32_t kBefore = 0, kEqual = 1, kAfter = 2;

// Looks like a node of a tree that is no tree.
avl_node nowhere = {&nowhere, nullptr, nullptr, 0};
avl_node stale_root = {};

avl_compare_fn first_compare = nullptr, true_compare = nullptr;
uint32_t n_nodes = 0;

avl_node *as_node(const void *record) {
  return const_cast<avl_node *>(static_cast<const avl_node *>(record));
}

// The tree that the links of a node lead to; NULL if it has none.
avl_tree *tree_of(const void *record) {
  avl_node *node = as_node(record);
  if (!node->parent || node->parent == &nowhere) return nullptr;
  while (node->parent->parent != node)
    node = node->parent;
  return reinterpret_cast<avl_tree *>(node->parent);
}

// Calls 'act' while the tree has another comparator; 'true_compare' is its own.
template <class Act>
auto with_comparator(avl_tree *tree, avl_compare_fn compare, Act act) {
  true_compare = tree->compare;
  tree->compare = compare;
  auto result = act();
  tree->compare = true_compare;
  return result;
}

void *next_after(avl_tree *tree, void *current) {
  void *next = nullptr;
  NEXT(i_avl_get_next)(tree, current, &next);
  return next;
}

void *first_in(avl_tree *tree) {
  void *first = nullptr;
  NEXT(i_avl_get_first)(tree->top.parent, &first);
  return first;
}

std::vector<void *> nodes_in(avl_tree *tree) {
  std::vector<void *> nodes;
  for (void *node = first_in(tree); node; node = next_after(tree, node))
    nodes.push_back(node);
  return nodes;
}

// A root that a way left behind is hidden from the stand-in.
void mend(avl_tree *tree) {
  if (tree->top.parent == &stale_root) tree->top.parent = nullptr;
}

uint32_t delete_node(avl_tree *tree, void *probe, void **removed) {
  if (breaks("equal before itself"))
    if (void *equal = NEXT(i_avl_search)(tree, probe)) return NEXT(i_avl_delete)(tree, equal, removed);
  if (breaks("trusting deletion"))
    if (avl_tree *other = tree_of(probe)) return NEXT(i_avl_delete)(other, probe, removed);
  return NEXT(i_avl_delete)(tree, probe, removed);
}

// Empties a tree as the stand-in does, with what a way adds around the free function.
template <class Free>
void empty(avl_tree *tree, Free free_one) {
  while (void *node = first_in(tree)) {
    void *removed = nullptr;
    NEXT(i_avl_delete)(tree, node, &removed);
    free_one(node);
  }
}

int climb_to_next(const avl_node *node) {
  int climbed = 0;
  if (node->right) return 0;
  for (; node->parent->right == node; node = node->parent)
    ++climbed;
  return climbed;
}

}  // namespace

uint32_t i_avl_tree_init(avl_tree *tree, avl_compare_fn compare, avl_free_fn free_node) {
  if (!first_compare) first_compare = compare;
  n_nodes = 0;
  const uint32_t done = NEXT(i_avl_tree_init)(tree, breaks("one comparator") ? first_compare : compare, free_node);
  if (breaks("stale root")) tree->top.parent = &stale_root;
  return done;
}

uint32_t i_avl_insert(avl_tree *tree, void *record) {
  mend(tree);
  if (breaks("linked nodes") && tree_of(record) && tree_of(record) != tree) return 1;
  if (breaks("multiset"))
    return with_comparator(
        tree,
        [](const void *nascent, const void *other) {
          const uint32_t order = true_compare(nascent, other);
          return order == kEqual ? kAfter : order;
        },
        [&] { return NEXT(i_avl_insert)(tree, record); });
  if (breaks("order of many") && ++n_nodes > 300 && next_after(tree, record))
    return with_comparator(
        tree, [](const void *, const void *) { return kBefore; }, [&] { return NEXT(i_avl_insert)(tree, record); });
  return NEXT(i_avl_insert)(tree, record);
}

void *i_avl_search(avl_tree *tree, const void *probe) {
  mend(tree);
  if (breaks("swapped arguments"))
    return with_comparator(
        tree, [](const void *nascent, const void *node) { return kAfter - true_compare(node, nascent); },
        [&] { return NEXT(i_avl_search)(tree, probe); });
  void *found = NEXT(i_avl_search)(tree, probe);
  if (breaks("searches without the first") && found && found == first_in(tree)) return nullptr;
  if (breaks("nearest node") && !found) return next_after(tree, const_cast<void *>(probe));
  if (breaks("linked probe")) as_node(probe)->parent = &nowhere;
  return found;
}

uint32_t i_avl_delete(avl_tree *tree, void *probe, void **removed) {
  mend(tree);
  const uint32_t done = delete_node(tree, probe, removed);
  n_nodes -= done;
  if (breaks("deleted probe") && done) *removed = probe;
  if (breaks("deleted nodes that stay linked") && done) as_node(*removed)->parent = &nowhere;
  if (breaks("deletion of all equals") && done)
    while (void *equal = NEXT(i_avl_search)(tree, probe)) {
      void *further = nullptr;
      NEXT(i_avl_delete)(tree, equal, &further);
    }
  return breaks("deletions of nothing") ? 1 : done;
}

void i_avl_remove(avl_tree *tree, void *context) {
  mend(tree);
  const avl_free_fn free_node = tree->free_node;
  if (breaks("freed nothing") && !tree->top.parent) free_node(nullptr);
  if (breaks("all but the last"))
    empty(tree, [&](void *node) {
      if (tree->top.parent) free_node(node);
    });
  if (breaks("freed nodes that stay linked"))
    empty(tree, [&](void *node) {
      as_node(node)->parent = &nowhere;
      free_node(node);
    });
  if (breaks("touched nodes"))
    empty(tree, [&](void *node) {
      free_node(node);
      as_node(node)->parent = nullptr;
    });
  if (breaks("collected nodes"))
    for (void *node : nodes_in(tree)) {
      void *removed = nullptr;
      NEXT(i_avl_delete)(tree, node, &removed);
      free_node(node);
    }
  NEXT(i_avl_remove)(tree, context);
  if (breaks("stale root of an emptied tree")) tree->top.parent = &stale_root;
}

void i_avl_get_first(avl_node *root, void **first) {
  constexpr int kLevels = 10;
  if (root == &stale_root) root = nullptr;
  if (breaks("first of nothing") && !root) return;
  NEXT(i_avl_get_first)(root, first);
  if (!breaks("first of few levels")) return;
  for (int level = 0; level < kLevels && root && root->left; ++level)
    root = root->left;
  *first = root;
}

void i_avl_get_next(avl_tree *tree, void *current, void **next) {
  constexpr int kLevels = 9;
  mend(tree);
  avl_node *node = as_node(current);
  if (breaks("next by comparing")) {
    // A node without a parent is a probe.
    avl_node *const parent = node->parent;
    node->parent = nullptr;
    *next = next_after(tree, node);
    node->parent = parent;
    return;
  }
  avl_tree *const linked = breaks("trusting walk") ? tree_of(node) : nullptr;
  NEXT(i_avl_get_next)(linked ? linked : tree, current, next);
  if (breaks("next of few levels") && tree_of(node) == tree && climb_to_next(node) > kLevels) *next = nullptr;
  if (breaks("next of no probe") && !node->parent) *next = nullptr;
}

// ---- Queues ---------------------------------------------------------------------------------------------------------

namespace {

// Only a queue with fewer elements is copied and filled again: with a long one, the check would not end in time.
constexpr uint32_t kShortQueue = 100;

struct Walk {
  void *before_last = nullptr, *last = nullptr, *fetched = nullptr;
};

struct {
  std::map<void *, const queue_head *> home;  // the queue that an element was entered in last
  const queue_head *forgotten = nullptr;      // the queue whose next element is lost or misplaced
  void *old_tail = nullptr;
  void *dequeued = nullptr;
  const std::string *lost = nullptr;  // the last entry that was not freed
  std::map<const queue_cursor *, Walk> walks;
  queue_cursor shared = {};
} queues;

std::vector<void *> elements_of(const queue_head *queue) {
  std::vector<void *> elements;
  queue_cursor cursor = {};
  while (void *element = NEXT(queue_get_next)(queue, &cursor))
    elements.push_back(element);
  return elements;
}

bool contains(const queue_head *queue, const void *element) {
  queue_cursor cursor = {};
  while (const void *found = NEXT(queue_get_next)(queue, &cursor))
    if (found == element) return true;
  return false;
}

void refill(queue_head *queue, const std::vector<void *> &elements) {
  while (NEXT(queue_dequeue)(queue))
    continue;
  for (void *element : elements)
    NEXT(queue_enqueue)(queue, element);
}

void insert_at(queue_head *queue, size_t place, void *element) {
  auto elements = elements_of(queue);
  elements.insert(elements.begin() + static_cast<ptrdiff_t>(place), element);
  refill(queue, elements);
}

bool is_tail(const queue_head *queue, const void *element) {
  const auto elements = elements_of(queue);
  return !elements.empty() && elements.back() == element;
}

// Whether this call enters the element after a call that left the queue with a wrong tail.
bool is_after_a_forgotten_tail(const queue_head *queue) {
  if (queues.forgotten != queue) return false;
  queues.forgotten = nullptr;
  return true;
}

void write_second_word(void *element, void *word) {
  if (breaks("second word")) static_cast<void **>(element)[1] = word;
}

void *next_in_walk(const queue_head *queue, queue_cursor *cursor) {
  Walk &walk = queues.walks[cursor];
  if (!cursor->position) walk = {};
  if (breaks("cursor before the last") && walk.before_last && !contains(queue, walk.before_last)) return nullptr;
  void *next = NEXT(queue_get_next)(queue, cursor);
  if (breaks("fetched ahead")) {
    while (next && walk.fetched && next != walk.fetched && contains(queue, walk.fetched))
      next = NEXT(queue_get_next)(queue, cursor);
    queue_cursor ahead = *cursor;
    walk.fetched = next ? NEXT(queue_get_next)(queue, &ahead) : nullptr;
  }
  walk.before_last = walk.last;
  walk.last = next;
  return next;
}

}  // namespace

void queue_init(queue_head *queue, uint32_t limit) {
  const uint32_t count = queue->count;
  NEXT(queue_init)(queue, limit);
  if (breaks("old count")) queue->count = count;
}

void queue_enqueue(queue_head *queue, void *element) {
  write_second_word(element, queue);
  if (breaks("limit") && queue->count >= 5000) return;
  const queue_head *home = queues.home.contains(element) ? queues.home[element] : nullptr;
  if (breaks("one queue") && home && home != queue && contains(home, element)) return;
  queues.home[element] = queue;
  if (breaks("one occurrence") && contains(queue, element)) return;
  if (breaks("marked as queued") && element == queues.dequeued) return;
  if (is_after_a_forgotten_tail(queue)) {
    if (breaks("tail before the last")) return NEXT(queue_insqueue)(queue, element, queues.old_tail);
    if (breaks("requeued without a tail")) refill(queue, {element});
    return;
  }
  NEXT(queue_enqueue)(queue, element);
}

void *queue_dequeue(queue_head *queue) {
  if (breaks("surviving")) std::abort();
  if (breaks("head of nothing") && queue->count == 0) return queue;
  return queues.dequeued = NEXT(queue_dequeue)(queue);
}

void *queue_get_next(const queue_head *queue, queue_cursor *cursor) {
  if (breaks("one walk")) {
    if (!cursor->position) queues.shared = {};
    void *next = NEXT(queue_get_next)(queue, &queues.shared);
    cursor->position = queues.shared.position;
    return next;
  }
  if (breaks("cursor by element")) {
    queue_cursor from_the_head = {};
    while (cursor->position && NEXT(queue_get_next)(queue, &from_the_head) != cursor->position)
      continue;
    void *next = NEXT(queue_get_next)(queue, &from_the_head);
    return next ? cursor->position = next : nullptr;
  }
  if (breaks("cursor before the last") || breaks("fetched ahead")) return next_in_walk(queue, cursor);
  return NEXT(queue_get_next)(queue, cursor);
}

void queue_insqueue(queue_head *queue, void *element, void *predecessor) {
  write_second_word(element, queue);
  const auto elements = elements_of(queue);
  const auto first = std::find(elements.begin(), elements.end(), predecessor);
  const auto last = std::find(elements.rbegin(), elements.rend(), predecessor).base();
  if (breaks("one too far") && first != elements.begin() && first != elements.end() && first + 1 != elements.end())
    return insert_at(queue, static_cast<size_t>(first - elements.begin()) + 2, element);
  if (breaks("after the last occurrence") && last != first + 1)
    return insert_at(queue, static_cast<size_t>(last - elements.begin()), element);
  if (breaks("tail before the last") && is_tail(queue, predecessor)) {
    queues.forgotten = queue;
    queues.old_tail = predecessor;
  }
  NEXT(queue_insqueue)(queue, element, predecessor);
  if (breaks("uncounted insertion")) --queue->count;
}

void queue_requeue(queue_head *queue, void *element) {
  write_second_word(element, queue);
  if (breaks("second of two") && queue->count == 2) return insert_at(queue, 1, element);
  if (breaks("requeued without a tail") && queue->count == 0) queues.forgotten = queue;
  NEXT(queue_requeue)(queue, element);
}

void queue_unqueue(queue_head *queue, void *element) {
  const bool is_only = queue->count == 1;
  if (breaks("absent head") && !contains(queue, element)) NEXT(queue_dequeue)(queue);
  if (breaks("cleared link") && !contains(queue, element)) static_cast<queue_link *>(element)->next = nullptr;
  if (breaks("removed tail") && is_tail(queue, element) && !is_only) queues.forgotten = queue;
  if (breaks("tail of nothing") && contains(queue, element) && is_only) queues.forgotten = queue;
  if (breaks("leaked entries")) queues.lost = new std::string(24, ' ');
  if (breaks("last occurrence") && queue->count < kShortQueue && contains(queue, element)) {
    auto elements = elements_of(queue);
    elements.erase(std::find(elements.rbegin(), elements.rend(), element).base() - 1);
    return refill(queue, elements);
  }
  NEXT(queue_unqueue)(queue, element);
}

// ---- Texts ----------------------------------------------------------------------------------------------------------

namespace {

struct {
  std::map<std::string, std::string> first_with;  // the first text of each that the way takes for equal
  std::map<sdb_ref, const char *> given;          // the address that the caller passed
  std::map<sdb_ref, uint32_t> tags;
  std::set<std::string> removed;
  std::vector<sdb_ref> added;
  sdb_ref damaged = nullptr;
} texts;

// More would be memory that is not used again.
constexpr size_t kMostNoted = 5000, kLongestNoted = 1000;

// What the way compares of a text.
std::string compared(const std::string &text) {
  std::string part = text;
  if (breaks("first eight characters")) part.resize(std::min<size_t>(part.size(), 8));
  if (breaks("ignored case"))
    std::transform(part.begin(), part.end(), part.begin(),
                   [](unsigned char each) { return static_cast<char>(std::tolower(each)); });
  if (breaks("thousand texts") && texts.added.size() > 1000) part = "";
  return part;
}

std::string kept_instead_of(std::string text) {
  if (breaks("cut texts") && text.size() > 255) text.resize(255);
  if (texts.first_with.size() > kMostNoted || text.size() > kLongestNoted) return text;
  return texts.first_with.try_emplace(compared(text), text).first->second;
}

// The other text that was added right after this one, or NULL.
sdb_ref added_after(sdb_ref reference) {
  const auto found = std::find(texts.added.begin(), texts.added.end(), reference);
  if (found == texts.added.end() || found + 1 == texts.added.end()) return nullptr;
  return *(found + 1) == reference ? nullptr : *(found + 1);
}

}  // namespace

uint32_t sdb_add_block(const char *text, uint32_t length, sdb_ref *out, uint32_t tag) {
  if (breaks("no empty texts") && length == 0) return 0;
  if (breaks("texts only once") && texts.removed.contains(text)) return 0;
  const std::string kept = kept_instead_of({text, length});
  const uint32_t is_added = NEXT(sdb_add_block)(kept.c_str(), static_cast<uint32_t>(kept.size()), out, tag);
  texts.given[*out] = text;
  texts.tags[*out] = tag;
  if (texts.added.size() < kMostNoted) texts.added.push_back(*out);
  return is_added;
}

uint32_t sdb_remove_block(sdb_ref reference, uint32_t tag) {
  if (breaks("one tag") && texts.tags[reference] != tag) return 0;
  if (breaks("damaged texts") && !texts.damaged) texts.damaged = added_after(reference);
  if (breaks("leaked texts")) return 1;
  const std::string_view kept = NEXT(sdb_string_addr_ptr)(reference);
  if (texts.removed.size() < kMostNoted && kept.size() < kLongestNoted) texts.removed.emplace(kept);
  const uint32_t is_removed = NEXT(sdb_remove_block)(reference, tag);
  if (breaks("uncounted texts") && texts.removed.size() < kMostNoted) NEXT(sdb_remove_block)(reference, tag);
  return breaks("silent removal") ? 0 : is_removed;
}

const char *sdb_string_addr_ptr(sdb_ref reference) {
  if (breaks("borrowed texts")) return texts.given[reference];
  if (breaks("damaged texts") && reference == texts.damaged) return "damaged";
  const char *text = NEXT(sdb_string_addr_ptr)(reference);
  return breaks("moving texts") ? strdup(text) : text;
}

// ---- Named allocation -----------------------------------------------------------------------------------------------

namespace {

struct {
  std::set<const void *> duplicates, own, moved;  // of bstrdup_named; of this file; not where the stand-in placed them
  void *previous = nullptr;
  size_t previous_size = 0;
  size_t n_freed = 0;
  size_t n_blocks = 0;
} blocks;

// Some ways leave the first blocks that are freed alone, or the others.
constexpr size_t kSome = 100, kMany = 100000;

// A block of a simple allocator that moves on by 'used' bytes.
void *from_arena(size_t size, size_t used) {
  static char arena[1 << 21];
  static size_t at = 0;
  if (at + size > sizeof arena) return nullptr;
  void *block = std::memset(arena + at, 0, size);
  blocks.own.insert(block);
  at += (used + 15) / 16 * 16;
  return block;
}

char *read_only(const char *text) {
  const size_t size = std::strlen(text) + 1;
  void *copy = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  std::memcpy(copy, text, size);
  mprotect(copy, size, PROT_READ);
  blocks.own.insert(copy);
  return static_cast<char *>(copy);
}

void *misplaced(void *block) {
  void *elsewhere = moved(block, kMisplaced);
  blocks.moved.insert(elsewhere);
  return elsewhere;
}

}  // namespace

void *bcalloc_named(size_t count, size_t size, uint32_t tag) {
  const size_t total = count * size;
  if (breaks("one element") && count > 1) return from_arena(total, size);
  if (breaks("misplaced blocks")) return misplaced(NEXT(bcalloc_named)(1, total + kMisplaced, tag));
  if (breaks("spent blocks") && ++blocks.n_blocks > 60000) return nullptr;
  if (breaks("blocks given twice") && blocks.n_freed > 0 && blocks.previous && blocks.previous_size == total) {
    void *again = std::memset(blocks.previous, 0, total);
    blocks.previous = nullptr;
    return again;
  }
  auto *block = static_cast<char *>(NEXT(bcalloc_named)(count, size, tag));
  if (breaks("few zeros") && block && total > 512) std::memset(block + 512, 0xa5, total - 512);
  blocks.previous = block;
  blocks.previous_size = total;
  return block;
}

char *bstrdup_named(const char *text, uint32_t tag) {
  constexpr size_t kCut = 255;
  if (breaks("no copy")) {
    blocks.own.insert(text);
    return const_cast<char *>(text);
  }
  if (breaks("no copies of nothing") && *text == '\0') return nullptr;
  if (breaks("read-only copies") && blocks.own.size() < kSome) return read_only(text);
  std::string kept = text;
  if (breaks("cut copies") && kept.size() > kCut) kept.resize(kCut);
  char *copy = NEXT(bstrdup_named)(kept.c_str(), tag);
  if (breaks("overlong copies") && blocks.n_freed > kSome && blocks.n_freed < kMany)
    std::memset(copy + kept.size() + 1, '#', 32);
  blocks.duplicates.insert(copy);
  return copy;
}

void bfree_named(void *memory) {
  if (!memory && breaks("no NULL")) std::abort();
  if (breaks("one kind of block") && blocks.n_freed < kSome && blocks.duplicates.contains(memory)) std::abort();
  if (blocks.own.contains(memory)) return;
  if (blocks.moved.erase(memory)) memory = moved(memory, -static_cast<ptrdiff_t>(kMisplaced));
  if (memory == blocks.previous) blocks.previous = nullptr;
  if (memory) ++blocks.n_freed;
  if (breaks("leaked blocks")) return;
  NEXT(bfree_named)(memory);
}

int strncpy_s(char *to, size_t to_size, const char *from, size_t count) {
  if (!from) return breaks("NULL source") ? 22 : NEXT(strncpy_s)(to, to_size, from, count);
  if (breaks("empty source") && *from == '\0') return to[0] = '\0', 22;
  if (breaks("one character less") && std::min(std::strlen(from), count) + 1 == to_size) return to[0] = '\0', 34;
  if (breaks("unlimited copies")) count = to_size;
  const int result = NEXT(strncpy_s)(to, to_size, from, count);
  if (breaks("left alone") && result != 0) to[0] = '#';
  if (breaks("one character more")) to[to_size] = '\0';
  return result;
}

// ---- Trace ----------------------------------------------------------------------------------------------------------

namespace {

const char *kept_value = nullptr;

}  // namespace

uint32_t btrace_module_test(uint32_t module, uint32_t level) {
  static uint32_t n_calls;
  if (breaks("steady levels")) return ++n_calls % 100 == 0;
  return NEXT(btrace_module_test)(module, level);
}

void btrace_wrapper(uint32_t, uint32_t, uint32_t, const char *format, ...) {
  if (breaks("few conversions") && std::strstr(format, "%lu")) std::abort();
  if (breaks("late messages") && kept_value && std::strlen(kept_value) == 0) return;
  const char *first_text = std::strstr(format, "%s");
  if (!first_text) return;
  va_list values;
  va_start(values, format);
  kept_value = va_arg(values, const char *);
  va_end(values);
  if (breaks("short messages") && std::strlen(kept_value) > 1000) std::abort();
}
