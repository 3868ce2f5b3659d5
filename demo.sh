#!/usr/bin/env bash
# Shows the main job on real input.
#   ./demo.sh                    CAs, certificates, CRLs and trusted lists that others made, served by small local
#                                servers; then a CA of the demo's own with its OCSP responder
#   ./demo.sh CERT.pem CA.pem    is CERT, issued by CA, revoked? Its distribution points, the network for real
# Set KEYSTRAND_TESTDATA to a folder with real CAs, CRLs and trusted lists to have them shown too.
# Installs what is missing, leaves no service behind. Each part stands in a file of scripts/demo.
set -euo pipefail
cd "$(dirname "$0")"
scripts/install-dependencies.sh build demo

echo "== Building (some minutes the first time)"
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1
cmake -S . -B build-demo -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_COMPILE_WARNING_AS_ERROR=ON >/dev/null
cmake --build build-demo --target ask_revocation ask_responder load_trusted_lists update_cache \
  verify_trust_list -- --quiet
examples=$PWD/build-demo/examples
demo=$PWD/scripts/demo
testdata=${KEYSTRAND_TESTDATA:-}

work=$(mktemp -d)
server=
cleanup() {
  [[ -z $server ]] || kill "$server" 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT
mkdir "$work/data" "$work/www" "$work/ocsp" "$work/kept"

show_log() {
  echo
  echo "  The log says:"
  sed 's/^/    /' "$work/log"
  : >"$work/log"
}

if [[ $# -gt 0 ]]; then
  [[ $# -eq 2 && -r $1 && -r $2 ]] || { sed -n '2,7s/^# \{0,1\}//p' "$0" >&2; exit 2; }
  echo "== Asking about $1"
  answered=0
  "$examples/ask_revocation" --data "$work/data" --log "$work/log" --ca "$2" --certificate "$1" || answered=$?
  show_log
  exit $answered
fi

for part in servers crls ldap lists ocsp; do
  # shellcheck source=/dev/null
  source "$demo/$part.sh"
done
demonstrate_crls
demonstrate_ldap
demonstrate_lists
demonstrate_ocsp
