// The store of the records of pools and queues in this build.
#pragma once

#if ZAR_RECORDS_ON_HEAP
#include "host/runtime/heap_store.h"
#else
#include "host/runtime/slab_store.h"
#endif

namespace runtime {

#if ZAR_RECORDS_ON_HEAP
inline constexpr bool kRecordsOnHeap = true;
using RecordStore = HeapStore;
#else
inline constexpr bool kRecordsOnHeap = false;
using RecordStore = SlabStore;
#endif

}  // namespace runtime
