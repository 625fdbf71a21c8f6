/**
 * @file
 * The version of the interface that a program is compiled against.
 */
#ifndef ZAR_VERSION_H
#define ZAR_VERSION_H

/**
 * @defgroup zar_version Version
 * Which release a program was compiled against. Versions are semantic: a new major number breaks programs and comes with
 * a new soname, a new minor number adds, a new patch number corrects. What is loaded at run time has the same major
 * number, since the soname says so; to insist on a minor number as well, link against that release: a name that it
 * brought carries its symbol version, and an older library is refused when the program is loaded.
 * @{
 */

/** Counts the releases that break programs. */
#define ZAR_VERSION_MAJOR 1
/** Counts the releases that add, within a major number. */
#define ZAR_VERSION_MINOR 0
/** Counts the releases that correct, within a minor number. */
#define ZAR_VERSION_PATCH 0
/** All three, as they are written: "1.0.0". */
#define ZAR_VERSION_STRING "1.0.0"

/** Whether this release is at least the given one; also for the preprocessor.
 *  @param major  Its major number.
 *  @param minor  Its minor number.
 *  @param patch  Its patch number. */
#define ZAR_VERSION_AT_LEAST(major, minor, patch) \
  (ZAR_VERSION_MAJOR > (major) ||                 \
   (ZAR_VERSION_MAJOR == (major) &&               \
    (ZAR_VERSION_MINOR > (minor) || (ZAR_VERSION_MINOR == (minor) && ZAR_VERSION_PATCH >= (patch)))))

/**
 * The release that the caller was compiled against. The function is the caller's own: nothing is asked of the library,
 * so it may be called at any time.
 *
 * @return ZAR_VERSION_STRING.
 */
static inline const char *zar_version(void) {
  return ZAR_VERSION_STRING;
}

/** @} */

#endif
