/**
 * @file
 * The version of the interface that a program is compiled against.
 */
#ifndef ZAR_VERSION_H
#define ZAR_VERSION_H

/**
 * @defgroup zar_version Version
 * Which release a program was compiled against. Versions are semantic: a new major version breaks programs and has a
 * new soname, a new minor version adds names, a new patch version only corrects. The library loaded at run time has the
 * same major version, since the soname guarantees it. To require a minor version too, link against that release: the
 * names that it added carry its symbol version, and an older library is refused when the program is loaded. A program
 * that loads the library with dlopen() asks by dlvsym() for such a name; docs/abi.md shows how.
 * @{
 */

/** Increases with releases that break programs. */
#define ZAR_VERSION_MAJOR 1
/** Increases with releases that add names, within a major version. */
#define ZAR_VERSION_MINOR 0
/** Increases with releases that only correct, within a minor version. */
#define ZAR_VERSION_PATCH 0
/** All three, as they are written: "1.0.0". */
#define ZAR_VERSION_STRING "1.0.0"

/** Whether this release is at least the given one; also usable in the preprocessor.
 *  @param major  Its major number.
 *  @param minor  Its minor number.
 *  @param patch  Its patch number. */
#define ZAR_VERSION_AT_LEAST(major, minor, patch) \
  (ZAR_VERSION_MAJOR > (major) ||                 \
   (ZAR_VERSION_MAJOR == (major) &&               \
    (ZAR_VERSION_MINOR > (minor) || (ZAR_VERSION_MINOR == (minor) && ZAR_VERSION_PATCH >= (patch)))))

/**
 * Returns the release that the caller was compiled against. The function is compiled into the caller and does not call
 * the library, so it may be called at any time.
 *
 * @return ZAR_VERSION_STRING.
 */
static inline const char *zar_version(void) {
  return ZAR_VERSION_STRING;
}

/** @} */

#endif
