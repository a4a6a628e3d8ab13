#!/usr/bin/env bash
# A PostgreSQL server of the tests' own: loopback, a free port, a data folder that goes with it.
#   postgres.sh [SECONDS]
# prints "READY port=PORT pid=PID" (superuser boss, password pw; further database sales) and serves until it is killed or SECONDS (600) are over.
set -euo pipefail
life=${1:-600}
bin=$(ls -d /usr/lib/postgresql/*/bin 2>/dev/null | sort -V | tail -n 1)
[ -x "$bin/postgres" ] || { echo "postgresql is not installed"; exit 1; }
dir=$(mktemp -d "${TMPDIR:-/tmp}/quillmark-postgres-XXXXXX")
as=()
if [ "$(id -u)" -eq 0 ]; then # the server refuses to run as root
  chown postgres "$dir"
  as=(setpriv --reuid=postgres --regid=postgres --clear-groups)
fi
server=
end() {
  trap - EXIT TERM INT
  [ -z "$server" ] || kill -QUIT "$server" 2>/dev/null || true
  [ -z "$server" ] || wait "$server" 2>/dev/null || true
  rm -rf "$dir"
  exit 0
}
trap end EXIT TERM INT

printf pw >"$dir/password"
chmod 644 "$dir/password"
cd "$dir"
"${as[@]}" "$bin/initdb" -D "$dir/data" -U boss --pwfile="$dir/password" -A scram-sha-256 -E UTF8 --no-locale -N >"$dir/said" 2>&1 ||
  { cat "$dir/said"; exit 1; }
port=$(/usr/bin/python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
"${as[@]}" "$bin/postgres" -D "$dir/data" -p "$port" -h 127.0.0.1 -k "$dir" -c fsync=off -c shared_buffers=32MB >"$dir/said" 2>&1 &
server=$!
for _ in $(seq 100); do
  if PGPASSWORD=pw "$bin/psql" -qh 127.0.0.1 -p "$port" -U boss -d postgres -c 'CREATE DATABASE sales' >/dev/null 2>&1; then
    echo "READY port=$port pid=$server"
    for _ in $(seq "$life"); do
      sleep 1 &
      wait $! || true
      kill -0 "$server" 2>/dev/null || break
    done
    exit 0
  fi
  kill -0 "$server" 2>/dev/null || break
  sleep 0.1
done
cat "$dir/said"
exit 1
