// The keyed trees: comparators, the operations on each tree, and the callbacks of the trees.
#include <algorithm>
#include <array>
#include <cstring>

#include "platform/runtime.h"
#include "support/platform_log.h"
#include "support/repository.h"
#include "support/when_traced.h"

using namespace rig;

namespace {

constexpr uint32_t kBefore = 0, kEqual = 1, kAfter = 2;

// A record with only a key, like a probe. The key belongs to the caller.
template <typename Record>
Record keyed(const char *key) {
  Record record{};
  record.hash_str = const_cast<char *>(key);
  return record;
}

zar_target numbered(uint32_t handle) {
  zar_target target{};
  target.handle = handle;
  return target;
}

// ---- What the three trees of maps differ in

struct PmapTree {
  using Record = zar_pmap;
  static avl_tree *tree(const zar_db &database) { return database.pmap_tree; }
  static avl_tree *&tree(zar_db &database) { return database.pmap_tree; }
  static constexpr auto compare = zar_pmap_compare_string;
  static constexpr auto insert = zar_avl_insert_pmap;
  static constexpr auto search = zar_avl_search_pmap;
  static constexpr auto take_out = zar_avl_delete_pmap;
  static constexpr auto get_first = zar_avl_get_first_pmap;
  static constexpr auto get_next = zar_avl_get_next_pmap;
  static constexpr auto remove = zar_avl_remove_pmap;
  static constexpr auto free_node = zar_avl_free_pmap;
  // The number of characters over which two keys are compared.
  static size_t compared(const char *nascent, const char *tree) {
    return std::min(std::strlen(nascent), std::strlen(tree));
  }
  static Line comparing(const void *nascent, const void *tree) {
    return info("(info): PMAP avl comp, nas:0x%p, tree:0x%p", nascent, tree);
  }
  static Line comparing_keys(const char *nascent, const char *tree) {
    return info("(info): PMAP avl comp, nas_str:%s, tree_str:%s", nascent, tree);
  }
  static Line insert_failed(const char *key) { return error("(ERR): PMAP avl: insert failed, hash str:%s", key); }
  static Line insert_error(const void *record, const void *database) {
    return error("(ERR): PMAP avl: insert error, pmap_ptr:0x%p, db:0x%p", record, database);
  }
  static Line search_error(const void *probe, const void *database) {
    return error("(ERR): PMAP avl: search error, pmap_ptr:0x%p, db:0x%p", probe, database);
  }
  static Line delete_failed(const char *key) { return error("(ERR): PMAP avl: delete failed, hash str:%s", key); }
  static Line delete_error(const void *record, const void *database, const void *place) {
    return error("(ERR): PMAP avl: delete error, pmap_ptr:0x%p, db:0x%p, result:0x%p", record, database, place);
  }
  static Line no_first() { return info("(info): PMAP avl: get first, no first pmap"); }
  static Line first_error(const void *place, const void *database) {
    return error("(ERR): PMAP avl: get first error, pmap_ptr:0x%p, db:0x%p", place, database);
  }
  static Line no_next() { return info("(info): PMAP avl: get next, no next pmap"); }
  static Line next_error(const void *current, const void *database, const void *place) {
    return error("(ERR): PMAP avl: get next error, pmap_ptr:0x%p, db:0x%p, next:0x%p", current, database, place);
  }
  static Line remove_error() { return error("(ERR): PMAP avl: remove tree: error, database ptr cannot be NULL"); }
  static Line free_null() { return error("(ERR): PMAP avl: Received NULL in free pmap"); }
};

struct CmapTree {
  using Record = zar_cmap;
  static avl_tree *tree(const zar_db &database) { return database.cmap_tree; }
  static avl_tree *&tree(zar_db &database) { return database.cmap_tree; }
  static constexpr auto compare = zar_cmap_compare_string;
  static constexpr auto insert = zar_avl_insert_cmap;
  static constexpr auto search = zar_avl_search_cmap;
  static constexpr auto take_out = zar_avl_delete_cmap;
  static constexpr auto get_first = zar_avl_get_first_cmap;
  static constexpr auto get_next = zar_avl_get_next_cmap;
  static constexpr auto remove = zar_avl_remove_cmap;
  static constexpr auto free_node = zar_avl_free_cmap;
  static size_t compared(const char *, const char *tree) { return std::strlen(tree); }
  static Line comparing(const void *nascent, const void *tree) {
    return info("(info): CMAP avl comp, nas:0x%p, tree:0x%p", nascent, tree);
  }
  static Line comparing_keys(const char *nascent, const char *tree) {
    return info("(info): CMAP avl comp, nas_str:%s, tree_str:%s", nascent, tree);
  }
  static Line insert_failed(const char *key) { return error("(ERR): CMAP avl: insert failed, hash str:%s", key); }
  static Line insert_error(const void *record, const void *database) {
    return error("(ERR): CMAP avl: insert error, cmap_ptr:0x%p, db:0x%p", record, database);
  }
  static Line search_error(const void *probe, const void *database) {
    return error("(ERR): CMAP avl: search error, cmap_ptr:0x%p, db:0x%p", probe, database);
  }
  static Line delete_failed(const char *key) { return error("(ERR): CMAP avl: delete failed, hash str:%s", key); }
  static Line delete_error(const void *record, const void *database, const void *place) {
    return error("(ERR): CMAP avl: delete error, cmap_ptr:0x%p, db:0x%p, result:0x%p", record, database, place);
  }
  static Line no_first() { return info("(info): CMAP avl, get first: no first cmap"); }
  static Line first_error(const void *place, const void *database) {
    return error("(ERR): CMAP avl: get first error, cmap_ptr:0x%p, db:0x%p", place, database);
  }
  static Line no_next() { return info("(info): CMAP avl: get next, no next cmap"); }
  static Line next_error(const void *current, const void *database, const void *place) {
    return error("(ERR): CMAP avl: get next error, cmap_ptr:0x%p, db:0x%p, next:0x%p", current, database, place);
  }
  static Line remove_error() { return error("(ERR): CMAP avl: remove tree error, database ptr cannot be NULL"); }
  static Line free_null() { return error("(ERR): CMAP avl: Received NULL in free cmap"); }
};

// The messages of failed insertions and deletions mention class-maps, and that of a wrong deletion omits its result
// place.
struct PmtrMapTree {
  using Record = zar_pmtr_map;
  static avl_tree *tree(const zar_db &database) { return database.pmtr_map_tree; }
  static avl_tree *&tree(zar_db &database) { return database.pmtr_map_tree; }
  static constexpr auto compare = zar_pmtr_map_compare_string;
  static constexpr auto insert = zar_avl_insert_pmtr_map;
  static constexpr auto search = zar_avl_search_pmtr_map;
  static constexpr auto take_out = zar_avl_delete_pmtr_map;
  static constexpr auto get_first = zar_avl_get_first_pmtr_map;
  static constexpr auto get_next = zar_avl_get_next_pmtr_map;
  static constexpr auto remove = zar_avl_remove_pmtr_map;
  static constexpr auto free_node = zar_avl_free_pmtr_map;
  static size_t compared(const char *, const char *tree) { return std::strlen(tree); }
  static Line comparing(const void *nascent, const void *tree) {
    return info("(info): PMTR-MAP avl comp, nas:0x%p, tree:0x%p", nascent, tree);
  }
  static Line comparing_keys(const char *nascent, const char *tree) {
    return info("(info): PMTR-MAP avl comp, nas_str:%s, tree_str:%s", nascent, tree);
  }
  static Line insert_failed(const char *key) { return error("(ERR): CMAP avl: insert failed, hash str:%s", key); }
  static Line insert_error(const void *record, const void *database) {
    return error("(ERR): PMTR-MAP avl: insert error, pmtr_map_ptr:0x%p, db:0x%p", record, database);
  }
  static Line search_error(const void *probe, const void *database) {
    return error("(ERR): PMTR-MAP avl: search error, cmap_ptr:0x%p, db:0x%p", probe, database);
  }
  static Line delete_failed(const char *key) { return error("(ERR): CMAP avl: delete failed, hash str:%s", key); }
  static Line delete_error(const void *record, const void *database, const void *) {
    return error("(ERR): PMTR-MAP avl: delete error, cmap_ptr:0x%p, db:0x%p", record, database);
  }
  static Line no_first() { return info("(info): PMTR-MAP avl, get first: no first pmtr-map"); }
  static Line first_error(const void *place, const void *database) {
    return error("(ERR): PMTR-MAP avl: get first error, pmtr_map_ptr:0x%p, db:0x%p", place, database);
  }
  static Line no_next() { return info("(info): PMTR-MAP avl, get next: no next pmtr-map"); }
  static Line next_error(const void *current, const void *database, const void *place) {
    return error("(ERR): PMTR-MAP avl: get next error, pmtr_map_ptr:0x%p, db:0x%p, next:0x%p", current, database,
                 place);
  }
  static Line remove_error() { return error("(ERR): PMTR-MAP avl: remove tree error, database ptr cannot be NULL"); }
  static Line free_null() { return error("(ERR): PMTR-MAP avl: Received NULL in free pmtr-map"); }
};

struct TreeNames {
  template <typename Tree>
  static std::string GetName(int) {
    if constexpr (std::is_same_v<Tree, PmapTree>) return "Pmap";
    if constexpr (std::is_same_v<Tree, CmapTree>) return "Cmap";
    if constexpr (std::is_same_v<Tree, PmtrMapTree>) return "PmtrMap";
  }
};
using AllTrees = ::testing::Types<PmapTree, CmapTree, PmtrMapTree>;

// ---- Comparators of keys

template <typename Tree>
struct KeyComparator : Repository {
  using Record = typename Tree::Record;

  static uint32_t compare(const char *nascent, const char *tree) {
    const Record left = keyed<Record>(nascent);
    const Record right = keyed<Record>(tree);
    return Tree::compare(&left, &right);
  }
  static uint32_t expected(const char *nascent, const char *tree) {
    const int order = std::strncmp(nascent, tree, Tree::compared(nascent, tree));
    return order < 0 ? kBefore : order == 0 ? kEqual : kAfter;
  }
};
TYPED_TEST_SUITE(KeyComparator, AllTrees, TreeNames);

// All texts of up to three letters out of two, one with its highest bit set.
std::vector<std::string> small_texts() {
  std::vector<std::string> texts{""};
  for (size_t i = 0; texts[i].size() < 3; ++i) {
    texts.push_back(texts[i] + 'a');
    texts.push_back(texts[i] + '\xe1');
  }
  return texts;
}

TYPED_TEST(KeyComparator, OrdersAllPairsOfSmallKeys) {
  const std::vector<std::string> texts = small_texts();
  ASSERT_EQ(texts.size(), 15U);
  for (const std::string &nascent : texts) {
    for (const std::string &tree : texts) {
      EXPECT_EQ(this->compare(nascent.c_str(), tree.c_str()), this->expected(nascent.c_str(), tree.c_str()))
          << '"' << nascent << "\" against \"" << tree << '"';
    }
  }
}

TYPED_TEST(KeyComparator, OrdersDifferentKeysByTheirFirstDifference) {
  EXPECT_EQ(this->compare("gold:d1:1", "gold:d2:1"), kBefore);
  EXPECT_EQ(this->compare("gold:d2:1", "gold:d1:1"), kAfter);
  EXPECT_EQ(this->compare("gold:d1:1", "gold:d1:1"), kEqual);
}

TYPED_TEST(KeyComparator, OrdersLongKeysByTheirFirstDifferenceWhereverItIs) {
  for (const size_t length : {15U, 16U, 17U, 24U, 31U, 32U, 33U, 50U}) {
    const std::string key(length, 'a');
    for (size_t at = 0; at < length; ++at) {
      std::string other = key;
      other[at] = '\xe1';  // differs in the highest bit alone
      EXPECT_EQ(this->compare(key.c_str(), other.c_str()), kBefore) << length << " characters, at " << at;
      EXPECT_EQ(this->compare(other.c_str(), key.c_str()), kAfter) << length << " characters, at " << at;
    }
  }
}

TYPED_TEST(KeyComparator, FindsAKeyThatExtendsOneInTheTreeEqual) {
  EXPECT_EQ(this->compare("ab:d:12", "ab:d:1"), kEqual);
}

TYPED_TEST(KeyComparator, TracesNodesAndKeys) {
  hear_comparisons(true);
  const auto nascent = keyed<typename TypeParam::Record>("a:d:1");
  const auto tree = keyed<typename TypeParam::Record>("b:d:1");
  TypeParam::compare(&nascent, &tree);
  EXPECT_TRACED(TypeParam::comparing(&nascent, &tree), TypeParam::comparing_keys("a:d:1", "b:d:1"));
}

TYPED_TEST(KeyComparator, PutsAMissingNascentNodeBeforeAndAMissingTreeNodeLast) {
  hear_comparisons(true);
  const auto record = keyed<typename TypeParam::Record>("a:d:1");
  EXPECT_EQ(TypeParam::compare(&record, nullptr), kAfter);
  EXPECT_EQ(TypeParam::compare(nullptr, nullptr), kAfter);
  EXPECT_EQ(TypeParam::compare(nullptr, &record), kBefore);
  EXPECT_TRACED(TypeParam::comparing(&record, nullptr), TypeParam::comparing(nullptr, nullptr),
                TypeParam::comparing(nullptr, &record));
}

TYPED_TEST(KeyComparator, TreatsAMissingKeyAsAnEmptyOne) {
  EXPECT_EQ(this->compare(nullptr, nullptr), kEqual);
  EXPECT_EQ(this->compare("a", nullptr), kEqual);
  EXPECT_EQ(this->compare(nullptr, "a"), this->expected("", "a"));
}

TYPED_TEST(KeyComparator, ReturnsTheSameWithoutATrace) {
  runtime::want_trace_levels(0);
  for (const std::string &nascent : small_texts()) {
    for (const std::string &tree : small_texts())
      EXPECT_EQ(this->compare(nascent.c_str(), tree.c_str()), this->expected(nascent.c_str(), tree.c_str()));
  }
  EXPECT_TRACED();
}

// Comparators run at every node that a search passes: no more tests than messages.
TYPED_TEST(KeyComparator, TestsTheLevelOnceForEachMessage) {
  NEEDS_TRACE();
  const auto record = keyed<typename TypeParam::Record>("a:d:1");
  watch_platform();
  TypeParam::compare(&record, &record);
  EXPECT_EQ(take_level_tests(6), 2U);
  TypeParam::compare(&record, nullptr);
  EXPECT_EQ(take_level_tests(6), 1U);
}

TYPED_TEST(KeyComparator, TestsTheLevelOnceOrTwiceWithoutATrace) {
  const auto record = keyed<typename TypeParam::Record>("a:d:1");
  runtime::want_trace_levels(0);
  watch_platform();
  TypeParam::compare(&record, &record);
  const uint32_t tests = take_level_tests(6);
  EXPECT_GE(tests, 1U);
  EXPECT_LE(tests, 2U);
  EXPECT_EQ(take_level_tests(3), 0U);
}

TYPED_TEST(KeyComparator, OmitsTheMessageThatIsNoLongerWanted) {
  NEEDS_TRACE();
  hear_comparisons(true);
  const auto nascent = keyed<typename TypeParam::Record>("a:d:1");
  const auto tree = keyed<typename TypeParam::Record>("b:d:1");
  when_traced(TypeParam::comparing(&nascent, &tree), [] { runtime::want_trace_levels(0); });
  EXPECT_EQ(TypeParam::compare(&nascent, &tree), kBefore);
  EXPECT_TRACED(TypeParam::comparing(&nascent, &tree));
}

struct PmapComparator : KeyComparator<PmapTree> {};
struct CmapComparator : KeyComparator<CmapTree> {};
struct PmtrMapComparator : KeyComparator<PmtrMapTree> {};

TEST_F(PmapComparator, FindsAKeyThatBeginsOneInTheTreeEqual) {
  EXPECT_EQ(compare("ab:d:1", "ab:d:12"), kEqual);
}
TEST_F(CmapComparator, PutsAKeyThatBeginsOneInTheTreeBeforeIt) {
  EXPECT_EQ(compare("ab:d:1", "ab:d:12"), kBefore);
}
TEST_F(PmtrMapComparator, PutsAKeyThatBeginsOneInTheTreeBeforeIt) {
  EXPECT_EQ(compare("ab:d:1", "ab:d:12"), kBefore);
}

// ---- The comparator of targets

struct TargetComparator : Repository {};

TEST_F(TargetComparator, OrdersHandlesAsUnsignedNumbers) {
  const std::array<uint32_t, 5> numbers{0, 1, 0x7fffffff, 0x80000000, 0xffffffff};
  for (const uint32_t left : numbers) {
    for (const uint32_t right : numbers) {
      const zar_target nascent = numbered(left), tree = numbered(right);
      EXPECT_EQ(zar_target_compare_int(&nascent, &tree), left < right ? kBefore : left == right ? kEqual : kAfter);
    }
  }
}

TEST_F(TargetComparator, TracesNodesHandlesAndAMatch) {
  hear_comparisons(true);
  const zar_target five = numbered(5), six = numbered(6);
  zar_target_compare_int(&five, &six);
  EXPECT_TRACED(info("(info): Target avl comp, nas:0x%p, tree:0x%p", &five, &six),
                info("(info): Target avl comp, nas val:0x%x, tree val:0x%x", 5, 6));
  zar_target_compare_int(&six, &five);
  EXPECT_TRACED(info("(info): Target avl comp, nas:0x%p, tree:0x%p", &six, &five),
                info("(info): Target avl comp, nas val:0x%x, tree val:0x%x", 6, 5));
  zar_target_compare_int(&six, &six);
  EXPECT_TRACED(info("(info): Target avl comp, nas:0x%p, tree:0x%p", &six, &six),
                info("(info): Target avl comp, nas val:0x%x, tree val:0x%x", 6, 6),
                info("(info): Target avl comp, values matched"));
}

TEST_F(TargetComparator, TestsTheLevelOnceForEachMessage) {
  NEEDS_TRACE();
  const zar_target five = numbered(5), six = numbered(6);
  watch_platform();
  zar_target_compare_int(&five, &six);
  EXPECT_EQ(take_level_tests(6), 2U);
  zar_target_compare_int(&five, &five);
  EXPECT_EQ(take_level_tests(6), 3U);
  zar_target_compare_int(&five, nullptr);
  EXPECT_EQ(take_level_tests(6), 1U);
  EXPECT_EQ(take_level_tests(3), 1U);
}

TEST_F(TargetComparator, TestsTheLevelOnceOrTwiceWithoutATrace) {
  const zar_target five = numbered(5);
  runtime::want_trace_levels(0);
  watch_platform();
  zar_target_compare_int(&five, &five);
  const uint32_t tests = take_level_tests(6);
  EXPECT_GE(tests, 1U);
  EXPECT_LE(tests, 2U);
}

TEST_F(TargetComparator, OmitsTheMessagesThatAreNoLongerWanted) {
  NEEDS_TRACE();
  hear_comparisons(true);
  const zar_target five = numbered(5);
  const Line nodes = info("(info): Target avl comp, nas:0x%p, tree:0x%p", &five, &five);
  const Line handles = info("(info): Target avl comp, nas val:0x%x, tree val:0x%x", 5, 5);
  when_traced(nodes, [] { runtime::want_trace_levels(0); });
  EXPECT_EQ(zar_target_compare_int(&five, &five), kEqual);
  EXPECT_TRACED(nodes);

  runtime::want_trace_levels(1U << 6);
  when_traced(handles, [] { runtime::want_trace_levels(0); });
  EXPECT_EQ(zar_target_compare_int(&five, &five), kEqual);
  EXPECT_TRACED(nodes, handles);
}

TEST_F(TargetComparator, PutsAnythingAfterWhenANodeIsMissing) {
  hear_comparisons(true);
  const zar_target five = numbered(5);
  const zar_target *none = nullptr;
  for (const auto &[nascent, tree] : {std::pair(&five, none), std::pair(none, &five), std::pair(none, none)}) {
    EXPECT_EQ(zar_target_compare_int(nascent, tree), kAfter);
    EXPECT_TRACED(info("(info): Target avl comp, nas:0x%p, tree:0x%p", nascent, tree),
                  error("(ERR): TARGET avl comp int: null nodes, nascent:0x%p, tree:0x%p", nascent, tree));
  }
}

// ---- The trees of maps

template <typename Tree>
struct MapTree : Repository {
  using Record = typename Tree::Record;

  // Keys such that none begins with another.
  static constexpr std::array<const char *, 4> kKeys{"a:d:1", "b:d:1", "c:d:1", "d:d:1"};
  std::array<Record, 4> records{keyed<Record>(kKeys[0]), keyed<Record>(kKeys[1]), keyed<Record>(kKeys[2]),
                                keyed<Record>(kKeys[3])};
  Record *const nowhere = reinterpret_cast<Record *>(0x10);

  // The keys in the order of a walk.
  std::vector<std::string> walk() {
    const Quiet quiet;
    std::vector<std::string> keys;
    Record *record = nullptr;
    EXPECT_EQ(Tree::get_first(db, &record), 1U);
    while (record != nullptr) {
      keys.push_back(record->hash_str);
      EXPECT_EQ(Tree::get_next(db, record, &record), 1U);
    }
    return keys;
  }

  // A database that has lost the tree in question.
  zar_db treeless() {
    zar_db out = *db;
    Tree::tree(out) = nullptr;
    return out;
  }
};
TYPED_TEST_SUITE(MapTree, AllTrees, TreeNames);

TYPED_TEST(MapTree, IsInOrderWhateverWasInsertedFirstAndRemoved) {
  std::array<size_t, 4> order{0, 1, 2, 3};
  do {
    for (unsigned taken_out = 0; taken_out < 16; ++taken_out) {
      std::vector<std::string> left;
      for (const size_t i : order)
        ASSERT_EQ(TypeParam::insert(this->db, &this->records[i]), 1U);
      for (size_t i = 0; i < 4; ++i) {
        if ((taken_out >> i & 1) == 0) {
          left.push_back(this->kKeys[i]);
          continue;
        }
        typename TypeParam::Record *removed = nullptr;
        ASSERT_EQ(TypeParam::take_out(this->db, &this->records[i], &removed), 1U);
        EXPECT_EQ(removed, &this->records[i]);
      }
      EXPECT_EQ(this->walk(), left);
      TypeParam::remove(this->db);
    }
  } while (std::next_permutation(order.begin(), order.end()));
  EXPECT_ERRORS();
}

TYPED_TEST(MapTree, TakesARecord) {
  EXPECT_EQ(TypeParam::insert(this->db, &this->records[0]), 1U);
  EXPECT_TRACED();
  EXPECT_EQ(this->walk(), std::vector<std::string>{"a:d:1"});
}

TYPED_TEST(MapTree, RefusesAnEqualKey) {
  auto twin = keyed<typename TypeParam::Record>("a:d:1");
  TypeParam::insert(this->db, &this->records[0]);
  EXPECT_EQ(TypeParam::insert(this->db, &twin), 0U);
  EXPECT_TRACED(TypeParam::insert_failed("a:d:1"));
  EXPECT_EQ(this->walk(), std::vector<std::string>{"a:d:1"});
}

TYPED_TEST(MapTree, RefusesARecordThatItHolds) {
  TypeParam::insert(this->db, &this->records[0]);
  EXPECT_EQ(TypeParam::insert(this->db, &this->records[0]), 0U);
  EXPECT_TRACED(TypeParam::insert_failed("a:d:1"));
}

TYPED_TEST(MapTree, RefusesWhatThePlatformRefuses) {
  runtime::fail_request(runtime::Service::tree_insert, 1);
  EXPECT_EQ(TypeParam::insert(this->db, &this->records[0]), 0U);
  EXPECT_TRACED(TypeParam::insert_failed("a:d:1"));
  EXPECT_EQ(TypeParam::insert(this->db, &this->records[0]), 1U);
}

TYPED_TEST(MapTree, NeedsADatabaseAndARecordToInsert) {
  auto *record = &this->records[0];
  zar_db *database = this->db;
  EXPECT_EQ(TypeParam::insert(nullptr, record), 0U);
  EXPECT_TRACED(TypeParam::insert_error(record, nullptr));
  EXPECT_EQ(TypeParam::insert(database, nullptr), 0U);
  EXPECT_TRACED(TypeParam::insert_error(nullptr, database));
  EXPECT_EQ(TypeParam::insert(nullptr, nullptr), 0U);
  EXPECT_TRACED(TypeParam::insert_error(nullptr, nullptr));
  zar_db treeless = this->treeless();
  EXPECT_EQ(TypeParam::insert(&treeless, record), 0U);
  EXPECT_TRACED(TypeParam::insert_error(record, &treeless));
  EXPECT_EQ(this->walk(), std::vector<std::string>{});
}

TYPED_TEST(MapTree, FindsByKey) {
  for (auto &record : this->records)
    TypeParam::insert(this->db, &record);
  for (size_t i = 0; i < 4; ++i) {
    auto probe = keyed<typename TypeParam::Record>(this->kKeys[i]);
    auto *found = this->nowhere;
    EXPECT_EQ(TypeParam::search(this->db, &probe, &found), 1U);
    EXPECT_EQ(found, &this->records[i]);
  }
  EXPECT_TRACED();
}

TYPED_TEST(MapTree, FindsNothingAndCallsThatASuccess) {
  TypeParam::insert(this->db, &this->records[0]);
  auto probe = keyed<typename TypeParam::Record>("x:d:1");
  auto *found = this->nowhere;
  EXPECT_EQ(TypeParam::search(this->db, &probe, &found), 1U);
  EXPECT_EQ(found, nullptr);
  EXPECT_TRACED();
}

TYPED_TEST(MapTree, NeedsADatabaseAndAProbeToSearch) {
  auto *probe = &this->records[0];
  auto *found = this->nowhere;
  zar_db *database = this->db;
  EXPECT_EQ(TypeParam::search(nullptr, probe, &found), 0U);
  EXPECT_TRACED(TypeParam::search_error(probe, nullptr));
  EXPECT_EQ(TypeParam::search(database, nullptr, &found), 0U);
  EXPECT_TRACED(TypeParam::search_error(nullptr, database));
  EXPECT_EQ(TypeParam::search(nullptr, nullptr, &found), 0U);
  EXPECT_TRACED(TypeParam::search_error(nullptr, nullptr));
  zar_db treeless = this->treeless();
  EXPECT_EQ(TypeParam::search(&treeless, probe, &found), 0U);
  EXPECT_TRACED(TypeParam::search_error(probe, &treeless));
  EXPECT_EQ(found, this->nowhere);
}

TYPED_TEST(MapTree, RemovesByKey) {
  TypeParam::insert(this->db, &this->records[0]);
  TypeParam::insert(this->db, &this->records[1]);
  auto probe = keyed<typename TypeParam::Record>("a:d:1");
  auto *removed = this->nowhere;
  EXPECT_EQ(TypeParam::take_out(this->db, &probe, &removed), 1U);
  EXPECT_EQ(removed, &this->records[0]);
  EXPECT_TRACED();
  EXPECT_EQ(this->walk(), std::vector<std::string>{"b:d:1"});
}

TYPED_TEST(MapTree, CannotRemoveWhatIsNotThere) {
  TypeParam::insert(this->db, &this->records[0]);
  auto *removed = this->nowhere;
  EXPECT_EQ(TypeParam::take_out(this->db, &this->records[1], &removed), 0U);
  EXPECT_EQ(removed, &this->records[1]) << "the place names what was asked for";
  EXPECT_TRACED(TypeParam::delete_failed("b:d:1"));
  EXPECT_EQ(this->walk(), std::vector<std::string>{"a:d:1"});
}

TYPED_TEST(MapTree, NeedsAllThreeArgumentsToRemove) {
  TypeParam::insert(this->db, &this->records[0]);
  auto *removed = this->nowhere;
  zar_db treeless = this->treeless();
  for (zar_db *database : {this->db, static_cast<zar_db *>(nullptr), &treeless}) {
    for (auto *record : {&this->records[0], static_cast<typename TypeParam::Record *>(nullptr)}) {
      for (auto **place : {&removed, static_cast<typename TypeParam::Record **>(nullptr)}) {
        if (database == this->db && record != nullptr && place != nullptr) continue;
        EXPECT_EQ(TypeParam::take_out(database, record, place), 0U);
        EXPECT_TRACED(TypeParam::delete_error(record, database, place));
      }
    }
  }
  EXPECT_EQ(removed, this->nowhere);
  EXPECT_EQ(this->walk(), std::vector<std::string>{"a:d:1"});
}

TYPED_TEST(MapTree, ThatIsEmptyHasNoFirst) {
  auto *first = this->nowhere;
  EXPECT_EQ(TypeParam::get_first(this->db, &first), 1U);
  EXPECT_EQ(first, nullptr);
  EXPECT_TRACED(TypeParam::no_first());
}

TYPED_TEST(MapTree, BeginsWithTheLeastKey) {
  for (const size_t i : {2U, 0U, 3U})
    TypeParam::insert(this->db, &this->records[i]);
  auto *first = this->nowhere;
  EXPECT_EQ(TypeParam::get_first(this->db, &first), 1U);
  EXPECT_EQ(first, &this->records[0]);
  EXPECT_TRACED();
}

TYPED_TEST(MapTree, NeedsADatabaseAndAPlaceForTheFirst) {
  auto *first = this->nowhere;
  zar_db treeless = this->treeless();
  typename TypeParam::Record **no_place = nullptr;
  EXPECT_EQ(TypeParam::get_first(nullptr, &first), 0U);
  EXPECT_TRACED(TypeParam::first_error(&first, nullptr));
  EXPECT_EQ(TypeParam::get_first(this->db, no_place), 0U);
  EXPECT_TRACED(TypeParam::first_error(nullptr, this->db));
  EXPECT_EQ(TypeParam::get_first(nullptr, no_place), 0U);
  EXPECT_TRACED(TypeParam::first_error(nullptr, nullptr));
  EXPECT_EQ(TypeParam::get_first(&treeless, &first), 0U);
  EXPECT_TRACED(TypeParam::first_error(&first, &treeless));
  EXPECT_EQ(first, this->nowhere);
}

TYPED_TEST(MapTree, EndsAfterTheGreatestKey) {
  TypeParam::insert(this->db, &this->records[0]);
  TypeParam::insert(this->db, &this->records[1]);
  auto *next = this->nowhere;
  EXPECT_EQ(TypeParam::get_next(this->db, &this->records[0], &next), 1U);
  EXPECT_EQ(next, &this->records[1]);
  EXPECT_TRACED();
  EXPECT_EQ(TypeParam::get_next(this->db, &this->records[1], &next), 1U);
  EXPECT_EQ(next, nullptr);
  EXPECT_TRACED(TypeParam::no_next());
}

TYPED_TEST(MapTree, ContinuesFromARecordThatIsNotInIt) {
  TypeParam::insert(this->db, &this->records[0]);
  TypeParam::insert(this->db, &this->records[2]);
  auto *next = this->nowhere;
  EXPECT_EQ(TypeParam::get_next(this->db, &this->records[1], &next), 1U);
  EXPECT_EQ(next, &this->records[2]);
}

TYPED_TEST(MapTree, NeedsAllThreeArgumentsForTheNext) {
  TypeParam::insert(this->db, &this->records[0]);
  auto *next = this->nowhere;
  zar_db treeless = this->treeless();
  for (zar_db *database : {this->db, static_cast<zar_db *>(nullptr), &treeless}) {
    for (auto *current : {&this->records[0], static_cast<typename TypeParam::Record *>(nullptr)}) {
      for (auto **place : {&next, static_cast<typename TypeParam::Record **>(nullptr)}) {
        if (database == this->db && current != nullptr && place != nullptr) continue;
        EXPECT_EQ(TypeParam::get_next(database, current, place), 0U);
        EXPECT_TRACED(TypeParam::next_error(current, database, place));
      }
    }
  }
  EXPECT_EQ(next, this->nowhere);
}

// The platform may read the place, and writes to it even where it fails.
TYPED_TEST(MapTree, PassesTheCallersPlacesToThePlatform) {
  TypeParam::insert(this->db, &this->records[0]);
  const avl_tree *tree = TypeParam::tree(*this->db);
  auto *place = this->nowhere;
  watch_platform();
  TypeParam::get_first(this->db, &place);
  EXPECT_TRUE(platform_was_called(text("tree first %p %p", tree->top.parent, &place)));
  TypeParam::get_next(this->db, &this->records[0], &place);
  EXPECT_TRUE(platform_was_called(text("tree next %p %p %p", tree, &this->records[0], &place)));

  typename TypeParam::Record *meant = nullptr;
  when_platform_called("tree delete", [&] { meant = place; });
  TypeParam::take_out(this->db, &this->records[0], &place);
  EXPECT_TRUE(platform_was_called(text("tree delete %p %p %p", tree, &this->records[0], &place)));
  EXPECT_EQ(meant, &this->records[0]) << "the place names the record before the platform is asked";
}

TYPED_TEST(MapTree, IsEmptiedWithoutFreeingItsRecords) {
  for (auto &record : this->records)
    TypeParam::insert(this->db, &record);
  EXPECT_EQ(TypeParam::remove(this->db), 1U);
  EXPECT_TRACED();
  EXPECT_EQ(this->walk(), std::vector<std::string>{});
  for (auto &record : this->records)
    EXPECT_EQ(TypeParam::insert(this->db, &record), 1U) << "each record is out of the tree";
}

TYPED_TEST(MapTree, MayBeEmptiedWhenItIsEmpty) {
  EXPECT_EQ(TypeParam::remove(this->db), 1U);
  EXPECT_TRACED();
}

TYPED_TEST(MapTree, NeedsADatabaseToBeEmptied) {
  EXPECT_EQ(TypeParam::remove(nullptr), 0U);
  EXPECT_TRACED(TypeParam::remove_error());
  zar_db treeless = this->treeless();
  EXPECT_EQ(TypeParam::remove(&treeless), 0U);
  EXPECT_TRACED(TypeParam::remove_error());
}

TYPED_TEST(MapTree, FreesNoRecord) {
  TypeParam::free_node(&this->records[0]);
  EXPECT_TRACED();
  EXPECT_STREQ(this->records[0].hash_str, "a:d:1");
  TypeParam::free_node(nullptr);
  EXPECT_TRACED(TypeParam::free_null());
}

TYPED_TEST(MapTree, IsTheOnlyTreeThatItsOperationsTouch) {
  TypeParam::insert(this->db, &this->records[0]);
  const auto size_of = [](const avl_tree *tree) { return tree->top.parent == nullptr ? 0 : 1; };
  const zar_db &database = *this->db;
  EXPECT_EQ(size_of(database.pmap_tree) + size_of(database.cmap_tree) + size_of(database.target_tree) +
                size_of(database.pmtr_map_tree),
            1);
  EXPECT_EQ(size_of(TypeParam::tree(database)), 1);
}

// ---- Keys that begin with another

template <typename Tree>
struct KeyCollision : MapTree<Tree> {
  using Record = typename Tree::Record;
  Record brief = keyed<Record>("ab:d:1");
  Record extended = keyed<Record>("ab:d:12");
};
struct PmapCollision : KeyCollision<PmapTree> {};
struct CmapCollision : KeyCollision<CmapTree> {};
struct PmtrMapCollision : KeyCollision<PmtrMapTree> {};

TEST_F(PmapCollision, RefusesAKeyThatBeginsOneInTheTree) {
  zar_avl_insert_pmap(db, &extended);
  EXPECT_EQ(zar_avl_insert_pmap(db, &brief), 0U);
  EXPECT_TRACED(PmapTree::insert_failed("ab:d:1"));
}

TEST_F(PmapCollision, RefusesAKeyThatExtendsOneInTheTree) {
  zar_avl_insert_pmap(db, &brief);
  EXPECT_EQ(zar_avl_insert_pmap(db, &extended), 0U);
}

TEST_F(CmapCollision, TakesAKeyThatBeginsOneInTheTree) {
  zar_avl_insert_cmap(db, &extended);
  EXPECT_EQ(zar_avl_insert_cmap(db, &brief), 1U);
  EXPECT_EQ(walk(), (std::vector<std::string>{"ab:d:1", "ab:d:12"}));
}

TEST_F(CmapCollision, RefusesAKeyThatExtendsOneInTheTree) {
  zar_avl_insert_cmap(db, &brief);
  EXPECT_EQ(zar_avl_insert_cmap(db, &extended), 0U);
}

TEST_F(CmapCollision, FindsAStoredKeyByOneThatExtendsItButNotByOneThatBeginsIt) {
  zar_cmap *found = nullptr;
  zar_avl_insert_cmap(db, &brief);
  EXPECT_EQ(zar_avl_search_cmap(db, &extended, &found), 1U);
  EXPECT_EQ(found, &brief);
  zar_cmap beginning = keyed<zar_cmap>("ab:d");
  EXPECT_EQ(zar_avl_search_cmap(db, &beginning, &found), 1U);
  EXPECT_EQ(found, nullptr);
}

TEST_F(PmtrMapCollision, FindsAStoredKeyByOneThatExtendsItButNotByOneThatBeginsIt) {
  zar_pmtr_map *found = nullptr;
  zar_avl_insert_pmtr_map(db, &brief);
  EXPECT_EQ(zar_avl_search_pmtr_map(db, &extended, &found), 1U);
  EXPECT_EQ(found, &brief);
  zar_pmtr_map beginning = keyed<zar_pmtr_map>("ab:d");
  EXPECT_EQ(zar_avl_search_pmtr_map(db, &beginning, &found), 1U);
  EXPECT_EQ(found, nullptr);
}

// ---- Targets: two families of operations that differ in their texts alone

struct TargetFamily {
  const char *name;
  uint32_t (*insert)(zar_db *, zar_target *);
  uint32_t (*search)(zar_db *, zar_target *, zar_target **);
  uint32_t (*take_out)(zar_db *, zar_target *, zar_target **);
  const char *insert_failed;
  const char *insert_error;
  const char *search_failed;
  const char *search_error;
  const char *delete_failed;
  const char *delete_error;
};

void PrintTo(const TargetFamily &family, std::ostream *out) {
  *out << family.name;
}

const TargetFamily kClientDb{"ClientDb",
                             zar_avl_insert_target_client_db,
                             zar_avl_search_target_client_db,
                             zar_avl_delete_target_client_db,
                             "(ERR): Target avl: insert failed, target hdl:0x%x",
                             "(ERR): Target avl: insert error, target_ptr:0x%p, db:0x%p",
                             "(ERR): Target avl: search (client db) failed, zar target hdl:0x%x",
                             "(ERR): Target avl: search (client db) error, target_ptr:0x%p, db:0x%p, result:0x%p",
                             "(ERR): Target avl: delete (client db) failed, zar target hdl:0x%x",
                             "(ERR): Target avl: delete (client db) error, target_ptr:0x%p, db:0x%p, result:0x%p"};
const TargetFamily kDefaultDb{"DefaultDb",
                              zar_avl_insert_target_default_db,
                              zar_avl_search_target_default_db,
                              zar_avl_delete_target_default_db,
                              "(ERR): Target avl: insert (default db) failed, target hdl:0x%x",
                              "(ERR): Target avl: insert (default db)error, target_ptr:0x%p, db:0x%p",
                              "(ERR): Target avl: search (default db) failed, target hdl:0x%x",
                              "(ERR): Target avl: search (default db) error, target_ptr:0x%p, db:0x%p, result:0x%p",
                              "(ERR): Target avl: delete (default db) failed, zar target hdl:0x%x",
                              "(ERR): Target avl: delete (default db) error, target_ptr:0x%p, db:0x%p, result:0x%p"};

struct TargetTree : Repository, ::testing::WithParamInterface<TargetFamily> {
  const TargetFamily &of = GetParam();
  zar_target five = numbered(0x50), six = numbered(0x60);
  zar_target *const nowhere = reinterpret_cast<zar_target *>(0x10);
  zar_target *place = nowhere;

  zar_db treeless() {
    zar_db out = *db;
    out.target_tree = nullptr;
    return out;
  }
};
INSTANTIATE_TEST_SUITE_P(Both, TargetTree, ::testing::Values(kClientDb, kDefaultDb),
                         [](const auto &family) { return std::string(family.param.name); });

TEST_P(TargetTree, TakesTargetsInTheOrderOfTheirHandles) {
  EXPECT_EQ(of.insert(db, &six), 1U);
  EXPECT_EQ(of.insert(db, &five), 1U);
  EXPECT_TRACED();
  EXPECT_EQ(targets_in(db), (Handles{0x50, 0x60}));
}

TEST_P(TargetTree, RefusesAnEqualHandle) {
  zar_target twin = numbered(0x50);
  of.insert(db, &five);
  EXPECT_EQ(of.insert(db, &twin), 0U);
  EXPECT_TRACED(error(of.insert_failed, 0x50));
}

TEST_P(TargetTree, RefusesATargetThatItHolds) {
  of.insert(db, &five);
  EXPECT_EQ(of.insert(db, &five), 0U);
  EXPECT_TRACED(error(of.insert_failed, 0x50));
  EXPECT_EQ(targets_in(db), Handles{0x50});
}

TEST_P(TargetTree, RefusesWhatThePlatformRefuses) {
  runtime::fail_request(runtime::Service::tree_insert, 1);
  EXPECT_EQ(of.insert(db, &five), 0U);
  EXPECT_TRACED(error(of.insert_failed, 0x50));
  EXPECT_EQ(of.insert(db, &five), 1U);
}

TEST_P(TargetTree, NeedsADatabaseAndATargetToInsert) {
  zar_db lost = treeless();
  for (zar_db *database : {db, static_cast<zar_db *>(nullptr), &lost}) {
    for (zar_target *target : {&five, static_cast<zar_target *>(nullptr)}) {
      if (database == db && target != nullptr) continue;
      EXPECT_EQ(of.insert(database, target), 0U);
      EXPECT_TRACED(error(of.insert_error, target, database));
    }
  }
  EXPECT_EQ(targets_in(db), Handles{});
}

TEST_P(TargetTree, FindsByHandle) {
  of.insert(db, &five);
  of.insert(db, &six);
  zar_target probe = numbered(0x60);
  EXPECT_EQ(of.search(db, &probe, &place), 1U);
  EXPECT_EQ(place, &six);
  EXPECT_TRACED();
}

TEST_P(TargetTree, FindsNothingAndCallsThatAFailure) {
  of.insert(db, &five);
  EXPECT_EQ(of.search(db, &six, &place), 0U);
  EXPECT_EQ(place, nullptr);
  EXPECT_TRACED(error(of.search_failed, 0x60));
}

TEST_P(TargetTree, NeedsAllThreeArgumentsToSearchAndToRemove) {
  of.insert(db, &five);
  zar_db lost = treeless();
  for (zar_db *database : {db, static_cast<zar_db *>(nullptr), &lost}) {
    for (zar_target *target : {&five, static_cast<zar_target *>(nullptr)}) {
      for (zar_target **result : {&place, static_cast<zar_target **>(nullptr)}) {
        if (database == db && target != nullptr && result != nullptr) continue;
        EXPECT_EQ(of.search(database, target, result), 0U);
        EXPECT_TRACED(error(of.search_error, target, database, result));
        EXPECT_EQ(of.take_out(database, target, result), 0U);
        EXPECT_TRACED(error(of.delete_error, target, database, result));
      }
    }
  }
  EXPECT_EQ(place, nowhere);
  EXPECT_EQ(targets_in(db), Handles{0x50});
}

TEST_P(TargetTree, RemovesByHandle) {
  of.insert(db, &five);
  of.insert(db, &six);
  zar_target probe = numbered(0x50);
  EXPECT_EQ(of.take_out(db, &probe, &place), 1U);
  EXPECT_EQ(place, &five);
  EXPECT_TRACED();
  EXPECT_EQ(targets_in(db), Handles{0x60});
}

TEST_P(TargetTree, CannotRemoveWhatIsNotThere) {
  of.insert(db, &five);
  EXPECT_EQ(of.take_out(db, &six, &place), 0U);
  EXPECT_EQ(place, &six) << "the place names what was asked for";
  EXPECT_TRACED(error(of.delete_failed, 0x60));
  EXPECT_EQ(targets_in(db), Handles{0x50});
}

TEST_P(TargetTree, PassesTheCallersPlaceToThePlatform) {
  of.insert(db, &five);
  watch_platform();
  const zar_target *meant = nullptr;
  when_platform_called("tree delete", [&] { meant = place; });
  of.take_out(db, &five, &place);
  EXPECT_TRUE(platform_was_called(text("tree delete %p %p %p", db->target_tree, &five, &place)));
  EXPECT_EQ(meant, &five) << "the place names the target before the platform is asked";
}

TEST_P(TargetTree, IsOneAndTheSameForBothFamilies) {
  const TargetFamily &other = of.insert == kClientDb.insert ? kDefaultDb : kClientDb;
  of.insert(db, &five);
  EXPECT_EQ(other.search(db, &five, &place), 1U);
  EXPECT_EQ(other.take_out(db, &five, &place), 1U);
  EXPECT_EQ(targets_in(db), Handles{});
}

struct TargetTreeEnd : Repository {};

TEST_F(TargetTreeEnd, NeedsADatabase) {
  EXPECT_EQ(zar_avl_remove_target(nullptr), 0U);
  EXPECT_TRACED(error("(ERR): Target avl: remove tree error, database ptr cannot be NULL"));
  zar_db treeless = *db;
  treeless.target_tree = nullptr;
  EXPECT_EQ(zar_avl_remove_target(&treeless), 0U);
  EXPECT_TRACED(error("(ERR): Target avl: remove tree error, database ptr cannot be NULL"));
}

TEST_F(TargetTreeEnd, DeletesEachTarget) {
  const uint32_t gold = stored_pmap("gold");
  const uint32_t first = target(gold, 1), second = target(gold, 2);
  EXPECT_EQ(zar_avl_remove_target(db), 1U);
  EXPECT_ERRORS();
  EXPECT_FALSE(live(first));
  EXPECT_FALSE(live(second));
  EXPECT_EQ(targets_in(db), Handles{});
}

TEST_F(TargetTreeEnd, IsASuccessThoughATargetCannotBeDeleted) {
  zar_target unknown = numbered(0xfffffff0);
  ASSERT_EQ(zar_avl_insert_target_client_db(db, &unknown), 1U);
  EXPECT_EQ(zar_avl_remove_target(db), 1U);
  EXPECT_ERRORS(error("(ERR): Target avl: delete target:0x%p failed", &unknown));
  EXPECT_EQ(targets_in(db), Handles{});
}

TEST_F(TargetTreeEnd, FreesATargetByDeletingIt) {
  const uint32_t gold = stored_pmap("gold");
  const uint32_t interface = target(gold);
  zar_target *record = at<zar_target>(interface);
  zar_target_info *info_of_target = nullptr;
  ASSERT_EQ(zar_remove_target(one, interface, &info_of_target), 0U);
  forget_trace();
  zar_avl_free_target(record);
  EXPECT_FALSE(live(interface));
  EXPECT_ERRORS();
}

TEST_F(TargetTreeEnd, ReportsATargetThatCannotBeDeleted) {
  zar_target unknown = numbered(0xfffffff0);
  zar_avl_free_target(&unknown);
  EXPECT_ERRORS(error("(ERR): Target avl: delete target:0x%p failed", &unknown));
}

TEST_F(TargetTreeEnd, FreesNoNull) {
  zar_avl_free_target(nullptr);
  EXPECT_TRACED(error("(ERR): Target avl: Received NULL in free target"));
}

}  // namespace
