#!/usr/bin/env bash
# Builds VcPatch and runs every check. The last line says how many tests passed and failed.
#
#   scripts/test.sh           formatting; the tests optimised with the system's compiler, and with
#                             clang under AddressSanitizer and UndefinedBehaviorSanitizer;
#                             clang-tidy over the sources
#   scripts/test.sh --quick   the optimised build and its tests alone
#   scripts/test.sh --long [PIECE...]
#                             what takes too long for every day, all of it or the pieces named:
#                               faults     every call of the system fails in every kind of run
#                               platforms  scripts/check-platforms.sh
#                               documents  what the documents say, with all that they build
#                             Each piece ends with a line of figures.
#
# Installs what is missing. Builds lie in build/; every run after the first is incremental.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

quick=no
pieces=()
case "${1:-}" in
    "") ;;
    --quick) quick=yes ;;
    --long)
        shift
        pieces=("$@")
        [ $# -gt 0 ] || pieces=(faults platforms documents)
        ;;
    *) fail "usage: scripts/test.sh [--quick | --long [PIECE...]]" ;;
esac

jobs=$(getconf _NPROCESSORS_ONLN)
passed=0
failed=0
skipped=0
problems=()

sources() {
    find base fileop ini log journal patch agent store updater tests bench fuzz examples \
        \( -name '*.cpp' -o -name '*.h' -o -name '*.c' \) -print | sort
}

# run_preset NAME: configures, builds and tests one preset and adds to the counts.
run_preset() {
    local preset=$1 log=build/$1/test-output.txt total lost unrun
    say "[$preset] building"
    cmake --preset "$preset" >"build/$preset-configure.txt" 2>&1 ||
        { cat "build/$preset-configure.txt"; fail "[$preset] cmake failed"; }
    if ! cmake --build --preset "$preset" -- -j"$jobs"; then
        problems+=("[$preset] does not build")
        failed=$((failed + 1))
        return 0
    fi
    say "[$preset] testing"
    (cd "build/$preset" && ctest --output-on-failure --timeout 300 -j"$jobs") >"$log" 2>&1 ||
        problems+=("[$preset] tests failed: $log")
    total=$(sed -n 's/.* tests failed out of \([0-9]*\)$/\1/p' "$log")
    lost=$(sed -n 's/.*, \([0-9]*\) tests failed out of .*/\1/p' "$log")
    unrun=$(grep -c '\*\*\*Skipped' "$log" || true)
    if [ -z "$total" ]; then
        tail -n 20 "$log"
        problems+=("[$preset] ctest gave no result")
        failed=$((failed + 1))
        return 0
    fi
    if [ "$lost" -ne 0 ]; then
        tail -n 60 "$log"
    fi
    printf '[%s] %d tests: %d failed, %d skipped\n' "$preset" "$total" "$lost" "$unrun"
    passed=$((passed + total - lost - unrun))
    failed=$((failed + lost))
    skipped=$((skipped + unrun))
}

# check NAME COMMAND...: one more check that counts as a test.
check() {
    local name=$1
    shift
    say "[$name] checking"
    if "$@"; then
        passed=$((passed + 1))
    else
        failed=$((failed + 1))
        problems+=("[$name] failed")
    fi
}

check_format() { sources | xargs clang-format --dry-run -Werror; }

# The tool's own sources, two at a time; a warning is an error.
check_tidy() {
    find base fileop ini log journal patch agent store updater -name '*.cpp' -print | sort |
        xargs -P "$jobs" -n 4 clang-tidy -p build/asan --quiet 2>build/clang-tidy-notes.txt
}

# build_long TARGET...: what a long piece runs, optimised.
build_long() {
    cmake --preset release >build/release-configure.txt 2>&1 &&
        nice cmake --build --preset release --target "$@" -- -j"$jobs"
}

# The whole walk, in pieces that share two processes.
long_faults() {
    local report=build/faults.tsv output=build/faults.txt result=0
    build_long kv_faults_tests || return 1
    rm -f "$report"
    seq 0 31 | KV_FAULTS=all KV_FAULTS_REPORT=$report GTEST_TOTAL_SHARDS=32 xargs -P 2 -I{} \
        env GTEST_SHARD_INDEX={} nice build/release/tests/faults/kv_faults_tests \
        --gtest_brief=1 --gtest_filter='*FaultWalk*' >"$output" 2>&1 || result=1
    grep 'KV_FAULTS=' "$output" || true
    awk -F'\t' '
        $1 == "run" { runs += 1; calls += $4; outcome[$3] += 1 }
        $1 == "breach" { broken += 1; verdict[$3] += 1 }
        END {
            printf "faults: %d calls failed in %d runs:", calls, runs
            for (name in outcome) printf " %d %s,", outcome[name], name
            printf " %d rules broken", broken
            for (name in verdict) printf "; %s: %d", name, verdict[name]
            printf "\n"
        }' "$report"
    return "$result"
}

long_platforms() { scripts/check-platforms.sh; }

# With the commands that build everything.
long_documents() { nice bash tests/docs/follow.sh . build/documents --long; }

run_pieces() {
    local piece result=0
    for piece in "${pieces[@]}"; do
        declare -F "long_$piece" >/dev/null || fail "no such piece: $piece"
        say "[$piece] running"
        "long_$piece" || result=1
    done
    return "$result"
}

mkdir -p build
packages=(compiler cmake ninja googletest benchmark)
checked=no
if [ "$quick" = no ] && [ ${#pieces[@]} -eq 0 ]; then
    checked=yes
    packages+=(clang clang-format clang-tidy)
fi
require_packages "${packages[@]}"
if [ "$checked" = yes ]; then
    check format check_format
fi
if [ ${#pieces[@]} -gt 0 ]; then
    run_pieces
    exit
fi
run_preset release
if [ "$quick" = no ]; then
    run_preset asan
    check tidy check_tidy
fi

say "Result"
for problem in ${problems[@]+"${problems[@]}"}; do
    printf '%s\n' "$problem"
done
printf '%d passed, %d failed, %d skipped\n' "$passed" "$failed" "$skipped"
[ "$failed" -eq 0 ]
