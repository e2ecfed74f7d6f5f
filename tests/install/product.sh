# product_story AGENT: what the agent of the new interface does.

# What stands in the destination without the saved copies: modes, names and contents.
product_tree() {
    (cd "$app" && find . -path ./VC_Backup -prune -o -type f -print | LC_ALL=C sort |
        while IFS= read -r file; do
            printf '%s %s %s\n' "$([ -x "$file" ] && echo x || echo -)" "$file" "$(cat "$file")"
        done)
}

product_story() {
    put "$app/settings.conf" green
    put "$app/run.sh" '#!/bin/sh'
    chmod 755 "$app/run.sh"
    local before
    before=$(product_tree)

    put "$staging/1/7/settings.conf" blue
    put "$staging/1/7/run.sh" '#!/bin/sh -e'
    put "$staging/1/7/bin/new.sh" '#!/bin/sh -u'
    put "$staging/1/7/data.txt" words
    cp "$tool" "$staging/1/7/bin/tool"
    describe 0 1 "$1"
    runs 0 "an update with the product's agent"
    expect "a new program runs" test -x "$app/bin/tool"
    cmp "$tool" "$app/bin/tool" || fail "the program is the staged one"
    rm "$app/bin/tool"
    local updated="x ./bin/new.sh #!/bin/sh -u
- ./data.txt words
x ./run.sh #!/bin/sh -e
- ./settings.conf green"
    same "$updated" "$(product_tree)" "after the update"

    rm "$staging/1/7/bin/tool"
    put "$staging/1/7/data.txt" more
    put "$staging/1/7/unsigned.bin" bad
    describe 0 1 "$1"
    runs 60 "an update that the agent does not like"
    same "$updated" "$(product_tree)" "after the update that failed"
    log | grep -q 'callBackForUpdate: check file failed.' || fail "the log says why"

    describe 1 1 "$1"
    runs 0 "a rollback"
    same "$before" "$(product_tree)" "after the rollback"
}
