// Fuzzes streams: any bytes are lines that are played, or bad lines with a reason, and every result is JSON.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "simulator/policy/load.h"
#include "simulator/stream/render.h"
#include "simulator/stream/totals.h"
#include "simulator/text/json.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace {

using namespace simulator;

constexpr const char *kPolicy = R"(
clients: {c: {database: own}}
domains: {d: {owner: c}}
class-maps:
  all: {}
  many: {filters: [{attribute: n, range: {min: 2}}]}
  named: {match: any, filters: [{attribute: s, prefix: a}, {attribute: s, regex: "b+$"}]}
parameter-maps:
  m: {statements: [{index: 1, filters: [{attribute: n, equals: 1}], actions: [{set: {s: abb}}]}]}
policy-maps:
  p:
    events:
      e:
        rules:
          - {number: 1, class: all, actions: [{count: n}, {apply: m}]}
          - {number: 2, class: many, actions: [{log: many}, deny]}
          - {number: 3, class: named, actions: [{raise: f}, permit]}
      f: {rules: [{number: 1, class: all, actions: [{clear: n}, {raise: f}]}]}
  q: {events: {e: {match: first, rules: [{number: 1, class: named, actions: [permit]}]}}}
targets: {t: {policies: [p]}}
)";

PolicyFile policy() {
  const Source source("fuzz.yaml", kPolicy);
  Diagnostics diagnostics;
  return std::move(*load(source, diagnostics));
}

// The bytes in pieces of 1 to 32, as a pipe may give them.
class Pieces {
 public:
  Pieces(const uint8_t *data, size_t size) : data_(data), left_(size) {}

  size_t operator()(char *to, size_t room) {
    const size_t got = std::min({room, left_, size_t{1} + left_ % 32});
    std::copy_n(data_, got, to);
    data_ += got;
    left_ -= got;
    return got;
  }

 private:
  const uint8_t *data_;
  size_t left_;
};

void play_all(PolicyFile &file, Repository &repository, stream::Lines &lines) {
  stream::Player player(file, repository);
  stream::JsonRenderer renderer(player.rules());
  stream::Totals totals(player.rules().size());
  stream::Line line;
  while (lines.next(line)) {
    const stream::Played &played = player.play(line);
    const bool is_event = played.error.empty() && played.request->is == stream::Request::Is::event;
    if (player.is_broken() || is_event != (played.happened != nullptr)) std::abort();
    std::string output;
    renderer.append(output, played);
    if (output.empty() != (played.error.empty() && !is_event)) std::abort();
    if (!output.empty() && !Json::accept(output)) std::abort();
    totals.count(counted(played));
  }
  if (repository.extent().targets + totals.deleted != file.targets.size() + totals.added) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  PolicyFile file = policy();
  Repository repository(file);
  if (!repository.build()) std::abort();
  stream::Lines lines(Pieces(data, size));
  play_all(file, repository, lines);
  if (!repository.finish().empty()) std::abort();
  return 0;
}
