// Every operation that takes a handle, with every handle that names nothing, every kind of record that the operation does
// not take, and every one that it takes.
#include <algorithm>
#include <set>

#include "handles/rows.h"

using namespace handles;

namespace {

constexpr const char *kGenerated[][2] = {
#define ZAR_HANDLE_ARGUMENT(operation, argument) {#operation, #argument},
#include "handle_arguments.inc"
#undef ZAR_HANDLE_ARGUMENT
};

using Names = std::set<std::string>;

Names names_in_headers() {
  Names names;
  for (const auto &[operation, argument] : kGenerated)
    names.insert(std::string(operation) + " " + argument);
  return names;
}

Names names_in_table() {
  Names names;
  for (const Row &row : rows())
    EXPECT_TRUE(names.insert(row.operation + " " + row.argument).second) << row.operation << " is there twice";
  return names;
}

Names without(const Names &from, const Names &what) {
  Names rest;
  std::set_difference(from.begin(), from.end(), what.begin(), what.end(), std::inserter(rest, rest.end()));
  return rest;
}

bool takes(const Row &row, Kind kind) {
  return std::find(row.kinds.begin(), row.kinds.end(), kind) != row.kinds.end();
}

uint32_t subject_of(Scene &scene, const Row &row, Kind kind) {
  switch (row.subject) {
    case Subject::linked:
      return scene.linked.of(kind);
    case Subject::spare:
      return scene.spare.of(kind);
    case Subject::stored_cmap_alone:
      return scene.stored_cmap_alone;
    case Subject::statement_action:
      return scene.statement_action;
  }
  return 0;
}

std::vector<Stranger> strangers_to(Scene &scene, const Row &row) {
  std::vector<Stranger> strangers = handles_of_nothing(scene, row.kinds.empty() ? Kind::pmap : row.kinds.front());
  for (Kind kind : kKinds)
    if (!takes(row, kind)) strangers.push_back(of_another_kind(scene, kind));
  return strangers;
}

Lines with_look_up(const Lines &lines, const Lines &look_up_lines) {
  Lines all;
  for (const Line &line : lines) {
    if (line == look_up)
      all.insert(all.end(), look_up_lines.begin(), look_up_lines.end());
    else
      all.push_back(line);
  }
  return all;
}

const Refusal &refusal_of(const Row &row, uint32_t handle) {
  return handle == 0 && row.of_zero ? *row.of_zero : row.refusal;
}

struct OnRow : ::testing::TestWithParam<Row> {
  void TearDown() override { EXPECT_EQ(runtime::complaints(), std::vector<std::string>{}) << "misuse of the runtime"; }

  void expect_refused(Scene &scene, const Stranger &stranger, const std::string &before) {
    SCOPED_TRACE(stranger.name);
    const Row &row = GetParam();
    const Refusal &refusal = refusal_of(row, stranger.handle);
    const Lines expected = with_look_up(refusal.says(scene, stranger.handle), stranger.look_up);
    scene.out = kUntouched;
    rig::forget_trace();

    EXPECT_EQ(row.call(scene, stranger.handle), refusal.answer);
    EXPECT_EQ(rig::take_trace(), expected);
    EXPECT_EQ(rig::take_calls(), row.calls);
    EXPECT_EQ(scene.out, refusal.out);
    EXPECT_EQ(scene.everything(), before);
  }

  void expect_accepted(Scene &scene, uint32_t handle) {
    const Row &row = GetParam();
    if (row.operation == "zar_delete_target") rig::breaks_invariants("a target that stands in a tree is deleted");
    scene.out = kUntouched;
    rig::forget_trace();
    EXPECT_EQ(row.call(scene, handle), row.accepted);
    // A level-6 line can be a refusal too: that of a policy-map or a target without context.
    for (const Line &line : rig::take_trace()) {
      EXPECT_NE(line.level, 3U) << line;
      EXPECT_EQ(line.text.find("cannot be NULL"), std::string::npos) << line;
    }
  }
};

struct StrangeHandles : OnRow {};

TEST_P(StrangeHandles, AreRefusedAndChangeNothing) {
  Scene scene;
  const std::vector<Stranger> strangers = strangers_to(scene, GetParam());
  rig::take_calls();
  const std::string before = scene.everything();
  for (const Stranger &stranger : strangers)
    expect_refused(scene, stranger, before);
}

struct GoodHandles : OnRow {};

TEST_P(GoodHandles, AreAcceptedFromLibraryAndCaller) {
  for (Kind kind : GetParam().kinds) {
    SCOPED_TRACE(name_of(kind));
    {
      SCOPED_TRACE("issued by the library");
      Scene scene;
      expect_accepted(scene, subject_of(scene, GetParam(), kind));
    }
    {
      SCOPED_TRACE("issued for the caller");
      Scene scene;
      expect_accepted(scene, scene.adopt(kind, subject_of(scene, GetParam(), kind)));
    }
  }
}

std::vector<Row> rows_that_take_records() {
  std::vector<Row> taking = rows();
  std::erase_if(taking, [](const Row &row) { return row.kinds.empty(); });
  return taking;
}

std::string name_of_row(const ::testing::TestParamInfo<Row> &info) {
  return info.param.operation + "__" + info.param.argument;
}

INSTANTIATE_TEST_SUITE_P(EveryOperation, StrangeHandles, ::testing::ValuesIn(rows()), name_of_row);
INSTANTIATE_TEST_SUITE_P(EveryOperation, GoodHandles, ::testing::ValuesIn(rows_that_take_records()), name_of_row);

TEST(HandleTable, HasARowForEveryHandleArgumentInTheHeaders) {
  EXPECT_EQ(without(names_in_headers(), names_in_table()), Names{}) << "the headers have it, the table lacks it";
  EXPECT_EQ(without(names_in_table(), names_in_headers()), Names{}) << "the table has it, the headers do not";
}

}  // namespace
