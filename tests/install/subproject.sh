#!/usr/bin/env bash
# Inside another project VcPatch brings its tool and VcPatch::agent; no tests, examples or
# installation of its own, and no warning that ends that project's build.
. "$(dirname "$0")/common.sh"

cat >"$work/CMakeLists.txt" <<CMAKE
cmake_minimum_required(VERSION 3.20)
project(Outside LANGUAGES C CXX)
add_subdirectory("$KV_SOURCE" vcpatch)
add_library(outside MODULE "$KV_SOURCE/examples/ServiceAgent.c")
target_link_libraries(outside PRIVATE VcPatch::agent)
if(CMAKE_BUILD_TYPE)
    message(FATAL_ERROR "the build type is not VcPatch's to choose")
endif()
CMAKE
"$KV_CMAKE" -S "$work" -B "$work/build" -DCMAKE_C_COMPILER="$CC" -DCMAKE_CXX_COMPILER="$CXX" \
    >"$work/output.txt" || { cat "$work/output.txt"; fail "cmake"; }
"$KV_CMAKE" --build "$work/build" --target outside >"$work/output.txt" ||
    { cat "$work/output.txt"; fail "an agent inside another project"; }
"$KV_CMAKE" --build "$work/build" --target help >"$work/targets.txt"
grep -q VcPatch "$work/targets.txt" || fail "the tool is no target"
grep -E 'tests|product_agent|bench' "$work/targets.txt" && fail "targets that nobody asked for"
grep -q Werror "$work/build/compile_commands.json" 2>/dev/null && fail "-Werror"
"$KV_CMAKE" --install "$work/build" --prefix "$work/prefix" >"$work/output.txt"
[ ! -d "$work/prefix" ] || fail "something was installed"
rm -rf "$work"
