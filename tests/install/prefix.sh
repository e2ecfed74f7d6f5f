#!/usr/bin/env bash
# Installs the build, moves what was installed, and checks which files came: the tests that follow
# use it from there, so that no path of the first place can hold them up.
. "$(dirname "$0")/common.sh"

"$KV_CMAKE" --install "$KV_BUILD" --prefix "$work/first" >"$work/install.txt"
rm -rf "$KV_PREFIX"
mv "$work/first" "$KV_PREFIX"

lib=$(libdir)
expected=$(LC_ALL=C sort <<LIST
./bin/VcPatch
./include/KvPatchAgentApi.h
./$lib/cmake/VcPatch/VcPatchConfig.cmake
./$lib/cmake/VcPatch/VcPatchConfigVersion.cmake
./$lib/cmake/VcPatch/VcPatchTargets.cmake
./$lib/pkgconfig/VcPatch.pc
./share/doc/VcPatch/README.md
./share/doc/VcPatch/docs/agent.md
./share/doc/VcPatch/docs/caller.md
./share/doc/VcPatch/docs/log.md
./share/doc/VcPatch/docs/maintainer.md
./share/doc/VcPatch/examples/CMakeLists.txt
./share/doc/VcPatch/examples/ProductAgent.cpp
./share/doc/VcPatch/examples/ServiceAgent.c
./share/doc/VcPatch/examples/service.sh
./share/man/man1/VcPatch.1
LIST
)
# One more file for the kind of build, named after it.
found=$(cd "$KV_PREFIX" && find . -type f | grep -v 'VcPatchTargets-[a-z]*\.cmake$' | LC_ALL=C sort)
same "$expected" "$found" "the installed files"

grep -rlF -e "$KV_SOURCE" -e "$KV_BUILD" -e "$work" "$KV_PREFIX/include" "$KV_PREFIX/$lib" \
    "$KV_PREFIX/share" && fail "installed files name a directory of this build"

# The tool needs nothing beside it. A run without a description logs beside the program.
cp "$KV_PREFIX/bin/VcPatch" "$work/VcPatch"
code=0
(cd "$work" && ./VcPatch) || code=$?
same 1 "$code" "exit code without an argument"
same result=57 "$(cat "$work/VcResult.ini")" "result without an argument"
rm -rf "$work"
