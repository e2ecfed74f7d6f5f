#!/usr/bin/env bash
# Builds VcPatch and shows its main job on real files: an update, an update that fails, a rollback.
#
#   scripts/demo.sh           leaves nothing behind but the build folder
#   scripts/demo.sh --keep    keeps the folder of the demonstration and says where it is
#
# Installs what is missing. The last line is the verdict, worked out from what was found.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

keep=no
case "${1:-}" in
    "") ;;
    --keep) keep=yes ;;
    *) fail "usage: scripts/demo.sh [--keep]" ;;
esac

build=build/demo
zones=/usr/share/zoneinfo
failures=0

tell() { printf '    %s\n' "$@"; }
show() { sed 's/^/    | /'; }

# expect TEXT COMMAND...: one thing that must be so; the verdict counts those that are not.
expect() {
    local text=$1
    shift
    if "$@"; then
        printf '    ok      %s\n' "$text"
    else
        printf '    NOT SO  %s\n' "$text"
        failures=$((failures + 1))
    fi
}

# progress TEXT COMMAND...: runs the command; says every second for how long it has been running.
progress() {
    local text=$1 log seconds=0
    shift
    log=$(mktemp)
    "$@" >"$log" 2>&1 &
    local child=$!
    while kill -0 "$child" 2>/dev/null; do
        sleep 0.2
        seconds=$((seconds + 1))
        if [ $((seconds % 5)) -eq 0 ]; then
            printf '\r    %s ... %d s ' "$text" $((seconds / 5))
        fi
    done
    if ! wait "$child"; then
        printf '\n'
        cat "$log"
        rm -f "$log"
        fail "failed: $text"
    fi
    rm -f "$log"
    printf '\r    %s ... done   \n' "$text"
}

build_tool() {
    cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
        -DKV_BUILD_TESTS=OFF -DKV_BUILD_BENCH=OFF -DKV_BUILD_EXAMPLES=ON
    cmake --build "$build" --target VcPatch product_agent
}

# Time of last change in seconds, and the name; one `stat` for Linux, one for macOS.
times() {
    if stat -c '%Y %n' . >/dev/null 2>&1; then
        find . -path ./VC_Backup -prune -o -type f -exec stat -c '%Y %n' {} + | sort
    else
        find . -path ./VC_Backup -prune -o -type f -exec stat -f '%m %N' {} + | sort
    fi
}

# Every file below the destinations with checksum and time, the backup stores left out.
snapshot() {
    local name
    for name in pattern engine product; do
        (cd "$app/$name" &&
            { find . -path ./VC_Backup -prune -o -type f -exec cksum {} + | sort; times; })
    done
}

count_files() { find -L "$1" -path "$1/VC_Backup" -prune -o -type f -print | wc -l | tr -d ' '; }

# describe ACTION: the description that a downloader would write beside the staged files.
describe() {
    cat >"$staging/VcPatch.ini" <<END
[common]
action=$1
velocore_path=$vc
itemcount=3
patchagent.version=1
patchagent=$agent
backup=1
[item_0]
class=3
type=5
origin.version=100
result.version=101
destination=$app/pattern
[item_1]
class=2
type=4
origin.version=5.1.1000
result.version=5.2.1001
destination=$app/engine
[item_2]
class=1
type=7
origin.version=1.0
result.version=1.1
destination=$app/product
item.zip=product.zip
END
}

run_tool() { progress "$1" "$tool" "$staging"; }
status() { sed -n 's/^result=//p' "$staging/VcResult.ini"; }
status_is() { [ "$(status)" = "$1" ]; }
same() { cmp -s "$work/$1" "$work/$2"; }
different() { ! same "$1" "$2"; }

# What a machine has before the update: older time zones, some of them missing, and older builds.
install_old() {
    mkdir -p "$app/pattern" "$app/engine" "$app/product" "$vc"
    cp -RL "$zones/." "$app/pattern"
    local n=0 file
    while IFS= read -r file; do
        n=$((n + 1))
        if [ $((n % 7)) -eq 0 ]; then rm -f "$file"; else printf 'old' >>"$file"; fi
    done < <(find "$app/pattern" -type f)
    for file in "$build"/*/libkv_*.a; do
        head -c 4096 "$file" >"$app/engine/$(basename "$file")"
    done
    printf 'version 1.0\n' >"$app/product/product.txt"
    printf 'colour=green\n' >"$app/product/settings.conf"
    find "$app" -type f -exec touch -t 202001010000 {} +
}

# What a downloader has fetched.
stage_new() {
    mkdir -p "$staging/3/5" "$staging/2/4" "$staging/1/7/help"
    cp -RL "$zones/." "$staging/3/5"
    cp "$build"/*/libkv_*.a "$staging/2/4"
    printf 'version 1.1\n' >"$staging/1/7/product.txt"
    printf 'what is new\n' >"$staging/1/7/help/news.txt"
    printf 'colour=blue\n' >"$staging/1/7/settings.conf"
}

say "Building the tool and the example's patch agent"
require_packages compiler cmake ninja zoneinfo
mkdir -p build
progress "cmake and ninja" build_tool

work=$(mktemp -d)
if [ "$keep" = no ]; then
    trap 'rm -rf "$work"' EXIT
fi
app=$work/app
vc=$work/vc
staging=$work/staging
tool=$PWD/$build/updater/VcPatch
agent=$(find "$PWD/$build/examples" -name 'product_agent.*' -not -name '*.dir' | head -n 1)

say "A machine with an older product on it"
progress "installing time zones, libraries and a product" install_old
tell "$(count_files "$app/pattern") time zone files as a pattern, $(count_files "$app/engine") libraries as an engine," \
    "and a product with its own settings."
snapshot >"$work/before"

say "An update"
tell "The downloader has staged three items and written VcPatch.ini beside them."
progress "staging $zones and the project's own libraries" stage_new
describe 0
run_tool "VcPatch applies the update"
snapshot >"$work/updated"
tell "VcResult.ini, which the caller reads:"
show <"$staging/VcResult.ini"
tell "Saved before they were overwritten: $(find "$app/pattern/VC_Backup/3/5" -type f | wc -l | tr -d ' ') files. Their record begins so:"
head -n 12 "$app/pattern/VC_Backup/VcBackup.ini" | show
tell "The end of the log:"
tail -n 6 "$vc/VC_Data/VC_Log/KvuDump.txt" | show
expect "the status is 0" status_is 0
expect "the time zones are the system's own" diff -rq -x VC_Backup "$staging/3/5" "$app/pattern"
expect "the libraries are the new ones" diff -rq -x VC_Backup "$staging/2/4" "$app/engine"
expect "the product is new" cmp -s "$staging/1/7/product.txt" "$app/product/product.txt"
expect "the agent has kept the user's settings" grep -q green "$app/product/settings.conf"

say "An update that fails half-way"
tell "The product's agent does not like one of the staged files and answers with an error." \
    "The items before it have been copied by then; everything is put back."
printf 'version 1.2\n' >"$staging/1/7/product.txt"
printf 'who made this?\n' >"$staging/1/7/unsigned.bin"
find "$staging/3/5" -type f -exec sh -c 'for f; do printf newer >>"$f"; done' sh {} +
run_tool "VcPatch tries"
snapshot >"$work/failed"
tell "The log says why:"
grep -a -E 'check file failed|auto rollback' "$vc/VC_Data/VC_Log/KvuDump.txt" | tail -n 3 | show
expect "the status is 60: the agent failed" status_is 60
expect "every file is what it was before, content and time" same updated failed

say "A rollback on request"
tell "The first update is undone from the backup store: saved files go back, added ones go away."
describe 1
run_tool "VcPatch rolls back"
snapshot >"$work/after"
show <"$staging/VcResult.ini"
expect "the status is 0" status_is 0
expect "the update had changed something" different before updated
expect "every file is what it was at the start, content and time" same before after
expect "the record holds no items any more" grep -q '^itemcount=0' "$app/pattern/VC_Backup/VcBackup.ini"

say "Verdict"
if [ "$keep" = yes ]; then
    tell "Kept: $work"
fi
if [ "$failures" -eq 0 ]; then
    echo "The demonstration went as it should: updated, undone after a failure, rolled back."
else
    echo "The demonstration failed: $failures of its expectations did not hold."
    exit 1
fi
