// Random walks over the whole interface, compared with the model.
//
//   model_walk [--steps N] [--seed S] [--trace on|off|both] [--calls N] [--cases N] [--look-every N]
//   model_walk --reentry yes ...         clients whose functions call the library back; without rapidcheck's part
//   model_walk --session SEED            one session, each call printed before it is made
//   model_walk --session SEED --shrink yes    the shortest calls of one that ends the process
//   model_walk --transcript FILE ...     and every call with what came of it, in a form that any build writes alike
//
// After every step the whole repository is compared with the model, or after every nth one (--look-every).
//
// A part of the walk is rapidcheck's, which generates and shrinks. It makes some thousand steps a second; the bulk of the
// steps therefore comes from a plain random stream through the same decoder, and what fails there is shrunk with
// rapidcheck's means.
#include <rapidcheck.h>

#include <sys/wait.h>
#include <unistd.h>
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "tests/support/leaks.h"
#include "tests/walk/walk.h"

using walk::Options;
using Calls = std::vector<calls::Call>;

namespace calls {

void showValue(const Call &call, std::ostream &out) {
  out << operation(call.op).name;
}

}  // namespace calls

namespace rc {

template <>
struct Arbitrary<calls::Call> {
  static Gen<calls::Call> arbitrary() {
    return gen::map(gen::arbitrary<std::array<uint8_t, calls::kMostBytes + 2>>(),
                    [](const auto &bytes) { return calls::call_of(bytes); });
  }
};

}  // namespace rc

namespace {

struct Settings {
  uint64_t steps = 1000000;
  uint64_t seed = 20240229;
  size_t calls = 0;  // of a session; 0: as many as suit the walk
  size_t cases = 1000;
  unsigned look_every = 1;
  std::string trace = "both";
  std::string transcript;
  uint64_t session = 0;
  bool reentry = false;
  bool shrink = false;
};

uint64_t session_seed = 0;

// A session that ends the process at least prints which one it was.
void on_end() {
  char line[100];
  const int length =
      std::snprintf(line, sizeof line, "the end of session %llu; see it with --session %llu\n",
                    static_cast<unsigned long long>(session_seed), static_cast<unsigned long long>(session_seed));
  if (length > 0) (void)!write(STDERR_FILENO, line, static_cast<size_t>(length));
}

#ifdef RIG_LEAK_CHECK
void watch_for_ends() {
  __sanitizer_set_death_callback(on_end);
}
#else
void on_signal(int signal) {
  on_end();
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

void watch_for_ends() {
  for (int signal : {SIGSEGV, SIGABRT, SIGFPE, SIGBUS})
    std::signal(signal, on_signal);
}
#endif

// ---- Shrinking

Calls calls_of(const Settings &settings, uint64_t seed) {
  return settings.reentry ? walk::reentrant_calls(seed, settings.calls) : walk::random_calls(seed, settings.calls);
}

std::vector<uint8_t> simpler_bytes(uint8_t byte) {
  std::vector<uint8_t> simpler;
  if (byte > 0) simpler.push_back(0);
  if (byte >= 8) simpler.push_back(byte % 8);
  if (byte > 1) simpler.push_back(byte / 2);
  return simpler;
}

rc::Seq<calls::Call> simpler_calls(const calls::Call &call) {
  std::vector<calls::Call> simpler;
  for (size_t i = 0; i < calls::bytes_of(call.op); ++i)
    for (uint8_t byte : simpler_bytes(call.bytes[i])) {
      simpler.push_back(call);
      simpler.back().bytes[i] = byte;
    }
  for (uint8_t place = 0; place < call.within; ++place) {
    simpler.push_back(call);
    simpler.back().within = place;
  }
  return rc::seq::fromContainer(simpler);
}

// Fewer calls first, then simpler ones.
template <typename Fails>
Calls shrunk(const Calls &failing, Fails fails) {
  const auto tree = rc::shrinkable::shrinkRecur(failing, [](const Calls &calls) {
    return rc::seq::concat(rc::shrink::removeChunks(calls), rc::shrink::eachElement(calls, simpler_calls));
  });
  return rc::shrinkable::findLocalMin(tree, fails).first;
}

// Whether the calls go wrong in a process of their own, whose end they may be.
bool fails_in_a_child(const Calls &calls, Options options) {
  std::fflush(stdout);
  const pid_t child = fork();
  if (child == 0) {
    const bool quiet = !options.print_first;
    if (quiet && std::freopen("/dev/null", "w", stderr) == nullptr) _exit(1);
    _exit(walk::run(calls, options).empty() ? 0 : 1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return status != 0;
}

int report(const Calls &failing, const Options &options, uint64_t seed) {
  std::printf("session %llu goes wrong: %s\n", static_cast<unsigned long long>(seed),
              walk::run(failing, options).c_str());
  std::printf(
      "the shortest calls that do so:\n%s",
      walk::listed(shrunk(failing, [&](const Calls &calls) { return !walk::run(calls, options).empty(); }), options)
          .c_str());
  return 1;
}

int report_in_children(const Calls &calls, Options options) {
  const auto fails = [&](const Calls &fewer) { return fails_in_a_child(fewer, options); };
  if (!fails(calls)) return 0;
  const Calls least = shrunk(calls, fails);
  options.print_first = true;
  fails_in_a_child(least, options);
  return 1;
}

// ---- The two parts of the walk

bool rapidcheck_walk(const Settings &settings, const Options &options, walk::Steps &steps) {
  const std::string parameters = "seed=" + std::to_string(settings.seed) +
                                 " max_success=" + std::to_string(settings.cases) +
                                 " max_size=" + std::to_string(settings.calls);
  setenv("RC_PARAMS", parameters.c_str(), 1);
  std::printf("rapidcheck: %s\n", parameters.c_str());
  return rc::check("the library and the model do the same", [&](const Calls &calls) {
    if (walk::run(calls, options, &steps).empty()) return;
    RC_FAIL("\n" + walk::listed(calls, options));
  });
}

int bulk_walk(const Settings &settings, Options options, walk::Steps &steps) {
  options.look_every = settings.look_every;
  for (uint64_t i = 0; steps.all < settings.steps; ++i) {
    session_seed = settings.seed + i;
    options.trace = settings.trace == "on" || (settings.trace == "both" && i % 8 == 7);
    const Calls calls = calls_of(settings, session_seed);
    if (!walk::run(calls, options, &steps).empty()) {
      options.look_every = 1;
      return report(calls, options, session_seed);
    }
  }
  return 0;
}

int one_session(const Settings &settings, Options options) {
  options.trace = settings.trace == "on";
  const Calls calls = calls_of(settings, settings.session);
  if (settings.shrink) return report_in_children(calls, options);
  options.print_first = true;
  const std::string failure = walk::run(calls, options);
  std::printf("%s\n", failure.empty() ? "nothing goes wrong" : failure.c_str());
  return failure.empty() ? 0 : 1;
}

// A walk without nested calls of each depth proves nothing.
int report_depths(const walk::Steps &steps) {
  unsigned long long all = 0;
  for (const uint64_t within : steps.within)
    all += within;
  std::printf("within functions of clients: %llu, one to three deep:", all);
  for (const uint64_t within : steps.within)
    std::printf(" %llu", static_cast<unsigned long long>(within));
  std::printf("\n");
  return std::find(steps.within.begin(), steps.within.end(), 0U) == steps.within.end() ? 0 : 1;
}

int walk_through(const Settings &settings) {
  Options options;
  if (settings.transcript == "-") options.transcript = stdout;
  if (!settings.transcript.empty() && settings.transcript != "-")
    options.transcript = std::fopen(settings.transcript.c_str(), "w");
  if (settings.session != 0) return one_session(settings, options);

  const auto start = std::chrono::steady_clock::now();
  walk::Steps of_rapidcheck;
  walk::Steps steps;
  const bool reports = options.transcript == nullptr;
  if (reports && settings.cases > 0 && !rapidcheck_walk(settings, options, of_rapidcheck)) return 1;
  if (reports)
    std::printf("bulk: seeds from %llu, trace %s\n", static_cast<unsigned long long>(settings.seed),
                settings.trace.c_str());
  if (const int failed = bulk_walk(settings, options, steps)) return failed;
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  const uint64_t all = steps.all + of_rapidcheck.all;
  std::fprintf(reports ? stdout : stderr,
               "%llu steps (%llu of rapidcheck) beside the model, compared after every %u, %.0f a second\n",
               static_cast<unsigned long long>(all), static_cast<unsigned long long>(of_rapidcheck.all),
               settings.look_every, static_cast<double>(all) / seconds.count());
  return settings.reentry ? report_depths(steps) : 0;
}

}  // namespace

int main(int count, char **arguments) {
  Settings settings;
  for (int i = 1; i + 1 < count; i += 2) {
    const std::string name = arguments[i];
    const std::string value = arguments[i + 1];
    if (name == "--steps") settings.steps = std::stoull(value);
    if (name == "--seed") settings.seed = std::stoull(value);
    if (name == "--calls") settings.calls = std::stoull(value);
    if (name == "--cases") settings.cases = std::stoull(value);
    if (name == "--look-every") settings.look_every = static_cast<unsigned>(std::max(1UL, std::stoul(value)));
    if (name == "--trace") settings.trace = value;
    if (name == "--transcript") settings.transcript = value;
    if (name == "--reentry") settings.reentry = value == "yes";
    if (name == "--shrink") settings.shrink = value == "yes";
    if (name == "--session") settings.session = std::stoull(value);
  }
  // Functions that call back have something to walk over while what a session begins with is there.
  if (settings.reentry) settings.cases = 0;
  if (settings.calls == 0) settings.calls = settings.reentry ? 500 : 400;
  watch_for_ends();
  return walk_through(settings);
}
