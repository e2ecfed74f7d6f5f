#!/usr/bin/env bash
# agents.sh DIRECTORY cmake|pkg-config|compiler: builds the installed examples outside of the tree
# against the installed package, in that way, and updates and rolls back with them.
. "$(dirname "$0")/common.sh"
. "$(dirname "$0")/product.sh"
. "$(dirname "$0")/service.sh"

cp -R "$KV_PREFIX/share/doc/VcPatch/examples" "$work/examples"
mkdir "$work/agents"

build_with_cmake() {
    "$KV_CMAKE" -S "$work/examples" -B "$work/agents" -DCMAKE_PREFIX_PATH="$KV_PREFIX" \
        -DCMAKE_C_COMPILER="$CC" -DCMAKE_CXX_COMPILER="$CXX" >"$work/build.txt" &&
        "$KV_CMAKE" --build "$work/agents" >>"$work/build.txt"
}

# build_with FLAG...
build_with() {
    "$CC" -shared -fPIC "$@" "$work/examples/ServiceAgent.c" -o "$work/agents/service_agent.so"
    "$CXX" -shared -fPIC "$@" "$work/examples/ProductAgent.cpp" -o "$work/agents/product_agent.so"
}

build_with_pkg_config() {
    local flags
    flags=$(PKG_CONFIG_PATH=$KV_PREFIX/$(libdir)/pkgconfig pkg-config --cflags VcPatch)
    # shellcheck disable=SC2086 # several flags
    build_with $flags
}

case $2 in
    cmake) build_with_cmake || { cat "$work/build.txt"; fail "cmake"; } ;;
    pkg-config) build_with_pkg_config ;;
    compiler) build_with -I"$KV_PREFIX/include" ;;
esac
agent_of() { find "$work/agents" -maxdepth 1 -name "$1.*" | sed -n 1p; }

tool=$KV_PREFIX/bin/VcPatch
app=$work/app
staging=$work/staging

# describe ACTION AGENT-VERSION AGENT: the description of the one item that both stories have.
describe() {
    mkdir -p "$staging"
    rm -f "$staging/VcResult.ini"
    cat >"$staging/VcPatch.ini" <<INI
[common]
action=$1
velocore_path=$work/velocore
itemcount=1
patchagent.version=$2
patchagent=$3
[item_0]
class=1
type=7
origin.version=1.0
result.version=1.1
destination=$app
INI
}

# put FILE TEXT
put() {
    mkdir -p "$(dirname "$1")"
    printf '%s\n' "$2" >"$1"
}

# runs STATUS TEXT: the tool, and what it must say.
runs() {
    "$tool" "$staging" || fail "$2: exit code $?"
    same "result=$1" "$(cat "$staging/VcResult.ini")" "$2"
}

log() { cat "$work/velocore/VC_Data/VC_Log/KvuDump.txt"; }

product_story "$(agent_of product_agent)"
rm -rf "$app" "$staging"
service_story "$(agent_of service_agent)"
rm -rf "$work"
