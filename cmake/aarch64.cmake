# Toolchain: Debian's cross compiler for aarch64. Its programs run under qemu.
#   ZAR_TARGET_ROOT   the folder with the target's libraries, created by scripts/aarch64-root. Without it there are only
#                     those that come with the compiler, which is enough for the library alone.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

set(ZAR_TARGET_ROOT "" CACHE PATH "The folder with the target's libraries")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ZAR_TARGET_ROOT)
find_program(ZAR_EMULATOR NAMES qemu-aarch64-static qemu-aarch64)
if(ZAR_EMULATOR)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${ZAR_EMULATOR})
endif()

# Programs come from the build machine, everything else from the target.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_FIND_ROOT_PATH /usr/aarch64-linux-gnu)
if(ZAR_TARGET_ROOT)
  set(CMAKE_SYSROOT ${ZAR_TARGET_ROOT})
  set(CMAKE_FIND_ROOT_PATH)
  list(APPEND CMAKE_CROSSCOMPILING_EMULATOR -L ${ZAR_TARGET_ROOT})
  set(ENV{PKG_CONFIG_SYSROOT_DIR} ${ZAR_TARGET_ROOT})
  set(ENV{PKG_CONFIG_LIBDIR}
    ${ZAR_TARGET_ROOT}/usr/lib/aarch64-linux-gnu/pkgconfig:${ZAR_TARGET_ROOT}/usr/share/pkgconfig)
endif()
