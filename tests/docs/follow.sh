#!/usr/bin/env bash
# follow.sh SOURCE SCRATCH [--long]: does what README and the documents say, word for word, in their
# order: their commands are run, their files are written, and what a command prints must be what is
# shown. A block is marked by the words behind its fence:
#   sh            commands, run by bash, for README in a copy of the source tree
#   output        what the commands before it print
#   <kind> NAME   the file NAME
#   cpp           a part of a file: each of its lines stands in docs/agent.md or in a test
#   text          a picture, not followed
# Without --long the commands that build everything are passed over.
set -euo pipefail

source_dir=$1
scratch=$2
long=${3:-}
rm -rf "$scratch"
mkdir -p "$scratch/blocks"
scratch=$(cd "$scratch" && pwd -P)
export HOME=$scratch/home
export CMAKE_GENERATOR=Ninja
if command -v ccache >/dev/null; then
    export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
fi

fail() {
    printf 'failed: %s\n' "$*" >&2
    exit 1
}

# What a newcomer has: the sources, and nothing that was built from them.
copy_sources() {
    mkdir -p "$HOME/README"
    (cd "$source_dir" && tar cf - --exclude ./build --exclude ./.git .) |
        (cd "$HOME/README" && tar xf -)
}

# split FILE PREFIX: each block of the document as PREFIX.<number>, its mark as PREFIX.<number>.mark;
# prints how many there are.
split() {
    awk -v prefix="$2" '
        !inside && /^```/ { inside = 1; n++; file = prefix "." n
            print substr($0, 4) >(file ".mark"); printf "" >file; next }
        inside && /^```/ { inside = 0; close(file); close(file ".mark"); next }
        inside { print >file }
        !inside && /^    [^ ]/ { print FILENAME ": a block without a fence: " $0 >"/dev/stderr"; bad = 1 }
        END { if (inside) { print FILENAME ": a fence is open" >"/dev/stderr"; bad = 1 }
            print n + 0; exit bad }' "$1"
}

# The commands of a block that are followed here.
commands() {
    # This very test is part of what these run.
    local left_out='^(scripts/test\.sh|ctest)'
    [ "$long" = --long ] || left_out='^(scripts/|ctest|cmake --preset)'
    grep -v -E "$left_out" "$1" || true
}

# in_a_file BLOCK: every line of it stands somewhere, whatever its indentation.
in_a_file() {
    local line
    while IFS= read -r line; do
        line=${line#"${line%%[! ]*}"}
        [ -z "$line" ] || grep -qF -e "$line" "$source_dir/docs/agent.md" ||
            grep -rqF --include='*.cpp' -e "$line" "$source_dir/tests" ||
            fail "no file holds this line: $line"
    done <"$1"
}

# follow DOCUMENT
follow() {
    local name dir count n block mark kind file printed=''
    name=$(basename "$1" .md)
    dir=$HOME/$name
    mkdir -p "$dir"
    count=$(split "$source_dir/$1" "$scratch/blocks/$name")
    for ((n = 1; n <= count; n++)); do
        block=$scratch/blocks/$name.$n
        mark=$(cat "$block.mark")
        kind=${mark%% *}
        file=${mark#"$kind"}
        file=${file# }
        case $kind in
            sh)
                commands "$block" >"$block.sh"
                (cd "$dir" && bash -euo pipefail "$block.sh") >"$block.out" 2>"$block.err" ||
                    { cat "$block.sh" "$block.out" "$block.err"; fail "$1, block $n"; }
                printed=$block.out
                ;;
            output) diff "$block" "$printed" || fail "$1, block $n: the output is another one" ;;
            text) ;;
            cmake | c | cpp | ini)
                if [ -n "$file" ]; then cp "$block" "$dir/$file"; else in_a_file "$block"; fi
                ;;
            *) fail "$1, block $n: a block marked '$mark' cannot be followed" ;;
        esac
    done
    printf '%s: %d blocks followed\n' "$1" "$count"
    total=$((total + count))
}

copy_sources
total=0
for document in README.md docs/agent.md docs/caller.md docs/log.md docs/maintainer.md; do
    follow "$document"
done
[ "$total" -ge 15 ] || fail "only $total blocks were found"
rm -rf "$scratch"
