/* Does not compile unless the headers declare each operation and each variable with its promised type: a pointer of that
 * type takes its address. */
#include "zar/zar.h"

#define PROTOTYPE(result, name, parameters) result(*promised_##name) parameters = name;
#define VARIABLE(type, name) type *promised_##name = &name;
#include "prototypes.inc"
