// The exported operations of a library with probes: each one runs its body between two static probes.
//
// A probe is one instruction that does nothing, and a note in a section that is never loaded; tools read the notes and
// put a breakpoint of the kernel on the instruction. Exporting a function around the body, instead of placing probes in
// the body, has three advantages: no return can miss the probe at the end; the probe knows the result; and an operation
// that another one uses is not taken for a call from outside. The compiler puts most bodies into these functions.
//
// The probe NAME__begin has the first handle among the arguments, and NAME__end what the operation returns, each where
// there is one. Both are in a register at that moment, so they cost nothing.
#include "zar/zar.h"

#define SDT_USE_VARIADIC
#include <sys/sdt.h>

#define ZAR_OPERATION(result, name, parameters, arguments, begin) \
  decltype(name) name##_body __asm__(#name ".body");              \
  result name parameters {                                        \
    STAP_PROBEV begin;                                            \
    result returned = name##_body arguments;                      \
    STAP_PROBEV(zar, name##__end, returned);                      \
    return returned;                                              \
  }
#define ZAR_PROCEDURE(name, parameters, arguments, begin) \
  decltype(name) name##_body __asm__(#name ".body");      \
  void name parameters {                                  \
    STAP_PROBEV begin;                                    \
    name##_body arguments;                                \
    STAP_PROBEV(zar, name##__end);                        \
  }
#include "probes/operations.inc"
