#!/usr/bin/env bash
# What curl makes of the web interface: curl_story.sh PROGRAM
set -euo pipefail
work=$(mktemp -d)
trap 'kill "$host" 2>/dev/null || true; rm -rf "$work"' EXIT

cat >"$work/tree.vfx" <<'TREE'
<Vantiflux versionMajor="1">
  <Node label="Web" type="Web">
    <Parameter name="Address" value="127.0.0.1"/>
    <Parameter name="UserId" value="ann"/>
    <Parameter name="Password" value="s e:cret"/>
  </Node>
  <Namespace label="Inner"/>
</Vantiflux>
TREE
mkfifo "$work/errors"
"$1" run "$work/tree.vfx" --web 0 2>"$work/errors" >/dev/null &
host=$!
exec 3<"$work/errors"
read -r line <&3
base=${line##* }

# expect STATUS CURL_ARGUMENT...: the status of the reply.
expect() {
  local wanted=$1 got
  shift
  got=$(curl --silent --max-time 100 --output "$work/body" --write-out '%{http_code}' --noproxy '*' "$@") || true
  [[ $got == "$wanted" ]] || { echo "curl $*: $got in place of $wanted"; exit 1; }
}
login=(--user 'ann:s e:cret')

expect 401 "$base"
expect 401 --user 'ann:wrong' "${base}Style.css"
expect 401 --user 'ann:s e:cret' --request OPTIONS "$base" --header 'Authorization: Basic'
expect 200 "${login[@]}" --location "$base"
expect 200 "${login[@]}" --http1.0 "${base}Style.css"
expect 200 "${login[@]}" --head "${base}Style.css"
expect 404 "${login[@]}" --path-as-is "${base}../../etc/passwd"
expect 404 "${login[@]}" --path-as-is "${base}%2e%2e/%2e%2e/etc/passwd"
expect 400 "${login[@]}" "${base}%zz"
expect 400 "${login[@]}" "${base}Nodes.html?namespace=%f"
expect 431 "${login[@]}" --header "X: $(printf '%070000d' 0)" "$base"
expect 405 "${login[@]}" --data x "${base}Nodes.html"
expect 413 "${login[@]}" --header 'Transfer-Encoding: chunked' --upload-file - --request POST "${base}Load" </dev/zero
expect 403 "${login[@]}" --header 'Sec-Fetch-Site: cross-site' "${base}RemoveNamespace.html?label=Inner"

# Several on one connection, and a file there and back.
curl --silent --fail --noproxy '*' "${login[@]}" --output "$work/saved" "${base}Save" --next --silent --fail \
  --noproxy '*' "${login[@]}" --output "$work/page" "${base}SubNamespaces.html"
grep -q 'Inner</A>' "$work/page"
expect 303 "${login[@]}" "${base}RemoveNamespace.html?label=Inner"
expect 200 "${login[@]}" --form "filename=@$work/saved" --form namespace= --header 'Expect: 100-continue' "${base}Load"
grep -q 'State successfully loaded!' "$work/body"
kill -TERM "$host"
wait "$host"
