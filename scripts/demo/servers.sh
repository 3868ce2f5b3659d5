# shellcheck shell=bash
# Local servers of the demo.

# openssl, whose words show only when it fails.
quiet_openssl() {
  openssl "$@" 2>"$work/openssl" || { cat "$work/openssl" >&2; exit 1; }
}

url=

# serve FILE: puts a file on the web server and tells where.
serve() {
  cp "$1" "$work/www/" && chmod u+w "$work/www/$(basename "$1")"
  printf '%s/%s' "$url" "$(basename "$1")"
}

web_server=(python3 -u -m http.server --bind 127.0.0.1 --directory "$work/www" 0)

# start_server COMMAND...: starts a server on a free port of this machine, which its first lines tell.
start_server() {
  local port=
  : >"$work/server"
  "$@" >>"$work/server" 2>&1 &
  server=$!
  for _ in $(seq 100); do
    port=$(sed -n 's/.*port \([0-9]*\).*/\1/p' "$work/server")
    [[ -z $port ]] || break
    sleep 0.1
  done
  [[ -n $port ]] || { echo "a local server did not start" >&2; exit 1; }
  url=http://127.0.0.1:$port
}

stop_server() {
  kill "$server"
  wait "$server" 2>/dev/null || true
  server=
}
