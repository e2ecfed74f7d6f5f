# Sourced by the tests of the installed tool. Each is called with a directory of its own for what it
# makes; CTest says in the environment what to test and with which compilers:
#   KV_SOURCE, KV_BUILD, KV_PREFIX   the source tree, the build, where it was installed
#   KV_CMAKE, KV_CPACK, CC, CXX
set -euo pipefail

work=$1
rm -rf "$work"
mkdir -p "$work"

fail() {
    printf 'failed: %s\n' "$*" >&2
    exit 1
}

# expect TEXT COMMAND...
expect() {
    local text=$1
    shift
    "$@" || fail "$text"
}

# same EXPECTED ACTUAL TEXT
same() { [ "$1" = "$2" ] || fail "$3: expected '$1', found '$2'"; }

# The libraries' directory below the prefix, as this system has it.
libdir() { sed -n 's/^CMAKE_INSTALL_LIBDIR:[A-Z]*=//p' "$KV_BUILD/CMakeCache.txt"; }
