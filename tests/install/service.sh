# service_story AGENT: what the agent of the old interface does.

elsewhere=$work/elsewhere

# The process and the version of the service that runs, when one does within ten seconds.
service_line() {
    local tries=0
    while [ ! -f "$elsewhere/service.pid" ]; do
        tries=$((tries + 1))
        [ "$tries" -lt 200 ] || return 0
        sleep 0.05
    done
    cat "$elsewhere/service.pid"
}

stop_service() {
    [ ! -f "$elsewhere/service.pid" ] || kill "$(cut -d ' ' -f 1 "$elsewhere/service.pid")"
}

# now_runs VERSION TEXT: a service of that version runs, and not the one of before.
now_runs() {
    local seen
    seen=$(service_line)
    same "$1" "${seen#* }" "$2: the version that runs"
    [ "$seen" != "$running" ] || fail "$2: the service was not opened anew"
    running=$seen
}

service_story() {
    mkdir -p "$app" "$elsewhere" "$staging/1/7"
    printf '%s\n' "$elsewhere" >"$app/moved-to"
    cp "$work/examples/service.sh" "$elsewhere/service"
    put "$elsewhere/driver.bin" "driver 1"
    sed 's/^version=1/version=2/' "$elsewhere/service" >"$staging/1/7/service"
    put "$staging/1/7/driver.bin" "driver 2"
    trap stop_service EXIT
    "$elsewhere/service" >/dev/null 2>&1 &
    running=
    now_runs 1 "before the update"

    describe 0 0 "$1"
    runs 1 "an update with the service's agent"
    now_runs 2 "after the update"
    same "driver 1" "$(cat "$elsewhere/driver.bin")" "the driver stays until the restart"
    same "moved-to" "$(ls "$app" | grep -v VC_Backup)" "nothing goes where the product was"
    log | tr -d ' \n' | grep -qF "src[$staging/1/7/driver.bin]->dst[$elsewhere/driver.bin]" ||
        fail "the log names the driver"

    # A directory where a file should go: the disk refuses, the update is undone.
    mkdir "$elsewhere/zz"
    put "$staging/1/7/zz" file
    describe 0 0 "$1"
    runs 58 "an update that fails"
    now_runs 2 "after the update that failed"
    rm "$staging/1/7/zz"

    describe 1 0 "$1"
    runs 1 "a rollback"
    now_runs 1 "after the rollback"
    stop_service
}
