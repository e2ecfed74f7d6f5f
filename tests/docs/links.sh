#!/usr/bin/env bash
# links.sh SOURCE: every link of README and the documents leads to a file that is there, and to a
# heading of it.
set -euo pipefail
cd "$1"

# The anchors of a document's headings: lower case, without marks, blanks as hyphens.
anchors() {
    sed -n 's/^##* //p' "$1" | tr '[:upper:]' '[:lower:]' | sed 's/[^a-z0-9 _-]//g; s/ /-/g'
}

bad=0
links=0
for document in README.md docs/*.md; do
    while IFS= read -r link; do
        links=$((links + 1))
        file=${link%%#*}
        target=$document
        [ -z "$file" ] || target=$(dirname "$document")/$file
        if [ ! -e "$target" ]; then
            printf '%s: %s is not there\n' "$document" "$link"
            bad=1
        elif [ "$file" != "$link" ] && ! anchors "$target" | grep -qxF -e "${link#*#}"; then
            printf '%s: %s has no such heading\n' "$document" "$link"
            bad=1
        fi
    done < <(sed 's/`[^`]*`//g' "$document" | grep -oE '\]\([^)]+\)' | sed 's/^](//; s/)$//')
done
[ "$links" -ge 10 ] || { echo "only $links links were found"; bad=1; }
exit "$bad"
