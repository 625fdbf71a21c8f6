// The operations as the rest of the process knows them, for those whose addresses leave the library.
#pragma once

namespace zar {

// With probes, the name of an operation means its body within the library, and the exported function is another one. A
// daemon may compare an address that it finds in a record with the operation that it calls.
#ifdef ZAR_HAS_PROBES
#define ZAR_EXPORTED(name) name##_exported
#else
#define ZAR_EXPORTED(name) name
#endif

}  // namespace zar
