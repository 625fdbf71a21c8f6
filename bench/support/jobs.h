// The structure of a benchmark program: it registers its jobs, and main() runs them for one number of objects.
//
// A job is registered once for the library and once for each alternative, under "JOB/WHO". One process measures one
// size, with the repository and its alternatives side by side, and the repetitions of all jobs interleaved.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <string>

namespace bench {

inline constexpr const char *kLibrary = "zar";

// Each program defines it.
void register_jobs(uint32_t n_objects);

// 'body' is called with the benchmark's state.
template <class Body>
void job(const std::string &name, const std::string &who, Body body) {
  benchmark::RegisterBenchmark((name + '/' + who).c_str(), body);
}

// 0, which the compiler does not know.
uint64_t zero();

}  // namespace bench
