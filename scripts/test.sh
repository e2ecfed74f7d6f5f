#!/usr/bin/env bash
# Builds VcPatch and runs every check. The last line says how many tests passed and failed.
#
#   scripts/test.sh           formatting; the tests optimised with the system's compiler, and with
#                             clang under AddressSanitizer and UndefinedBehaviorSanitizer;
#                             clang-tidy over the sources
#   scripts/test.sh --quick   the optimised build and its tests alone
#
# Installs what is missing. Builds lie in build/; every run after the first is incremental.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

quick=no
case "${1:-}" in
    "") ;;
    --quick) quick=yes ;;
    *) fail "usage: scripts/test.sh [--quick]" ;;
esac

jobs=$(getconf _NPROCESSORS_ONLN)
passed=0
failed=0
skipped=0
problems=()

sources() {
    find base fileop ini log patch agent store updater tests bench fuzz examples \
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
    find base fileop ini log patch agent store updater -name '*.cpp' -print | sort |
        xargs -P "$jobs" -n 4 clang-tidy -p build/asan --quiet 2>build/clang-tidy-notes.txt
}

mkdir -p build
packages=(compiler cmake ninja googletest benchmark)
[ "$quick" = yes ] || packages+=(clang clang-format clang-tidy)
require_packages "${packages[@]}"
if [ "$quick" = no ]; then
    check format check_format
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
