#include "simulator/repository/leftovers.h"

#include <iterator>
#include <map>

#include "engine/engine.h"
#include "platform/tags.h"
#include "runtime/control.h"
#include "simulator/repository/actions.h"
#include "simulator/repository/filters.h"
#include "simulator/text/text.h"

namespace simulator {

namespace {

template <class Key>
using CountsByKey = std::map<Key, size_t>;

std::string shown(uint32_t tag) {
  std::ostringstream out;
  out << "0x" << std::hex << tag;
  return std::move(out).str();
}

std::string shown(const std::string &text) {
  return in_quotes(text);
}

template <class Key>
size_t count_of(const Key &key, const CountsByKey<Key> &counts) {
  const auto at = counts.find(key);
  return at == counts.end() ? 0 : at->second;
}

// A line for each key whose count is not the expected one.
template <class Key>
void compare(std::string_view what, const CountsByKey<Key> &expected, const CountsByKey<Key> &found,
             std::vector<std::string> &lines) {
  CountsByKey<Key> all = expected;
  all.insert(found.begin(), found.end());
  for (const auto &[key, any] : all) {
    const size_t left = count_of(key, found);
    const size_t kept = count_of(key, expected);
    if (left != kept) lines.push_back(concat(what, " ", shown(key), ": ", left, " left, ", kept, " expected"));
  }
}

// In the order of the report.
constexpr const char *kNames[] = {"handles",      "queue entries", "policy instances", "target states",
                                  "target lists", "filter data",   "action data",      "actions freed in force"};

CountsByKey<std::string> count_kinds() {
  // Domain entries are only in the domain list, so no entry had to be allocated for them.
  const size_t counts[] = {runtime::live_ids().size(),   runtime::live_queue_entries(),   engine::live_instances(),
                           engine::live_target_states(), engine::kept_target_lists(),     client::live_filter_data(),
                           client::live_action_data(),   client::actions_freed_in_force()};
  static_assert(std::size(counts) == std::size(kNames));
  CountsByKey<std::string> by_kind;
  for (size_t at = 0; at < std::size(kNames); ++at)
    by_kind[kNames[at]] = counts[at];
  return by_kind;
}

Holdings expected_holdings(const Holdings &before, const Kept &kept) {
  Holdings expected = before;
  expected.records[ZAR_TAG_CLIENT_RECORD] += kept.clients;
  expected.records[ZAR_TAG_DOMAIN_RECORD] += kept.domains;
  expected.records[ZAR_TAG_DATABASE_RECORD] += kept.databases;
  expected.blocks[ZAR_TAG_CLIENT_NAME] += kept.clients;
  expected.blocks[ZAR_TAG_DOMAIN_NAME] += kept.domains;
  for (const uint32_t tree : {ZAR_TAG_PMAP_TREE, ZAR_TAG_CMAP_TREE, ZAR_TAG_TARGET_TREE, ZAR_TAG_PMTR_MAP_TREE})
    expected.blocks[tree] += kept.databases;
  if (kept.first_table) ++expected.blocks[ZAR_TAG_CLIENT_TABLE];
  if (kept.grown_table) {
    --expected.blocks[ZAR_TAG_CLIENT_TABLE];
    ++expected.blocks[ZAR_TAG_GROWN_CLIENT_TABLE];
  }
  expected.texts[kel_parameter_map_subscriber_domain_str] += kept.deleted_parameter_maps;
  return expected;
}

void compare_kind(const char *kind, const Holdings &expected, const Holdings &found, std::vector<std::string> &lines) {
  const size_t left = count_of<std::string>(kind, found.counts);
  const size_t kept = count_of<std::string>(kind, expected.counts);
  if (left != kept) lines.push_back(concat(kind, ": ", left, " left, ", kept, " expected"));
}

}  // namespace

Holdings take_stock() {
  Holdings holdings;
  holdings.counts = count_kinds();
  // Pools by tag; pools without a tag by name.
  for (const runtime::PoolInfo &pool : runtime::pools()) {
    if (pool.name.empty()) {
      holdings.records[pool.tag] += pool.live;
    } else {
      holdings.named_records[pool.name] += pool.live;
    }
  }
  for (const auto &[tag, count] : runtime::blocks_by_tag())
    holdings.blocks[tag] = count.blocks;
  for (const auto &[text, count] : runtime::interned_texts())
    holdings.texts[text] = count;
  holdings.complaints = runtime::complaints().size();
  return holdings;
}

std::vector<std::string> find_leftovers(const Holdings &before, const Kept &kept) {
  const Holdings expected = expected_holdings(before, kept);
  const Holdings found = take_stock();
  std::vector<std::string> lines;
  compare_kind(kNames[0], expected, found, lines);
  compare("records of pool", expected.records, found.records, lines);
  compare("records of pool", expected.named_records, found.named_records, lines);
  compare("blocks of tag", expected.blocks, found.blocks, lines);
  compare("interned text", expected.texts, found.texts, lines);
  for (size_t at = 1; at < std::size(kNames); ++at)
    compare_kind(kNames[at], expected, found, lines);
  const std::vector<std::string> &complaints = runtime::complaints();
  for (size_t at = before.complaints; at < complaints.size(); ++at)
    lines.push_back(concat("misuse: ", complaints[at]));
  return lines;
}

}  // namespace simulator
