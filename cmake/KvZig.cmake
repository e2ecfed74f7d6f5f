# Toolchain file for a platform that is not this machine's. KV_ZIG_BIN is a directory that
# scripts/check-platforms.sh has made: cc, c++, ar and ranlib for the one target. Zig brings the
# headers and libraries of every platform with it.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KV_ZIG_BIN KV_ZIG_TARGET)
string(REGEX MATCH "^[^-]+" CMAKE_SYSTEM_PROCESSOR "${KV_ZIG_TARGET}")
if(KV_ZIG_TARGET MATCHES "macos")
    set(CMAKE_SYSTEM_NAME Darwin)
    # There is no system to ask for these.
    set(CMAKE_OSX_SYSROOT "")
    set(CMAKE_INSTALL_NAME_TOOL true)
else()
    set(CMAKE_SYSTEM_NAME Linux)
endif()
set(CMAKE_C_COMPILER "${KV_ZIG_BIN}/cc")
set(CMAKE_CXX_COMPILER "${KV_ZIG_BIN}/c++")
set(CMAKE_AR "${KV_ZIG_BIN}/ar")
set(CMAKE_RANLIB "${KV_ZIG_BIN}/ranlib")
# Nothing of this machine's fits.
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
# Questions about the compiler need no program, and the first one takes minutes to link.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
