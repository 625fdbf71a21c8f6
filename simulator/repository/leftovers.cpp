#include "simulator/repository/leftovers.h"

#include <map>

#include "engine/engine.h"
#include "runtime/control.h"
#include "simulator/repository/actions.h"
#include "simulator/repository/filters.h"
#include "simulator/text/text.h"

namespace simulator {

namespace {

// The library's tags of what it keeps.
constexpr uint32_t kClientTable = 0x3e00003;
constexpr uint32_t kGrownClientTable = 0x3e00008;
constexpr uint32_t kTrees[] = {0x3e00004, 0x3e00005, 0x3e00006, 0x3e00007};
constexpr uint32_t kDatabaseRecords = 0x3e00024;
constexpr uint32_t kClientRecords = 0x3e00025;
constexpr uint32_t kClientNames = 0x3e00034;
constexpr uint32_t kDomainRecords = 0x3e00035;
constexpr uint32_t kDomainNames = 0x3e00036;

// The first client table has room for this many; one that is full is replaced.
constexpr size_t kFirstTableSize = 10;

template <class Key>
using Counts = std::map<Key, size_t>;

std::string shown(uint32_t tag) {
  std::ostringstream out;
  out << "0x" << std::hex << tag;
  return std::move(out).str();
}

std::string shown(const std::string &text) {
  return quoted(text);
}

template <class Key>
size_t count_of(const Key &key, const Counts<Key> &counts) {
  const auto at = counts.find(key);
  return at == counts.end() ? 0 : at->second;
}

// A line for each key whose count is not the expected one.
template <class Key>
void compare(std::string_view what, const Counts<Key> &expected, const Counts<Key> &found,
             std::vector<std::string> &lines) {
  Counts<Key> all = expected;
  all.insert(found.begin(), found.end());
  for (const auto &[key, any] : all) {
    const size_t left = count_of(key, found);
    const size_t kept = count_of(key, expected);
    if (left != kept) lines.push_back(concat(what, " ", shown(key), ": ", left, " left, ", kept, " expected"));
  }
}

void compare_count(std::string_view what, size_t found, std::vector<std::string> &lines) {
  if (found != 0) lines.push_back(concat(what, ": ", found, " left, 0 expected"));
}

Counts<uint32_t> expected_blocks(const Permanent &permanent) {
  Counts<uint32_t> blocks;
  if (permanent.clients > 0) {
    blocks[permanent.clients > kFirstTableSize ? kGrownClientTable : kClientTable] = 1;
  }
  blocks[kClientNames] = permanent.clients;
  blocks[kDomainNames] = permanent.domains;
  for (const uint32_t tree : kTrees)
    blocks[tree] = permanent.databases;
  return blocks;
}

Counts<uint32_t> expected_records(const Permanent &permanent) {
  return {{kClientRecords, permanent.clients},
          {kDomainRecords, permanent.domains},
          {kDatabaseRecords, permanent.databases}};
}

Counts<std::string> expected_texts(const Permanent &permanent) {
  return {{kel_parameter_map_subscriber_domain_str, permanent.deleted_parameter_maps}};
}

// Pools by tag; those without one by name.
void compare_records(const Permanent &permanent, std::vector<std::string> &lines) {
  Counts<uint32_t> tagged;
  Counts<std::string> named;
  for (const runtime::PoolInfo &pool : runtime::pools()) {
    if (pool.name.empty()) {
      tagged[pool.tag] += pool.live;
    } else {
      named[pool.name] += pool.live;
    }
  }
  compare("records of pool", expected_records(permanent), tagged, lines);
  compare("records of pool", {}, named, lines);
}

void compare_blocks(const Permanent &permanent, std::vector<std::string> &lines) {
  Counts<uint32_t> blocks;
  for (const auto &[tag, count] : runtime::blocks_by_tag())
    blocks[tag] = count.blocks;
  compare("blocks of tag", expected_blocks(permanent), blocks, lines);
}

void compare_texts(const Permanent &permanent, std::vector<std::string> &lines) {
  Counts<std::string> texts;
  for (const auto &[text, count] : runtime::interned_texts())
    texts[text] = count;
  compare("interned text", expected_texts(permanent), texts, lines);
}

}  // namespace

std::vector<std::string> find_leftovers(const Permanent &permanent) {
  std::vector<std::string> lines;
  compare_count("handles", runtime::live_ids().size(), lines);
  compare_records(permanent, lines);
  compare_blocks(permanent, lines);
  compare_texts(permanent, lines);
  // The domain entries stand in the domain list alone, so no entry had to be allocated for them.
  compare_count("queue entries", runtime::live_queue_entries(), lines);
  compare_count("policy instances", engine::live_instances(), lines);
  compare_count("target states", engine::live_target_states(), lines);
  compare_count("target lists", engine::kept_target_lists(), lines);
  compare_count("filter data", client::live_filter_data(), lines);
  compare_count("action data", client::live_action_data(), lines);
  compare_count("actions freed in force", client::actions_freed_in_force(), lines);
  for (const std::string &complaint : runtime::complaints())
    lines.push_back(concat("misuse: ", complaint));
  return lines;
}

}  // namespace simulator
