// Maps by name: retrieve, hit and miss, and store and remove, compared with the ordered and hashed containers that
// could replace the trees.
//
// Each side builds the key "name:domain:type" for every access, in a buffer on the stack and without a formatter, and
// looks it up without creating a string if the container allows. What is stored and removed is made before, with its
// key. "std::map, string keys" is the usual way to write this: the key is a std::string. The alternatives are templates
// or linked directly and may be inlined; the library is called, calls the runtime, and is called back to compare.
#include <absl/container/btree_map.h>
#include <absl/container/flat_hash_map.h>
#include <glib.h>

#include <boost/intrusive/avl_set.hpp>
#include <map>
#include <memory>
#include <string_view>
#include <unordered_map>

#include "by_hand/key.h"
#include "support/jobs.h"
#include "support/random.h"
#include "support/repository.h"

namespace {

using bench::Key;
using bench::Random;

// ---- The sides. Each maps names to numbers.

class Library {
 public:
  explicit Library(const std::vector<std::string> &names) {
    for (const std::string &name : names)
      add(name.c_str());
  }
  uint32_t find(const char *name) const {
    zar_map_info info = bench::info_of(name);
    uint32_t pmap = 0;
    zar_retrieve_policy(clid_, &info, &pmap);
    return pmap;
  }
  // A policy-map that is not stored yet.
  uint32_t spare(const char *name) const { return bench::new_policy(clid_, name); }
  // Removed from the tree by its name, but not deleted.
  void store_and_remove(const char *name, uint32_t spare) const {
    Key key(bench::info_of(name));
    zar_pmap probe{}, *removed = nullptr;
    probe.hash_str = key.text();
    bench::must(zar_store_policy(clid_, spare), "zar_store_policy");
    bench::must(!zar_avl_delete_pmap(database_, &probe, &removed), "zar_avl_delete_pmap");
  }

 private:
  void add(const char *name) const { bench::must(zar_store_policy(clid_, spare(name)), "zar_store_policy"); }
  static zar_db *database_of(uint32_t clid) {
    zar_db *database = nullptr;
    bench::must(!zar_get_client_database_handle(clid, "bench", &database, nullptr), "zar_get_client_database_handle");
    return database;
  }

  uint32_t clid_ = bench::clid();
  zar_db *database_ = database_of(clid_);
};

// A container like those of the standard library that can be searched with a view.
template <class Map, class View = std::string_view>
class Viewed {
 public:
  explicit Viewed(const std::vector<std::string> &names) {
    for (const std::string &name : names)
      map_.emplace(std::string(Key(bench::info_of(name.c_str())).view()), ++numbers_);
  }
  uint32_t find(const char *name) const {
    Key key(bench::info_of(name));
    auto found = map_.find(View(key.text(), key.view().size()));
    return found == map_.end() ? 0 : found->second;
  }
  // An element with its key that is not in the container yet.
  uint32_t spare(const char *name) {
    Map one;
    one.emplace(std::string(Key(bench::info_of(name)).view()), ++numbers_);
    spares_.push_back(one.extract(one.begin()));
    return static_cast<uint32_t>(spares_.size() - 1);
  }
  void store_and_remove(const char *name, uint32_t spare) {
    Key key(bench::info_of(name));
    map_.insert(std::move(spares_[spare]));
    spares_[spare] = map_.extract(map_.find(View(key.text(), key.view().size())));
  }

 private:
  Map map_;
  std::vector<typename Map::node_type> spares_;
  uint32_t numbers_ = 0;
};

struct HashView {
  using is_transparent = void;
  size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
};

using StdMap = Viewed<std::map<std::string, uint32_t, std::less<>>>;
using StdUnorderedMap = Viewed<std::unordered_map<std::string, uint32_t, HashView, std::equal_to<>>>;
using AbslBtree = Viewed<absl::btree_map<std::string, uint32_t>, absl::string_view>;
using AbslHash = Viewed<absl::flat_hash_map<std::string, uint32_t>, absl::string_view>;

// Searched with strings, as is usual.
class StdMapOfStrings {
 public:
  explicit StdMapOfStrings(const std::vector<std::string> &names) {
    for (const std::string &name : names)
      map_.emplace(key_of(name.c_str()), ++numbers_);
  }
  uint32_t find(const char *name) const {
    auto found = map_.find(key_of(name));
    return found == map_.end() ? 0 : found->second;
  }

 private:
  static std::string key_of(const char *name) { return std::string(Key(bench::info_of(name)).view()); }

  std::map<std::string, uint32_t> map_;
  uint32_t numbers_ = 0;
};

// GLib's balanced tree; its texts end in a terminator.
class GlibTree {
 public:
  explicit GlibTree(const std::vector<std::string> &names) : tree_(g_tree_new(compare)) {
    keys_.reserve(names.size());
    for (const std::string &name : names) {
      keys_.emplace_back(Key(bench::info_of(name.c_str())).view());
      g_tree_insert(tree_, keys_.back().data(), GUINT_TO_POINTER(++numbers_));
    }
  }
  uint32_t find(const char *name) const {
    Key key(bench::info_of(name));
    return GPOINTER_TO_UINT(g_tree_lookup(tree_, key.text()));
  }

 private:
  static int compare(const void *a, const void *b) {
    return std::strcmp(static_cast<const char *>(a), static_cast<const char *>(b));
  }

  GTree *tree_;
  std::vector<std::string> keys_;
  uint32_t numbers_ = 0;
};

// Records with embedded links and a pointer to the key, like the library's.
class BoostAvl {
 public:
  explicit BoostAvl(const std::vector<std::string> &names) {
    for (const std::string &name : names) {
      auto record = std::make_unique<Record>();
      record->key = Key(bench::info_of(name.c_str())).view();
      record->number = static_cast<uint32_t>(records_.size() + 1);
      set_.insert(*record);
      records_.push_back(std::move(record));
    }
  }
  ~BoostAvl() { set_.clear(); }
  uint32_t find(const char *name) const {
    auto found = set_.find(Key(bench::info_of(name)).view());
    return found == set_.end() ? 0 : found->number;
  }

 private:
  struct Record : boost::intrusive::avl_set_base_hook<> {
    std::string key;
    uint32_t number = 0;
  };
  struct KeyOf {
    using type = std::string_view;
    std::string_view operator()(const Record &record) const { return record.key; }
  };

  std::vector<std::unique_ptr<Record>> records_;
  boost::intrusive::avl_set<Record, boost::intrusive::key_of_value<KeyOf>> set_;
};

// ---- The jobs

// Names to find, next to each other as in a request that was just read.
class Sought {
 public:
  explicit Sought(const std::vector<std::string> &names) : names_(names.size()) {
    for (size_t at = 0; at < names.size(); ++at)
      names[at].copy(names_[at].text, sizeof names_[at].text - 1);
  }
  const char *any(Random &random) const { return names_[random.below(static_cast<uint32_t>(names_.size()))].text; }

 private:
  struct Name {
    char text[32] = {};
  };
  std::vector<Name> names_;
};

struct Subjects {
  explicit Subjects(uint32_t n_objects)
      : stored(bench::names(n_objects)),
        present(stored),
        absent(bench::names(n_objects, "x")),
        spare(bench::names(std::min(n_objects, 1000U), "y")) {}
  std::vector<std::string> stored;
  Sought present;
  Sought absent;
  std::vector<std::string> spare;
};

// Independent look-ups, one after the other.
template <class Side>
void retrieve(benchmark::State &state, const Side &side, const Sought &sought) {
  Random random;
  for (auto _ : state)
    benchmark::DoNotOptimize(side.find(sought.any(random)));
}

// Each look-up's name depends on the result of the one before.
template <class Side>
void retrieve_in_turn(benchmark::State &state, const Side &side, const Sought &sought) {
  Random random;
  const uint64_t mask = bench::zero();
  for (auto _ : state)
    random.wait_for(side.find(sought.any(random)), mask);
}

template <class Side>
void store_and_remove(benchmark::State &state, Side &side, const std::vector<std::string> &names) {
  static std::vector<uint32_t> spares;  // of this side; a repetition uses those of the one before
  for (size_t at = spares.size(); at < names.size(); ++at)
    spares.push_back(side.spare(names[at].c_str()));
  Random random;
  const auto count = static_cast<uint32_t>(names.size());
  for (auto _ : state) {
    uint32_t any = random.below(count);
    side.store_and_remove(names[any].c_str(), spares[any]);
  }
}

template <class Side>
void register_side(const std::string &who, const std::shared_ptr<Subjects> &subjects) {
  auto side = std::make_shared<Side>(subjects->stored);
  bench::job("retrieve, hit", who, [=](benchmark::State &state) { retrieve(state, *side, subjects->present); });
  bench::job("retrieve, hit, latency", who,
             [=](benchmark::State &state) { retrieve_in_turn(state, *side, subjects->present); });
  bench::job("retrieve, miss", who, [=](benchmark::State &state) { retrieve(state, *side, subjects->absent); });
  if constexpr (requires { side->store_and_remove("", 0); })
    bench::job("store and remove", who,
               [=](benchmark::State &state) { store_and_remove(state, *side, subjects->spare); });
}

}  // namespace

void bench::register_jobs(uint32_t n_objects) {
  auto subjects = std::make_shared<Subjects>(n_objects);
  register_side<Library>(kLibrary, subjects);
  register_side<StdMap>("std::map", subjects);
  register_side<StdMapOfStrings>("std::map, string keys", subjects);
  register_side<AbslBtree>("absl::btree_map", subjects);
  register_side<AbslHash>("absl::flat_hash_map", subjects);
  register_side<StdUnorderedMap>("std::unordered_map", subjects);
  register_side<GlibTree>("GTree", subjects);
  register_side<BoostAvl>("boost avl_set", subjects);
}
