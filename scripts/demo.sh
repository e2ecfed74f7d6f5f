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

export LC_ALL=C # one order of names for all tools
build=build/demo
least=1000 most=5000 # files of the large item
failures=0 child='' verdict=''

work=$(mktemp -d)
export TMPDIR=$work # the compilers', too
app=$work/app
vc=$work/vc
staging=$work/staging
log=$vc/VC_Data/VC_Log/KvuDump.txt
record=$app/pattern/VC_Backup/VcBackup.ini

# However the script ends: stops what still runs, takes the folder away, and says so when the
# verdict was never reached.
finish() {
    local code=$?
    trap - EXIT
    if [ -n "$child" ]; then
        { kill -- "-$child" && wait "$child"; } 2>/dev/null || true
    fi
    line ""
    if [ "$keep" = yes ]; then
        tell "Kept: $work"
    else
        # Once more where something that was just stopped was still writing.
        rm -rf "$work" 2>/dev/null || { sleep 1 && rm -rf "$work"; }
    fi
    if [ -z "$verdict" ]; then
        verdict="The demonstration failed: it did not come to its end."
        [ "$code" -ne 0 ] || code=1
    fi
    printf '%s\n' "$verdict"
    exit "$code"
}
trap finish EXIT
trap 'exit 130' HUP INT TERM

tell() { printf '    %s\n' "$@"; }
show() { awk '{ print "    | " $0 }'; } # ends the last line, too
line() { [ ! -t 1 ] || printf '\r\033[K%s' "$1"; }

# show_part FILE COMMAND...: what the command prints of the file; a file that is missing is said.
show_part() {
    local file=$1
    shift
    if [ -f "$file" ]; then "$@" <"$file" | show; else tell "(there is no ${file#"$work/"})"; fi
}

# watch TEXT COMMAND...: runs the command and leaves its status in `watched`. On a terminal a line
# says every second for how long it has been running. The command is a process group of its own, so
# that it can be stopped with all that it has started.
watch() {
    local text=$1 ticks=0
    shift
    set -m
    "$@" >"$work/output" 2>&1 </dev/null &
    child=$!
    set +m
    while kill -0 "$child" 2>/dev/null; do
        if [ $((ticks % 10)) -eq 0 ] && [ "$ticks" -gt 0 ]; then
            line "    $text ... $((ticks / 10)) s"
        fi
        ticks=$((ticks + 1))
        sleep 0.1
    done
    watched=0
    wait "$child" || watched=$?
    child=
    line ""
}

# progress TEXT COMMAND...: a step without which there is nothing to show.
progress() {
    watch "$@"
    if [ "$watched" -ne 0 ]; then
        tail -n 40 "$work/output"
        fail "failed: $1"
    fi
    tell "$1 ... done"
}

# expect TEXT COMMAND...: one thing that must be so; the verdict counts those that are not.
expect() {
    watch "$@"
    if [ "$watched" -eq 0 ]; then
        tell "ok      $1"
    else
        tell "NOT SO  $1"
        failures=$((failures + 1))
    fi
}

files_below() { { find "$1" -type f 2>/dev/null || true; } | wc -l | tr -d ' '; }

# Below a destination: every file but those of the backup store, given to a command.
each_file() { find . -path ./VC_Backup -prune -o -type f -exec "$@" {} +; }

# Time of last change in seconds, and the name; one `stat` for Linux, one for macOS.
times() { each_file stat -c '%Y %n' 2>/dev/null || each_file stat -f '%m %N'; }

# snapshot NAME: one line for every file below the destinations: path, checksum, size, time.
snapshot() {
    local name
    for name in pattern engine product; do
        (cd "$app/$name" && { each_file cksum; times; }) | awk -v name="$name" '
            { at = index($0, "./"); path = name substr($0, at + 1) }
            { facts[path] = facts[path] substr($0, 1, at - 1) }
            END { for (path in facts) print path "\t" facts[path] }'
    done | sort >"$work/$1"
    (cd "$app" && find pattern engine product -type d | sort) >"$work/$1.dirs"
}

# what_changed BEFORE AFTER: what became of the files between two snapshots; of each kind the first
# one, the last one and one of the middle are shown.
what_changed() {
    awk -F '\t' -v OFS='\t' 'NR == FNR { was[$1] = $2; next }
        !($1 in was) { print "added", $1; next }
        { print (was[$1] == $2 ? "left alone" : "replaced"), $1; delete was[$1] }
        END { for (path in was) print "removed", path }' "$work/$1" "$work/$2" |
        sort >"$work/changes"
    tell "What changed: $(changes replaced) replaced, $(changes added) added, \
$(changes removed) removed, $(changes 'left alone') left alone. For example:"
    awk -F '\t' 'NR == FNR { total[$1]++; next }
        { n = ++seen[$1] }
        n == 1 || n == total[$1] || n == int((total[$1] + 1) / 2) { printf "%-10s  %s\n", $1, $2 }
        ' "$work/changes" "$work/changes" | show
}
changes() { awk -F '\t' -v kind="$1" '$1 == kind { n++ } END { print n + 0 }' "$work/changes"; }

status_is() { grep -q -x "result=$1" "$staging/VcResult.ini"; }
same() { cmp -s "$work/$1" "$work/$2"; }
same_tree() { diff -rq -x VC_Backup "$1" "$2"; }

# The log with one line for each record: it breaks long ones, paths included.
records() {
    [ ! -f "$log" ] || awk '/^(Inf|Err) / { if (record) print record; record = $0; next }
        { sub(/^ +/, ""); record = record $0 }
        END { print record }' "$log"
}

build_tool() {
    cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
        -DKV_BUILD_TESTS=OFF -DKV_BUILD_BENCH=OFF -DKV_BUILD_EXAMPLES=ON
    cmake --build "$build" --target VcPatch product_agent
}

# A real tree of the system, as plain files in $work/tree, and its own place in $work/origin. Names
# that the tool does not take are left out, and what goes beyond $most files.
take_tree() {
    local tree count
    for tree in /usr/share/zoneinfo /usr/share/doc /usr/include /usr/share/man; do
        rm -rf "$work/tree"
        mkdir "$work/tree"
        # What cannot be read, or leads nowhere, is passed over.
        cp -RL "$tree/." "$work/tree" 2>/dev/null || true
        chmod -R u+rwX "$work/tree"
        (cd "$work/tree" && find . -type f | sort |
            awk -v most="$most" '/[,*?\\]/ || / $/ || ++n > most' | tr '\n' '\0' | xargs -0 rm -f)
        count=$(files_below "$work/tree")
        if [ "$count" -gt "$least" ]; then
            echo "$tree" >"$work/origin"
            return
        fi
        echo "$tree has $count files, which are too few"
    done
    return 1
}

# What a machine has before the update: an older tree with gaps, older builds, the user's own files.
install_old() {
    mkdir -p "$app/engine" "$app/product/data" "$vc"
    printf '[Debug]\nlog_size=100\n' >"$vc/vccfg.ini"
    cp -R "$work/tree" "$app/pattern"
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
    printf 'mine\n' | tee "$app/product/data/letters.txt" >"$app/product/data/orders.txt"
    find "$app" -type f -exec touch -t 202001010000 {} +
}

# What a downloader has fetched.
stage_new() {
    mkdir -p "$staging/3" "$staging/2/4" "$staging/1/7/help"
    cp -R "$work/tree" "$staging/3/5"
    cp "$build"/*/libkv_*.a "$staging/2/4"
    printf 'version 1.1\n' >"$staging/1/7/product.txt"
    printf 'what is new\n' >"$staging/1/7/help/news.txt"
    printf 'colour=blue\n' >"$staging/1/7/settings.conf"
}

stage_bad() {
    find "$staging/3/5" -type f -exec sh -c 'for f; do printf newer >>"$f"; done' sh {} +
    printf 'version 1.2\n' >"$staging/1/7/product.txt"
    printf 'who made this?\n' >"$staging/1/7/unsigned.bin"
}

# item CLASS TYPE FROM TO DESTINATION: the next item of a description.
item() {
    printf '[item_%s]\nclass=%s\ntype=%s\n' "$items" "$1" "$2"
    printf 'origin.version=%s\nresult.version=%s\ndestination=%s\n' "$3" "$4" "$app/$5"
    items=$((items + 1))
}

# describe ACTION: the description that a downloader would write beside the staged files.
describe() {
    items=0
    {
        printf '[common]\naction=%s\nvelocore_path=%s\nitemcount=3\n' "$1" "$vc"
        printf 'patchagent.version=1\npatchagent=%s\nbackup=1\n' "$agent"
        item 3 5 100 101 pattern
        item 2 4 5.1.1000 5.2.1001 engine
        item 1 7 1.0 1.1 product
    } >"$staging/VcPatch.ini"
    rm -f "$staging/VcResult.ini"
}

say "Building the tool and the example's patch agent"
require_packages compiler cmake ninja
mkdir -p build
progress "cmake and ninja" build_tool
tool=$PWD/$build/updater/VcPatch
agent=$(find "$PWD/$build/examples" -name 'product_agent.*' -type f | sed -n 1p)

say "A machine with an older product on it"
progress "finding a real tree of more than $least files" take_tree
show <"$work/output" # what was passed over
origin=$(cat "$work/origin")
progress "installing $origin, libraries and a product" install_old
progress "noting every file" snapshot before
tell "$(files_below "$app/pattern") files of $origin as a pattern, made older, some missing;" \
    "$(files_below "$app/engine") libraries as an engine; a product with the user's own files."

say "An update"
tell "The downloader has staged three items and written VcPatch.ini beside them."
progress "staging $(files_below "$work/tree") files of $origin, and the rest" stage_new
describe 0
expect "VcPatch applies the update, and its exit code is 0" "$tool" "$staging"
progress "noting every file" snapshot updated
tell "VcResult.ini, which the caller reads:"
show_part "$staging/VcResult.ini" cat
what_changed before updated
tell "Saved first: $(files_below "$app/pattern/VC_Backup/3/5") files. Their record begins so:"
show_part "$record" sed -n 1,12p
tell "The end of the log:"
show_part "$log" tail -n 6
expect "the status is 0" status_is 0
expect "the pattern is the new one" same_tree "$staging/3/5" "$app/pattern"
expect "the libraries are the new ones" same_tree "$staging/2/4" "$app/engine"
expect "the product is new" cmp "$staging/1/7/product.txt" "$app/product/product.txt"
expect "the agent has kept the user's settings" grep -q green "$app/product/settings.conf"

say "An update that fails half-way"
tell "The product's agent does not like one of the staged files and answers with an error." \
    "The items before it have been copied by then; everything is put back."
progress "staging newer files and a bad one" stage_bad
describe 0
mv "$log" "$work/update.log" 2>/dev/null || true # the next one tells of this run alone
expect "VcPatch tries, and its exit code is 0" "$tool" "$staging"
progress "noting every file" snapshot failed
put_back=$({ grep -a 'autoRollback moving files' "$log" 2>/dev/null || true; } | wc -l | tr -d ' ')
tell "The log says why, and which file it was:"
{ records | grep -a -E 'unsigned\.bin|check file failed|auto rollback' || true; } | tail -n 4 | show
what_changed updated failed
expect "the status is 60: the agent failed" status_is 60
expect "$put_back files had been replaced by then, more than $least" test "$put_back" -gt "$least"
expect "every file is what it was before, content and time" same updated failed

say "A rollback on request"
tell "The first update is undone from the backup store: saved files go back, added ones go away."
describe 1
expect "VcPatch rolls back, and its exit code is 0" "$tool" "$staging"
progress "noting every file" snapshot after
show_part "$staging/VcResult.ini" cat
what_changed updated after
tell "Directories that the update made stay:"
comm -13 "$work/before.dirs" "$work/after.dirs" | { grep -v /VC_Backup/ || true; } | show
expect "the status is 0" status_is 0
expect "every file is what it was at the start, content and time" same before after
expect "the record holds no items any more" grep -q '^itemcount=0' "$record"

say "Verdict"
if [ "$failures" -ne 0 ]; then
    verdict="The demonstration failed: $failures of its expectations did not hold."
    exit 1
fi
verdict="The demonstration went as it should: updated, undone after a failure, rolled back."
