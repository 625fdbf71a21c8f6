#include "tests/walk/session.h"

#include <algorithm>
#include <limits>
#include <string_view>
#include <utility>

#include "platform/runtime.h"
#include "tests/support/leaks.h"
#include "tests/walk/partial.h"

namespace walk {
namespace {

using calls::text;

constexpr std::string_view kNotify = "notify ";
constexpr uint32_t kErrorsAndInfos = 1U << 3 | 1U << 6;

model::Kind kind_of(calls::Param kind) {
  switch (kind) {
    case calls::Param::pmap:
      return model::Kind::pmap;
    case calls::Param::cmap:
      return model::Kind::cmap;
    case calls::Param::action:
      return model::Kind::action;
    case calls::Param::filter:
      return model::Kind::filter;
    case calls::Param::target:
      return model::Kind::target;
    default:
      return model::Kind::pmtr_map;
  }
}

// Whether 'line' is the notification with fewer targets, but not without any.
bool is_shorter_list(const std::string &line, const std::string &notification) {
  return line.starts_with(kNotify) && notification.starts_with(line) && !line.ends_with(':');
}

void *record_of(const void *model, calls::Param kind, uint32_t handle) {
  const model::Object *object = static_cast<const model::Model *>(model)->any_behind(handle);
  return object != nullptr && object->kind == kind_of(kind) ? object->record : nullptr;
}

// Addresses differ from run to run and from build to build.
std::string without_addresses(const std::string &line) {
  constexpr size_t kShortest = 9;  // handles are shorter
  std::string out;
  for (size_t i = 0; i < line.size();) {
    if (line.compare(i, 2, "0x") != 0) {
      out += line[i++];
      continue;
    }
    size_t end = i + 2;
    while (end < line.size() && (std::isxdigit(static_cast<unsigned char>(line[end])) != 0 || line[end] == 'x'))
      ++end;
    if (end - i - 2 >= kShortest) {
      out += "ADDRESS";
    } else {
      out.append(line, i, end - i);
    }
    i = end;
  }
  return out;
}

}  // namespace

Session::Session(const Options &options) : options_(options), scene_(*options.alphabet) {
  const rig::LosesOnPurpose what_lives_as_long_as_the_process;
  runtime::clear_faults();
  runtime::clear_complaints();
  runtime::want_trace_levels(options_.trace ? kErrorsAndInfos : 0);
  runtime::trace_to([this](const runtime::TraceLine &line) {
    if (options_.transcript != nullptr) trace_ += text("%u ", line.level) + line.text + '\n';
    if (options_.trace) lines_.push_back(line.text);
  });
  calls::when_called() = [this] { called(); };
  model_.when_called = [this] {
    if (under_way_.empty()) return;
    Progress &progress = *under_way_.back();
    if (progress.following && model_.log.size() == progress.lines_to_follow) progress.following->wait();
  };
  before_ = runtime::inventory();
  calls::engine() = {};
  calls::log().clear();
  zar_init();
  zar_init_internal_cmap_compare(0);  // its table outlives every start
  start_clients();
}

Session::~Session() {
  calls::when_called() = nullptr;
  runtime::clear_faults();
  runtime::want_trace_levels(0);
  runtime::trace_to(nullptr);
  calls::end_target_lists();
  zar_handle_table_destroy();
  bfree_named(zar_clients_info);
  zar_clients_info = nullptr;
}

// Client one owns the default database, client two works in it, and client three has its own. Client one also owns the
// domain of most maps.
void Session::start_clients() {
  for (const char *name : {"one", "two", "three"}) {
    zar_db *database = nullptr;
    if (*name != 't' || name[1] == 'h') {
      zar_create_database(&database);
      scene_.know(database);
      model_.databases.push_back(std::make_unique<model::Database>());
      model_.databases.back()->record = database;
    }
    uint32_t clid = 0;
    zar_client_register(name, database, &clid);
    model_.clients.push_back({name, model_.database_at(database), true, false});
  }
  zar_register_domain(1, "d");
  model_.domains.emplace_back("d", 1);
}

bool Session::fail(const std::string &what) {
  if (failure_.empty()) failure_ = what;
  return false;
}

void Session::list_call(Progress &progress) {
  std::string line = progress.arguments.rendered;
  if (!under_way_.empty())
    line = std::string(4 * under_way_.size(), ' ') + "in \"" + calls::log().back() + "\": " + line;
  if (options_.print_first) std::fprintf(stderr, "%s\n", line.c_str());
  if (options_.lines == nullptr) return;
  progress.line_number = options_.lines->size();
  options_.lines->push_back(line);
}

void Session::resolve(Progress &progress) {
  scene_.clients = static_cast<uint32_t>(model_.clients.size());
  scene_.rendering = options_.lines != nullptr || options_.print_first || options_.transcript != nullptr;
  scene_.resolve(progress.call, progress.arguments, &model_, record_of);
}

bool Session::step(const calls::Call &call) {
  const rig::LosesOnPurpose what_lives_as_long_as_the_process;
  Progress progress(call);
  resolve(progress);
  // The running call continues with the results that it got from the trees.
  auto asked = std::exchange(model_.asked, {});
  model_.foresee(call, progress.arguments);
  bool good = true;
  if (model_.fair(call, progress.arguments)) {
    list_call(progress);
    auto log = std::exchange(calls::log(), {});
    auto expected_log = std::exchange(model_.log, {});
    auto trace = std::exchange(trace_, {});
    auto lines = std::exchange(lines_, {});
    if (options_.trace) progress.refusals.emplace(model_, call, progress.arguments);
    good = follow(progress, make(progress));
    calls::log() = std::move(log);
    model_.log = std::move(expected_log);
    trace_ = std::move(trace);
    lines_ = std::move(lines);
  }
  model_.asked = std::move(asked);
  return good;
}

calls::Answer Session::make(Progress &progress) {
  under_way_.push_back(&progress);
  return calls::operation(progress.call.op).call(progress.arguments);
}

// The effects of a call are compared when it ends; the repository, when no call is running any more.
bool Session::follow(Progress &progress, const calls::Answer &answer) {
  ++steps_;
  if (under_way_.size() > 1) ++steps_within_[under_way_.size() - 2];
  const size_t databases = model_.databases.size();
  progress.seen.ends(answer);
  if (!progress.following) {
    model_.follow(progress.call, progress.arguments, progress.seen);
  } else if (failure_.empty()) {
    progress.lines_to_follow = std::numeric_limits<size_t>::max();
    if (!progress.following->ended()) progress.following->resume();
  }
  progress.following.reset();
  under_way_.pop_back();
  if (under_way_.empty()) calls::end_target_lists();
  if (!failure_.empty()) return false;

  progress.seen.judge();
  if (model_.databases.size() > databases) scene_.know(model_.databases.back()->record);
  write_transcript(progress.arguments, answer);
  if (options_.lines != nullptr)
    (*options_.lines)[progress.line_number] += text(" -> %lu", static_cast<unsigned long>(answer.value));
  if (!progress.seen.failure().empty()) return fail(progress.seen.failure());
  if (progress.refusals && !names_what_it_refused(*progress.refusals, answer)) return false;
  if (!compare()) return false;
  scene_.keep_results(progress.call, progress.arguments);
  return true;
}

bool Session::names_what_it_refused(const model::Refusals &refusals, const calls::Answer &answer) {
  const std::string difference = refusals.difference(lines_, answer.value == model::kInvalid);
  return difference.empty() || fail(difference);
}

bool Session::compare_lines(size_t count) {
  const auto &made = calls::log();
  for (size_t i = 0; i < count; ++i) {
    const std::string was = i < made.size() ? made[i] : "nothing";
    const std::string expected = i < model_.log.size() ? model_.log[i] : "nothing";
    if (was != expected)
      return fail(
          std::string("the client or the engine was called for \"").append(was).append("\", not \"").append(expected) +
          "\"");
  }
  return true;
}

bool Session::compare() {
  if (!compare_lines(std::max(calls::log().size(), model_.log.size()))) return false;
  if (!runtime::complaints().empty()) return fail("misuse of the runtime: " + runtime::complaints().front());
  return !under_way_.empty() || steps_ % options_.look_every != 0 || look();
}

// ---- Calls within functions that the library calls

bool Session::steps(std::span<const calls::Call> calls) {
  to_make_ = calls;
  while (!to_make_.empty()) {
    const calls::Call &call = to_make_.front();
    take_call();
    if (call.within == 0 && !step(call)) return false;
  }
  return true;
}

void Session::take_call() {
  to_make_ = to_make_.subspan(1);
  functions_until_next_ = to_make_.empty() ? 0 : to_make_.front().within;
}

// The library is calling a function of a client.
void Session::called() {
  if (!failure_.empty() || under_way_.empty() || under_way_.size() > kDepth) return;
  while (functions_until_next_ > 0 && --functions_until_next_ == 0) {
    const calls::Call &call = to_make_.front();
    take_call();
    if (!catch_up(*under_way_.back()) || !step(call)) return;
  }
}

// Lets the model catch up with the library.
bool Session::catch_up(Progress &progress) {
  progress.lines_to_follow = calls::log().size();
  if (!progress.following)
    progress.following.emplace([&](Fiber &) { model_.follow(progress.call, progress.arguments, progress.seen); });
  if (!progress.following->ended() && model_.log.size() < progress.lines_to_follow) progress.following->resume();
  return compare_lines(progress.lines_to_follow);
}

// ---- The whole repository

bool Session::look() {
  const std::string difference = model_.difference();
  return difference.empty() || fail(difference);
}

void Session::write_transcript(const calls::Arguments &arguments, const calls::Answer &answer) {
  if (options_.transcript == nullptr) return;
  std::string lines = arguments.rendered;
  constexpr uint64_t kLargestNumber = 0xffffffff;
  lines += answer.value > kLargestNumber ? " -> something" : text(" -> %lu", static_cast<unsigned long>(answer.value));
  if (answer.text) lines += " \"" + *answer.text + '"';
  for (uint32_t number : arguments.numbers_out)
    if (number != 0 && number != calls::kUntouched) lines += text(" out 0x%x", number);
  lines += '\n';
  for (const std::string &line : calls::log())
    lines += "  " + line + '\n';
  lines += trace_;
  const std::string shown = without_addresses(lines);
  std::fwrite(shown.data(), 1, shown.size(), options_.transcript);
}

// ---- Faults

bool Session::step_with_fault(const calls::Call &call, const FaultPlan &plan) {
  const rig::LosesOnPurpose what_lives_as_long_as_the_process;
  for (const uint64_t nth : plan.requests) {
    const Outcome outcome = attempt(call, nth, plan.mode);
    if (outcome != Outcome::again) return outcome != Outcome::wrong;
  }
  return step(call);
}

Session::Outcome Session::attempt(const calls::Call &call, uint64_t nth, runtime::Fault mode) {
  Progress progress(call);
  resolve(progress);
  model_.log.clear();
  model_.asked.clear();
  model_.foresee(call, progress.arguments);
  if (!model_.fair(call, progress.arguments)) return Outcome::done;
  list_call(progress);
  if (options_.lines != nullptr)
    options_.lines->back() += text(", request %lu failing", static_cast<unsigned long>(nth));

  const runtime::Inventory before = runtime::inventory();
  const uint64_t injected = runtime::injected_faults();
  const calls::Engine engine_before = calls::engine();
  calls::log().clear();
  runtime::record_requests(true);
  runtime::fail_request(nth, mode);
  const calls::Answer answer = make(progress);
  runtime::clear_faults();
  runtime::record_requests(false);

  // It made fewer than n requests: it behaved as usual.
  if (runtime::injected_faults() == injected) return follow(progress, answer) ? Outcome::done : Outcome::wrong;
  under_way_.pop_back();
  calls::end_target_lists();
  ++faults_;
  for (const runtime::Request &request : runtime::recorded_requests())
    if (request.failed) ++faults_by_service_[request.service];
  if (!runtime::complaints().empty()) {
    fail("misuse of the runtime: " + runtime::complaints().front());
    return Outcome::wrong;
  }
  return judge(progress, answer, before, engine_before);
}

Session::Outcome Session::judge(Progress &progress, const calls::Answer &answer, const runtime::Inventory &before,
                                const calls::Engine &engine_before) {
  const Partial *described = partial_state_of(progress.call.op);
  static const std::vector<uint64_t> kOtherwise = {37, 38};
  const auto &answers = described == nullptr ? kOtherwise : described->answers;
  const bool reported = std::find(answers.begin(), answers.end(), answer.value) != answers.end();
  if (!reported && !answer.text) {
    fail(text("returned %lu although a request failed", static_cast<unsigned long>(answer.value)));
    return Outcome::wrong;
  }
  if (described != nullptr && !described->left.empty()) {
    partial_ = true;
    progress.seen.ends(answer);
    return leaves(*described, progress, before) ? Outcome::partial : Outcome::wrong;
  }
  const std::string difference = model_.difference();
  if (!difference.empty() || !(runtime::inventory() == before)) {
    fail("after a failed request " +
         (difference.empty() ? std::string("other things are live than before") : difference));
    return Outcome::wrong;
  }
  calls::engine() = engine_before;
  return Outcome::again;
}

bool Session::leaves(const Partial &described, Progress &progress, const runtime::Inventory &before) {
  if (!options_.left_state) return true;
  const LeftState &state = described.left[*options_.left_state];
  state.apply({model_, progress.call, progress.arguments, progress.seen, before});
  std::string wrong = progress.seen.failure();
  if (wrong.empty()) wrong = model_.difference();
  if (wrong.empty() && state.all_called) wrong = called_otherwise();
  return wrong.empty() || fail(text("after a failed request, if it leaves \"%s\": ", state.what) + wrong);
}

// The first difference that is not a missing notification or a notification without some of the targets; empty if there
// is none.
std::string Session::called_otherwise() {
  const auto &made = calls::log();
  size_t at = 0;
  for (const std::string &line : model_.log) {
    const bool notification = line.starts_with(kNotify);
    const bool fits = at < made.size() && (made[at] == line || (notification && is_shorter_list(made[at], line)));
    if (fits) ++at;
    if (!fits && !notification) return "\"" + line + "\" was not called";
  }
  return at == made.size() ? "" : "\"" + made[at] + "\" was called";
}

// ---- The end

bool Session::finish() {
  return delete_everything() && nothing_leaked();
}

bool Session::delete_everything() {
  const rig::LosesOnPurpose what_the_model_counts;
  calls::engine().refusal = model_.refusal = calls::Refusal::none;
  std::vector<std::string> wrong;
  const auto deleted = [&](const char *what, uint32_t status) {
    if (status != 0) wrong.push_back(text("%s returned %u at the end", what, status));
  };
  for (const auto &database : model_.databases) {
    deleted("zar_destroy_database", zar_destroy_database(database->record));
    model_.destroy(*database);
  }
  for (model::Target *target : model_.all<model::Target>()) {
    deleted("zar_delete_target", zar_delete_target(target->handle));
    model_.delete_target(*target);
  }
  for (model::Event *event : model_.all<model::Event>()) {
    deleted("zar_delete_event", zar_delete_event(event->handle));
    model_.delete_event(*event);
  }
  for (model::Pmap *pmap : model_.all<model::Pmap>()) {
    deleted("zar_delete_policy", zar_delete_policy(pmap->handle));
    model_.delete_policy(*pmap);
  }
  for (model::PmtrMap *map : model_.all<model::PmtrMap>()) {
    deleted("zar_delete_pmtr_map", zar_delete_pmtr_map(map->handle));
    model_.delete_pmtr_map(*map);
  }
  for (model::Cmap *cmap : model_.all<model::Cmap>()) {
    deleted("zar_delete_class", zar_delete_class(cmap->handle));
    model_.free_class(*cmap);
  }
  for (model::Filter *filter : model_.all<model::Filter>()) {
    deleted("zar_delete_filter", zar_delete_filter(filter->handle));
    model_.free_filter(*filter);
  }
  for (model::Action *action : model_.all<model::Action>())
    for (uint32_t refs = action->refs; refs > 0; --refs) {
      deleted("zar_delete_action", zar_delete_action(action->handle));
      model_.drop_reference(*action);
    }
  calls::end_target_lists();
  if (!runtime::complaints().empty()) return fail("misuse of the runtime: " + runtime::complaints().front());
  return wrong.empty() || fail(wrong.front());
}

// Only the objects from before, the clients with their databases and domains, and documented losses are still live.
bool Session::nothing_leaked() {
  const std::vector<model::Pmap *> builtin = model_.all<model::Pmap>();  // they are emptied, never freed
  const runtime::Inventory now = runtime::inventory();
  const auto expect = [&](const char *what, size_t is, size_t should_be) {
    return is == should_be || fail(text("%zu %s are live at the end, not %zu", is, what, should_be));
  };
  const auto named = [](const model::Client &client) { return client.named; };
  const auto names = static_cast<size_t>(std::count_if(model_.clients.begin(), model_.clients.end(), named));
  size_t blocks_before = 0;
  size_t blocks = 0;
  for (const auto &[tag, count] : before_.blocks)
    blocks_before += count;
  for (const auto &[tag, count] : now.blocks)
    blocks += count;
  std::map<std::string, uint32_t> texts = before_.texts;
  for (const auto &[lost, count] : model_.lost_texts)
    texts[lost] += count;
  for (const model::Pmap *pmap : builtin) {
    ++texts[pmap->name];
    ++texts[pmap->domain];
  }
  const size_t maps = builtin.size();
  const size_t domains = model_.domains.size();
  const size_t databases = model_.databases.size();
  const size_t live_records = model_.clients.size() + domains + databases + maps;
  const size_t live_blocks = 1 + names + domains + 4 * databases + maps;  // 1: the table of clients
  return expect("ids", now.ids, before_.ids + maps + model_.lost_ids) &&
         expect("records", now.records, before_.records + live_records + model_.lost_records) &&
         expect("blocks", blocks, blocks_before + live_blocks + model_.lost_blocks) &&
         expect("queue entries", now.queue_entries, before_.queue_entries) &&
         (now.texts == texts || fail("the texts that are interned at the end are not those expected"));
}

}  // namespace walk
