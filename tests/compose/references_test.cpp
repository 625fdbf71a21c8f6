// The references between policy-maps and class-maps: how they are counted, which side is missing if memory runs out,
// and how they are removed.
#include "composition.h"

using namespace rig;

namespace {

using runtime::Service;
using Counts = std::vector<std::pair<uint32_t, uint32_t>>;

struct References : Composition {
  const uint32_t gold = pmap("gold");
  const uint32_t voice = cmap("voice");
  const uint32_t video = cmap("video");
  const uint32_t started = event_in(gold, 1);
  const uint32_t stopped = event_in(gold, 2);
  const zar_event_context at_start = event_context(1);
  const zar_event_context at_stop = event_context(2);

  // Returns the trace lines about references, and forgets the others.
  static Lines reference_lines() {
    Lines lines = take_trace();
    std::erase_if(lines, [](const Line &line) {
      return line.text.find("references between pmap") == std::string::npos &&
             line.text.find("pdate reference: ") == std::string::npos &&
             line.text.find("update reference: ") == std::string::npos &&
             line.text.find("remove reference: ") == std::string::npos &&
             line.text.find("removing reference: ") == std::string::npos;
    });
    return lines;
  }

  uint32_t add(uint32_t event, uint32_t cmap, uint32_t class_num = 1) {
    uint32_t handle = 0;
    EXPECT_EQ(zar_add_class_to_event(event, cmap, 0, class_num, &handle), 0U);
    return handle;
  }

  // Adding a class asks for three records: the class-action's own, the policy-map's reference, the class-map's.
  static void fail_record(uint64_t nth) { runtime::fail_request(Service::record, nth); }
};

TEST_F(References, OfTheFirstUseAreMadeOnBothSides) {
  add(started, voice);
  EXPECT_EQ(reference_lines(), references_added(gold, voice));
  EXPECT_EQ(cmap_refs_of(gold), (Counts{{voice, 1}}));
  EXPECT_EQ(pmap_refs_of(voice), Handles{gold});
  EXPECT_EQ(records_taken(kPmapRefTag), 1U);
  EXPECT_EQ(records_taken(kCmapRefTag), 1U);
}

TEST_F(References, AreCountedOnThePolicyMapsSideAlone) {
  add(started, voice);
  forget_trace();
  add(started, voice);
  EXPECT_EQ(reference_lines(), references_counted(gold, voice));
  add(stopped, voice);
  EXPECT_EQ(reference_lines(), references_counted(gold, voice));
  EXPECT_EQ(cmap_refs_of(gold), (Counts{{voice, 3}}));
  EXPECT_EQ(pmap_refs_of(voice), Handles{gold});
  EXPECT_EQ(records_taken(kPmapRefTag), 1U);
  EXPECT_EQ(records_taken(kCmapRefTag), 1U);
}

TEST_F(References, AreInTheOrderOfTheFirstUse) {
  const uint32_t silver = pmap("silver");
  add(event_in(silver, 1), voice);
  add(started, video);
  add(started, voice);
  add(stopped, video);
  EXPECT_EQ(cmap_refs_of(gold), (Counts{{video, 2}, {voice, 1}}));
  EXPECT_EQ(pmap_refs_of(voice), (Handles{silver, gold}));
}

TEST_F(References, AreNotMadeForAClassActionWithoutAClassMap) {
  const uint32_t late = event(3);
  at<zar_class_action>(rule(late, voice))->cmap = nullptr;
  EXPECT_EQ(zar_add_event(gold, late), 0U);
  EXPECT_EQ(reference_lines(), (Lines{}));
  EXPECT_EQ(cmap_refs_of(gold), Counts{});
  EXPECT_EQ(zar_delete_event(late), 0U);
  EXPECT_EQ(reference_lines(), (Lines{}));
}

// Two events, two class-maps: the class-actions are added in every order and removed in every order.
TEST_F(References, CountTheClassActionsInEveryOrderOfAdditionAndRemoval) {
  struct Use {
    uint32_t event;
    uint32_t cmap;
    const zar_event_context *context;
  };
  const std::vector<Use> uses{
      {started, voice, &at_start}, {started, video, &at_start}, {stopped, voice, &at_stop}, {stopped, video, &at_stop}};
  const auto expect_counts = [&](const Counts &counts) {
    ASSERT_EQ(cmap_refs_of(gold), counts);
    for (const uint32_t cmap : {voice, video}) {
      const bool used = std::any_of(counts.begin(), counts.end(), [&](auto &count) { return count.first == cmap; });
      ASSERT_EQ(pmap_refs_of(cmap), used ? Handles{gold} : Handles{});
    }
  };
  std::vector<size_t> coming{0, 1, 2, 3};
  do {
    std::vector<size_t> going{0, 1, 2, 3};
    do {
      Counts counts;
      for (const size_t i : coming) {
        const Use &use = uses[i];
        forget_trace();
        add(use.event, use.cmap);
        const auto count = std::find_if(counts.begin(), counts.end(), [&](auto &c) { return c.first == use.cmap; });
        EXPECT_EQ(reference_lines(),
                  count == counts.end() ? references_added(gold, use.cmap) : references_counted(gold, use.cmap));
        if (count == counts.end()) {
          counts.emplace_back(use.cmap, 1);
        } else {
          ++count->second;
        }
        expect_counts(counts);
      }
      for (const size_t i : going) {
        const Use &use = uses[i];
        forget_trace();
        EXPECT_EQ(zar_remove_class_from_policy(gold, use.context, use.cmap, 1), 0U);
        const auto count = std::find_if(counts.begin(), counts.end(), [&](auto &c) { return c.first == use.cmap; });
        ASSERT_NE(count, counts.end());
        const bool last = --count->second == 0;
        EXPECT_EQ(reference_lines(), last ? references_removed(gold, use.cmap) : references_lowered(gold, use.cmap));
        if (last) counts.erase(count);
        expect_counts(counts);
      }
    } while (std::next_permutation(going.begin(), going.end()));
  } while (std::next_permutation(coming.begin(), coming.end()));
  EXPECT_EQ(records_taken(kPmapRefTag), 0U);
  EXPECT_EQ(records_taken(kCmapRefTag), 0U);
}

// ---- When memory runs out

TEST_F(References, ThatThePolicyMapCannotHoldAreMissingOnBothSides) {
  fail_record(2);
  add(started, voice);
  EXPECT_EQ(reference_lines(),
            (Lines{info("(info): Updating references between pmap:0x%x, cmap:0x%x", gold, voice),
                   info("(info): Update reference: cmap:0x%p not refered by pmap:0x%p, adding to pmap",
                        at<zar_cmap>(voice), at<zar_pmap>(gold)),
                   error("(ERR): update reference: memory alloc for pmap:0x%p cmap:0x%p ref failed", at<zar_pmap>(gold),
                         at<zar_cmap>(voice))}));
  EXPECT_EQ(rules_of(started).size(), 1U);
  EXPECT_EQ(cmap_refs_of(gold), Counts{});
  EXPECT_EQ(pmap_refs_of(voice), Handles{});
}

TEST_F(References, ThatTheClassMapCannotHoldAreMissingOnItsSide) {
  fail_record(3);
  add(started, voice);
  EXPECT_EQ(reference_lines(),
            (Lines{info("(info): Updating references between pmap:0x%x, cmap:0x%x", gold, voice),
                   info("(info): Update reference: cmap:0x%p not refered by pmap:0x%p, adding to pmap",
                        at<zar_cmap>(voice), at<zar_pmap>(gold)),
                   info("(info): Update reference: pmap:0x%p not refered by cmap:0x%p, adding to cmap",
                        at<zar_pmap>(gold), at<zar_cmap>(voice)),
                   error("(ERR): update reference: memory alloc for pmap:0x%p in cmap:0x%p ref failed",
                         at<zar_pmap>(gold), at<zar_cmap>(voice))}));
  EXPECT_EQ(cmap_refs_of(gold), (Counts{{voice, 1}}));
  EXPECT_EQ(pmap_refs_of(voice), Handles{});
}

TEST_F(References, OfPoolsThatCannotBeMadeAreMissingUntilTheyCan) {
  NEEDS_FRESH_PROCESS();
  const uint32_t late = event(3);
  rule(late, voice);
  runtime::fail_request(Service::pool, 1);
  EXPECT_EQ(zar_add_event(gold, late), 0U);
  EXPECT_ERRORS(error("(ERR): update reference: memory alloc for pmap:0x%p cmap:0x%p ref failed", at<zar_pmap>(gold),
                      at<zar_cmap>(voice)));
  runtime::fail_request(Service::pool, 2);
  add(started, voice);
  EXPECT_ERRORS(error("(ERR): update reference: memory alloc for pmap:0x%p in cmap:0x%p ref failed", at<zar_pmap>(gold),
                      at<zar_cmap>(voice)));
  add(started, voice);
  EXPECT_ERRORS();
  EXPECT_EQ(cmap_refs_of(gold), (Counts{{voice, 2}}));
  EXPECT_EQ(pmap_refs_of(voice), Handles{gold});
}

TEST_F(References, AreCompletedOnTheClassMapsSideByTheNextUse) {
  fail_record(3);
  add(started, voice);
  forget_trace();
  add(stopped, voice);
  EXPECT_EQ(reference_lines(),
            (Lines{info("(info): Updating references between pmap:0x%x, cmap:0x%x", gold, voice),
                   info("(info): Update reference: cmap:0x%p already refered by pmap:0x%p, incrementing ref count",
                        at<zar_cmap>(voice), at<zar_pmap>(gold)),
                   info("(info): Update reference: pmap:0x%p not refered by cmap:0x%p, adding to cmap",
                        at<zar_pmap>(gold), at<zar_cmap>(voice)),
                   info("(info): Updating references between pmap:0x%x, cmap:0x%x, success", gold, voice)}));
  EXPECT_EQ(cmap_refs_of(gold), (Counts{{voice, 2}}));
  EXPECT_EQ(pmap_refs_of(voice), Handles{gold});
}

TEST_F(References, ThatAPolicyMapDoesNotHoldAreTracedWhenTheyShouldGo) {
  const auto *policy = at<zar_pmap>(gold);
  const auto *klass = at<zar_cmap>(voice);
  const Lines not_referred{info("(info): removing references between pmap:0x%x, cmap:0x%x", gold, voice),
                           error("(ERR): remove reference: cmap:0x%p not referred by pmap:0x%p", klass, policy)};
  fail_record(2);
  const uint32_t first = add(started, voice);
  forget_trace();
  EXPECT_EQ(zar_remove_class_from_policy(gold, &at_start, voice, 1), 0U);
  EXPECT_EQ(reference_lines(), not_referred) << "of an empty list";
  EXPECT_FALSE(live(first)) << "the class-action is deleted anyway";

  fail_record(2);
  add(started, voice);
  add(started, video);
  forget_trace();
  EXPECT_EQ(zar_remove_class_from_policy(gold, &at_start, voice, 1), 0U);
  EXPECT_EQ(reference_lines(), not_referred) << "of a list without it";
  EXPECT_EQ(cmap_refs_of(gold), (Counts{{video, 1}}));
}

TEST_F(References, ThatAClassMapDoesNotHoldAreTracedWhenTheLastGoes) {
  const auto *policy = at<zar_pmap>(gold);
  const auto *klass = at<zar_cmap>(voice);
  const Lines not_referred{
      info("(info): removing references between pmap:0x%x, cmap:0x%x", gold, voice),
      info("(info): removing reference: cmap:0x%p already refered by pmap:0x%p, decrementing ref count", klass, policy),
      error("(ERR): remove reference: pmap:0x%p not referred by cmap:0x%p", policy, klass)};
  fail_record(3);
  add(started, voice);
  forget_trace();
  EXPECT_EQ(zar_remove_class_from_policy(gold, &at_start, voice, 1), 0U);
  EXPECT_EQ(reference_lines(), not_referred) << "of an empty list";
  EXPECT_EQ(cmap_refs_of(gold), Counts{});

  const uint32_t silver = pmap("silver");
  add(event_in(silver, 1), voice);
  fail_record(3);
  add(started, voice);
  forget_trace();
  EXPECT_EQ(zar_remove_class_from_policy(gold, &at_start, voice, 1), 0U);
  EXPECT_EQ(reference_lines(), not_referred) << "of a list without it";
  EXPECT_EQ(cmap_refs_of(gold), Counts{});
  EXPECT_EQ(pmap_refs_of(voice), Handles{silver});
  EXPECT_EQ(records_taken(kPmapRefTag), 1U);
}

TEST(ReferencesUnderFaults, AreFreedWhateverWasMissing) {
  for_each_fault([](FaultClock &clock) {
    World world;
    const uint32_t gold = world.pmap("gold");
    const uint32_t voice = world.cmap("voice");
    const uint32_t video = world.cmap("video");
    const uint32_t started = world.event_in(gold, 1);
    const uint32_t stopped = world.event_in(gold, 2);
    const auto before = world.everything();
    uint32_t out = 0;
    clock.during([&] {
      for (const uint32_t event : {started, stopped})
        for (const uint32_t cmap : {voice, video})
          zar_add_class_to_event(event, cmap, 0, 1, &out);
    });
    for (const uint32_t id : {1U, 2U}) {
      const zar_event_context context = World::event_context(id);
      for (const uint32_t cmap : {video, voice})
        EXPECT_EQ(zar_remove_class_from_policy(gold, &context, cmap, 1), 0U);
    }
    EXPECT_EQ(world.everything(), before);
  });
}

}  // namespace
