/* Memory for records of one size, in a shared library of its own. */
#pragma once

#include <cstddef>

#pragma GCC visibility push(default)
extern "C" {

struct CalledPool;

// A list of free records, and nothing else: no check of what is given back, and no count. The least that a pool takes
// which is called.
CalledPool *called_pool_new(size_t record_size, size_t n_records);
void *called_pool_take(CalledPool *pool);  // NULL if none is free
void called_pool_give(CalledPool *pool, void *record);
}
#pragma GCC visibility pop
