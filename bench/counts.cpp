// Stores policy-maps and retrieves some of them by name, in any order, to be run under callgrind:
//   bench_counts OBJECTS RETRIEVALS
#include <cstdio>
#include <cstdlib>

#include "support/random.h"
#include "support/repository.h"

int main(int count, char **arguments) {
  if (count != 3) {
    std::fprintf(stderr, "usage: bench_counts OBJECTS RETRIEVALS\n");
    return 2;
  }
  const auto n_objects = static_cast<uint32_t>(std::strtoul(arguments[1], nullptr, 10));
  const auto n_retrievals = static_cast<uint32_t>(std::strtoul(arguments[2], nullptr, 10));
  const std::vector<std::string> names = bench::names(n_objects);
  for (const std::string &name : names)
    bench::must(zar_store_policy(bench::clid(), bench::new_policy(bench::clid(), name.c_str())), "zar_store_policy");
  bench::Random random;
  for (uint32_t number = 0; number < n_retrievals; ++number) {
    zar_map_info info = bench::info_of(names[random.below(n_objects)].c_str());
    uint32_t pmap = 0;
    bench::must(zar_retrieve_policy(bench::clid(), &info, &pmap), "zar_retrieve_policy");
  }
  return 0;
}
