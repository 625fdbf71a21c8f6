// Runs the jobs of one program:  bench_names --objects=10000 [Google Benchmark's options]
#include <cstdlib>
#include <cstring>

#include "support/jobs.h"

namespace {

constexpr char kObjects[] = "--objects=";
constexpr uint32_t kFewObjects = 1000;

// Removes the option from the arguments, since Google Benchmark refuses unknown ones.
uint32_t take_objects(int &count, char **arguments) {
  uint32_t n_objects = kFewObjects;
  int kept = 0;
  for (int at = 0; at < count; ++at) {
    if (std::strncmp(arguments[at], kObjects, sizeof kObjects - 1) == 0)
      n_objects = static_cast<uint32_t>(std::strtoul(arguments[at] + sizeof kObjects - 1, nullptr, 10));
    else
      arguments[kept++] = arguments[at];
  }
  arguments[kept] = nullptr;
  count = kept;
  return n_objects;
}

}  // namespace

uint64_t bench::zero() {
  volatile uint64_t hidden = 0;
  return hidden;
}

int main(int count, char **arguments) {
  uint32_t n_objects = take_objects(count, arguments);
  benchmark::AddCustomContext("objects", std::to_string(n_objects));
  benchmark::Initialize(&count, arguments);
  if (n_objects == 0 || benchmark::ReportUnrecognizedArguments(count, arguments)) return EXIT_FAILURE;
  bench::register_jobs(n_objects);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return EXIT_SUCCESS;
}
