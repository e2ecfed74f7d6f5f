#!/bin/sh
# The service that ServiceAgent.c closes and opens: it does nothing until SIGTERM. As long as it
# runs, service.pid beside it holds its process id and its version. Forgotten, it ends after ten
# minutes.
version=1
pid=$(dirname "$0")/service.pid
sleep 600 &
sleeper=$!
trap 'kill "$sleeper"; rm -f "$pid"; exit' TERM
echo "$$ $version" >"$pid.new" && mv "$pid.new" "$pid"
wait "$sleeper"
rm -f "$pid"
