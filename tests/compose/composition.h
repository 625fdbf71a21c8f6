// Shared by the tests of composition: handles that an operation must refuse, sequences of inserts, the trace of the
// references, and look-ups that lose their record.
#pragma once

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "platform/runtime.h"
#include "support/repository.h"
#include "support/when_traced.h"
#include "support/wrong_handles.h"

namespace rig {

// A list in the caller's order, as the operations on it see it.
struct OrderedList {
  std::function<uint32_t(uint32_t element)> append;
  std::function<uint32_t(uint32_t element, uint32_t reference)> insert_before;
  std::function<uint32_t(uint32_t element, uint32_t reference)> insert_after;
  std::function<uint32_t(uint32_t element)> remove;
  std::function<Handles()> elements;
};

// Does every sequence of four inserts, in which each element goes to the end, before or after one that is there, and
// compares the list with a vector after every step; then removes the elements in an order that changes with the
// sequence.
inline void expect_every_sequence_of_inserts(const OrderedList &list, Handles four) {
  ASSERT_EQ(four.size(), 4U);
  Handles removals = four;
  constexpr size_t kSequences = 1U * 3 * 5 * 7;
  for (size_t sequence = 0; sequence < kSequences; ++sequence) {
    SCOPED_TRACE(sequence);
    Handles expected;
    size_t choices = sequence;
    for (const uint32_t element : four) {
      const size_t places = 1 + 2 * expected.size();
      const size_t place = choices % places;
      choices /= places;
      const size_t at = place == 0 ? expected.size() : (place - 1) / 2;
      if (place == 0) {
        EXPECT_EQ(list.append(element), 0U);
        expected.push_back(element);
      } else if (place % 2 == 1) {
        EXPECT_EQ(list.insert_before(element, expected[at]), 0U);
        expected.insert(expected.begin() + static_cast<std::ptrdiff_t>(at), element);
      } else {
        EXPECT_EQ(list.insert_after(element, expected[at]), 0U);
        expected.insert(expected.begin() + static_cast<std::ptrdiff_t>(at) + 1, element);
      }
      ASSERT_EQ(list.elements(), expected);
    }
    for (const uint32_t element : removals) {
      EXPECT_EQ(list.remove(element), 0U);
      std::erase(expected, element);
      ASSERT_EQ(list.elements(), expected);
    }
    std::next_permutation(removals.begin(), removals.end());
  }
}

struct Composition : Repository {
  Composition() {
    for (const runtime::PoolInfo &pool : runtime::pools())
      if (pool.name.empty()) records_before_[pool.tag] = pool.live;
  }
  // Ids of one test are not those of the next when both run in one process.
  void TearDown() override {
    Repository::TearDown();
    zar_handle_table_destroy();
  }

  // Records of a pool that the test has taken and not given back.
  size_t records_taken(uint32_t tag) const {
    const auto before = records_before_.find(tag);
    return records_out(tag) - (before == records_before_.end() ? 0 : before->second);
  }

  // Every way in which a handle can fail to name a record of this kind.
  std::vector<WrongHandle> wrong_handles(Kind wanted) {
    std::vector<WrongHandle> bad = dead_handles();
    for (const auto &[kind, handle] : one_of_each()) {
      if (kind != wanted) bad.push_back({text("of kind %d", static_cast<int>(kind)), handle, {another_kind(handle)}});
    }
    if (wanted != Kind::rule) {
      const uint32_t plain = plain_rule_of_each();
      bad.push_back({"class-action of a policy-map that is not CONTROL", plain, {another_kind(plain)}});
    }
    return bad;
  }

  // The call gets each bad handle in turn, answers 'status' and changes nothing; after the look-up it traces 'complaint'.
  template <typename Call>
  void expect_each_refused(uint32_t status, Kind wanted, const Lines &complaint, Call call) {
    for (const WrongHandle &wrong : wrong_handles(wanted)) {
      SCOPED_TRACE(wrong.what);
      forget_trace();
      EXPECT_REFUSED(status, call(wrong.handle));
      EXPECT_TRACED(wrong.look_up, complaint);
      EXPECT_CALLS();
    }
  }

  // Makes the look-up that follows a message with this beginning find its handle live and without a record.
  static void lose_record_after(const std::string &beginning) {
    whenever_traced(beginning, [] { runtime::lose_next_pointer(); });
  }

  static void lose_event_context(uint32_t event) { at<zar_event_tuple>(event)->event_context = nullptr; }

  static Line no_event_context(const char *name) {
    return error("(ERR): %s: Error: event context cannot be NULL in event tuple", name);
  }

  // ---- The trace of the references between a policy-map and a class-map ----------------------------------------------

  // The first class-action of the class-map in the policy-map.
  static Lines references_added(uint32_t pmap, uint32_t cmap) {
    const auto *policy = at<zar_pmap>(pmap);
    const auto *klass = at<zar_cmap>(cmap);
    return {info("(info): Updating references between pmap:0x%x, cmap:0x%x", pmap, cmap),
            info("(info): Update reference: cmap:0x%p not refered by pmap:0x%p, adding to pmap", klass, policy),
            info("(info): Update reference: pmap:0x%p not refered by cmap:0x%p, adding to cmap", policy, klass),
            info("(info): Updating references between pmap:0x%x, cmap:0x%x, success", pmap, cmap)};
  }
  // One more.
  static Lines references_counted(uint32_t pmap, uint32_t cmap) {
    const auto *policy = at<zar_pmap>(pmap);
    const auto *klass = at<zar_cmap>(cmap);
    return {
        info("(info): Updating references between pmap:0x%x, cmap:0x%x", pmap, cmap),
        info("(info): Update reference: cmap:0x%p already refered by pmap:0x%p, incrementing ref count", klass, policy),
        info("(info): Update reference: pmap:0x%p already refered by cmap:0x%p", policy, klass),
        info("(info): Updating references between pmap:0x%x, cmap:0x%x, success", pmap, cmap)};
  }
  // One less, others are left.
  static Lines references_lowered(uint32_t pmap, uint32_t cmap) {
    const auto *policy = at<zar_pmap>(pmap);
    const auto *klass = at<zar_cmap>(cmap);
    return {info("(info): removing references between pmap:0x%x, cmap:0x%x", pmap, cmap),
            info("(info): removing reference: cmap:0x%p already refered by pmap:0x%p, decrementing ref count", klass,
                 policy),
            info("(info): remove reference: no need to remove pmap:0x%p from cmap:0x%p", policy, klass)};
  }
  // The last one goes.
  static Lines references_removed(uint32_t pmap, uint32_t cmap) {
    const auto *policy = at<zar_pmap>(pmap);
    const auto *klass = at<zar_cmap>(cmap);
    return {info("(info): removing references between pmap:0x%x, cmap:0x%x", pmap, cmap),
            info("(info): removing reference: cmap:0x%p already refered by pmap:0x%p, decrementing ref count", klass,
                 policy),
            info("(info): remove reference: pmap:0x%p refered by cmap:0x%p, removing", policy, klass)};
  }

  // The last reference of an action is dropped.
  static Lines action_freed(uint32_t action) {
    return {info("(info): action:0x%x reference count:%d", action, 0), info("(info): action:0x%x chunk freed", action)};
  }

 private:
  const std::map<Kind, uint32_t> &one_of_each() {
    if (!one_of_each_.empty()) return one_of_each_;
    const uint32_t policy = stored_pmap("other-policy");
    const uint32_t klass = stored_cmap("other-class");
    const uint32_t other_event = event_in(policy, 900);
    const uint32_t other_rule = rule(other_event, klass);
    const uint32_t other_target = target(policy, 900);
    const Quiet quiet;
    one_of_each_ = {{Kind::pmap, policy},
                    {Kind::cmap, klass},
                    {Kind::action, action_in(other_rule, "other-action")},
                    {Kind::filter, filter_in(klass, "other-filter")},
                    {Kind::event, other_event},
                    {Kind::rule, other_rule},
                    {Kind::target, other_target},
                    {Kind::policy_context, zar_create_policy_context(other_target)->handle},
                    {Kind::pmtr_map, stored_pmtr_map("other-values")}};
    return one_of_each_;
  }

  uint32_t plain_rule_of_each() {
    if (plain_rule_ == 0) {
      stored_pmap("other-plain-policy", {.type = 2});
      stored_cmap("other-plain-class", {.type = 2});
      plain_rule_ = plain_rule("other-plain-policy", "other-plain-class");
    }
    return plain_rule_;
  }

  std::map<uint32_t, size_t> records_before_;
  uint32_t plain_rule_ = 0;
  std::map<Kind, uint32_t> one_of_each_;
};

}  // namespace rig
