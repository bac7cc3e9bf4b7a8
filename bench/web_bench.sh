#!/usr/bin/env bash
# Requests a second and the 99th percentile of their times, of the style sheet and of a page of 50 slots, beside nginx
# with one worker on files of the same sizes: web_bench.sh HOST [SECONDS]. All three programs share the machine.
set -euo pipefail
seconds=${2:-5}
work=$(mktemp -d)
cleanup() {
  exec 4>&- || true
  [[ -z ${nginx-} ]] || kill "$nginx" 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT

mkfifo "$work/in" "$work/out"
"$1" <"$work/in" >"$work/out" &
exec 4>"$work/in" 5<"$work/out"
while read -r port memory <&5; do # past what the node says itself
  [[ $port =~ ^[0-9]+$ ]] && break
done
pages=(/Style.css '/OutSlots.html?namespace=Many')

# nginx takes the path for a file; what follows the question mark it leaves alone.
mkdir "$work/root"
for page in "${pages[@]}"; do
  curl --silent --fail --noproxy '*' "http://127.0.0.1:$port$page" >"$work/root/${page%%\?*}"
done
chmod -R a+rX "$work"
cat >"$work/nginx.conf" <<CONF
worker_processes 1; daemon off; master_process off; pid $work/pid; error_log $work/errors;
events { worker_connections 1024; }
http {
  access_log off; keepalive_requests 1000000000; sendfile on; open_file_cache max=16;
  client_body_temp_path $work/a; proxy_temp_path $work/b; fastcgi_temp_path $work/c; uwsgi_temp_path $work/d;
  scgi_temp_path $work/e;
  server { listen unix:$work/socket; root $work/root; }
  server { listen 127.0.0.1:PORT; root $work/root; }
}
CONF
# The system chooses a port that is free, and nginx tries another one when somebody was quicker.
for _ in {1..20}; do
  free=$(/usr/bin/python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
  sed "s/PORT/$free/" "$work/nginx.conf" >"$work/try.conf"
  PATH=$PATH:/usr/sbin nginx -c "$work/try.conf" 2>/dev/null &
  nginx=$!
  for _ in {1..100}; do
    kill -0 "$nginx" 2>/dev/null || break
    [[ -S $work/socket ]] && curl --silent --fail --noproxy '*' -o /dev/null "http://127.0.0.1:$free/Style.css" && break 2
    sleep 0.1
  done
done

# measure URL CONNECTIONS: requests a second and the 99th percentile
measure() {
  wrk -t1 -c"$2" -d"${seconds}s" --latency "$1" |
    awk '$1 == "99%" { p = $2 } $1 == "Requests/sec:" { r = $2 } END { print r, p }'
}

echo "memory of an idle connection: $memory bytes"
printf '%-32s %5s %12s %10s %12s %10s %6s\n' page conns requests/s 99% nginx/s 99% ratio
for page in "${pages[@]}"; do
  for connections in 1 8 64; do
    read -r ours ours99 < <(measure "http://127.0.0.1:$port$page" $connections)
    read -r theirs theirs99 < <(measure "http://127.0.0.1:$free$page" $connections)
    printf '%-32s %5d %12s %10s %12s %10s %6s\n' "$page" $connections "$ours" "$ours99" "$theirs" "$theirs99" \
      "$(awk "BEGIN { printf \"%.2f\", $ours / $theirs }")"
  done
done
