#!/usr/bin/env bash
# The header as the compilers of agents see it: C89, and entry points with wrong signatures.
. "$(dirname "$0")/common.sh"

# compiles LANGUAGE FLAG...: the agent on standard input.
compiles() {
    local compiler=$CC
    [ "$1" = c ] || compiler=$CXX
    "$compiler" -x "$1" -fsyntax-only -Wall -Wextra -Werror -I"$KV_PREFIX/include" "${@:2}" - \
        2>"$work/messages"
}

# agent CODE: an agent that declares both interfaces and defines this.
agent() {
    printf '#define KV_PATCH_AGENT_OLD\n#define KV_PATCH_AGENT_NEW\n'
    printf '#include "KvPatchAgentApi.h"\n%s\n' "$1"
}

right='KV_PATCH_AGENT_ENTRY int32_t EndPatch(int success) { return success; }'
agent "$right" | compiles c -std=c89 -pedantic-errors || { cat "$work/messages"; fail "C89"; }
agent "$right" | compiles c++ -std=c++98 -pedantic-errors -Wno-long-long ||
    { cat "$work/messages"; fail "C++98"; }

# wrong CODE: must not compile, neither as C nor as C++.
wrong() {
    agent "$1" | compiles c -std=c99 && fail "compiles as C: $1"
    agent "$1" | compiles c++ -std=c++17 && fail "compiles as C++: $1"
    return 0
}
body='{ return 1; }'
wrong "KV_PATCH_AGENT_ENTRY int64_t EndPatch(int success) { return success; }"
wrong "KV_PATCH_AGENT_ENTRY int32_t StartPatch(void) $body"
wrong "KV_PATCH_AGENT_ENTRY int32_t CheckFile(char* path) { return path != 0; }"
wrong "KV_PATCH_AGENT_ENTRY int32_t GetProductPath(char* path) { return path != 0; }"
wrong "KV_PATCH_AGENT_ENTRY int32_t IsRollback(int unasked) { return unasked; }"
for name in StartPattern StartEngine StartProduct CheckFileEx; do
    wrong "KV_PATCH_AGENT_ENTRY int32_t $name(void) $body"
done
for name in EndPattern EndEngine EndProduct EndItem; do
    wrong "KV_PATCH_AGENT_ENTRY int32_t $name(int success) { return success; }"
done
for name in GetPatternPath GetEnginePath; do
    wrong "KV_PATCH_AGENT_ENTRY void $name(const char* path) { (void)path; }"
done
for name in StartAction EndAction IsRollbackEx; do
    wrong "KV_PATCH_AGENT_ENTRY int32_t $name(const char* name) { return name != 0; }"
done
wrong "KV_PATCH_AGENT_ENTRY int32_t StartItem(const char* name, uint32_t c, uint32_t t,
    struct tag_Version* o, struct tag_Version* r) { return name && c && t && o && r; }"
rm -rf "$work"
