#!/usr/bin/env bash
# Installs the Debian packages that a job needs, and nothing where they are there already.
#   scripts/install-dependencies.sh GROUP...      groups: build demo test bench fuzz lint
# No server that comes along is started: a policy file refuses it for the time of the installation.
set -euo pipefail

declare -A packages=(
  [build]="g++ cmake ninja-build pkg-config ccache libssl-dev libcurl4-openssl-dev libp11-kit-dev libpacparser-dev
           libxml2-dev libxslt1-dev"
  [demo]="python3 python3-cryptography-vectors openssl ca-certificates slapd ldap-utils xmlsec1"
  [test]="libgtest-dev libgmock-dev nlohmann-json3-dev python3 python3-cryptography-vectors openssl ca-certificates
          nginx-light tinyproxy-bin dante-server microsocks softhsm2 slapd ldap-utils opensc xmlsec1"
  [bench]="libbenchmark-dev libxmlsec1-dev nginx-light slapd ldap-utils python3"
  [fuzz]="clang libclang-rt-14-dev"
  [lint]="clang-format clang-tidy"
)

wanted=()
for group in "$@"; do
  [[ -n ${packages[$group]:-} ]] || { echo "unknown group: $group" >&2; exit 2; }
  read -r -d '' -a names <<<"${packages[$group]}" || true
  wanted+=("${names[@]}")
done

missing=()
for name in "${wanted[@]}"; do
  dpkg-query -W -f '${db:Status-Status}\n' "$name" 2>/dev/null | grep -qx installed || missing+=("$name")
done
[[ ${#missing[@]} -gt 0 ]] || exit 0

as_root=()
if [[ $(id -u) -ne 0 ]]; then
  command -v sudo >/dev/null || { echo "run as root, or install sudo, for: ${missing[*]}" >&2; exit 1; }
  as_root=(sudo)
fi

policy=/usr/sbin/policy-rc.d
if [[ ! -e $policy ]]; then
  printf '#!/bin/sh\nexit 101\n' | "${as_root[@]}" tee "$policy" >/dev/null
  "${as_root[@]}" chmod 755 "$policy"
  trap '"${as_root[@]}" rm -f "$policy"' EXIT
fi

echo "installing: ${missing[*]}"
log=$(mktemp)
if ! { "${as_root[@]}" apt-get update -qq &&
       "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"; } \
     >"$log" 2>&1; then
  tail -n 30 "$log" >&2
  echo "installation failed, full output in $log" >&2
  exit 1
fi
rm -f "$log"
