#!/usr/bin/env bash
# Shows the main job on real input.
#   ./demo.sh                    CAs, certificates and CRLs that others made, served by a small local web server; then a
#                                CA of the demo's own with its OCSP responder
#   ./demo.sh CERT.pem CA.pem    is CERT, issued by CA, revoked? Its distribution points, the network for real
# Installs what is missing, leaves no service behind.
set -euo pipefail
cd "$(dirname "$0")"
scripts/install-dependencies.sh build demo

echo "== Building (some minutes the first time)"
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1
cmake -S . -B build-demo -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_COMPILE_WARNING_AS_ERROR=ON >/dev/null
cmake --build build-demo --target ask_revocation ask_responder update_cache -- --quiet
ask=$PWD/build-demo/examples/ask_revocation
ask_responder=$PWD/build-demo/examples/ask_responder
update=$PWD/build-demo/examples/update_cache

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
  [[ $# -eq 2 && -r $1 && -r $2 ]] || { sed -n '2,6s/^# \{0,1\}//p' "$0" >&2; exit 2; }
  echo "== Asking about $1"
  answered=0
  "$ask" --data "$work/data" --log "$work/log" --ca "$2" --certificate "$1" || answered=$?
  show_log
  exit $answered
fi

cas=()
questions=()
url=

# serve FILE: puts a CRL on the web server and tells where.
serve() {
  cp "$1" "$work/www/" && chmod u+w "$work/www/$(basename "$1")"
  printf '%s/%s' "$url" "$(basename "$1")"
}

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

# The public key infrastructure test suite of NIST: certificates and CRLs that exercise every corner of RFC 5280.
collect_nist() {
  local pkits=/usr/lib/python3/dist-packages/cryptography_vectors/x509/PKITS_data row ca certificate
  while read -r ca certificate; do
    cas+=(--ca "$pkits/certs/${ca}Cert.crt")
    questions+=(--certificate "$pkits/certs/$certificate.crt" --at "$(serve "$pkits/crls/${ca}CRL.crl")")
  done <<'ROWS'
GoodCA ValidCertificatePathTest1EE
GoodCA InvalidRevokedEETest3EE
LongSerialNumberCA InvalidLongSerialNumberTest18EE
LongSerialNumberCA ValidLongSerialNumberTest17EE
NegativeSerialNumberCA InvalidNegativeSerialNumberTest15EE
UTF8StringEncodedNamesCA ValidUTF8StringEncodedNamesTest9EE
ROWS
}

# certify NAME EXTENSIONS: a key and a certificate of the demo's own CA.
certify() {
  openssl req -newkey rsa:2048 -nodes -keyout "$1.key" -out "$1.csr" -subj "/C=EU/O=Keystrand demo/CN=$1"
  openssl ca -config ca.cnf -batch -notext -extensions "$2" -in "$1.csr" -out "$1.pem"
}

# A CA, a responder that it has certified, and two certificates that name the responder at $url; one is revoked.
make_ca() {
  cat >ca.cnf <<CONFIG
[ca]
default_ca = demo
[demo]
certificate = ca.pem
private_key = ca.key
database = index.txt
new_certs_dir = .
rand_serial = yes
default_md = sha256
default_days = 30
policy = any
[any]
countryName = optional
organizationName = optional
commonName = supplied
[person]
keyUsage = critical,nonRepudiation
authorityInfoAccess = OCSP;URI:$url/ocsp
[responder]
keyUsage = critical,digitalSignature
extendedKeyUsage = OCSPSigning
CONFIG
  : >index.txt
  openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 30 -keyout ca.key -out ca.pem \
    -subj "/C=EU/O=Keystrand demo/CN=Demo CA"
  certify responder responder
  certify Ada person
  certify Bruno person
  openssl ca -config ca.cnf -revoke Bruno.pem -crl_reason keyCompromise
}

# First serial number that OpenSSL finds on a CRL.
first_revoked() {
  openssl crl -in "$1" -noout -text 2>/dev/null | sed -n "s/^ *Serial Number: *//p" | head -n 1 || true
}

# CAs and CRLs of European trust service providers, where the folder with them is at hand.
collect_european() {
  local data=$1 ca crl serial address
  while read -r ca crl; do
    [[ -r $data/$ca && -r $data/$crl ]] || continue
    cas+=(--ca "$data/$ca")
    address=$(serve "$data/$crl")
    serial=$(first_revoked "$data/$crl")
    [[ -z $serial ]] || questions+=(--serial "$serial" --issuer "$data/$ca" --at "$address")
    questions+=(--serial 0123456789ABCDEF --issuer "$data/$ca" --at "$address")
  done <<'ROWS'
crl/real/issuers/ti-trust-technologies-ca-1-737fbaf1.pem crl/real/crl_with_expiredCertsOnCRL_extension.crl
crl/real/issuers/luxtrust-global-qualified-ca-3-bed0f19e.pem crl/real-embedded/luxtrust-global-qualified-ca-3-2017-06-01-7aa4e2.crl
crl/real/issuers/ca-of-the-justice-of-ukraine-486e2dc1.pem crl/real/CA-5358AA45-Full.crl
crl/real/issuers/d-trust-root-ca-1-2017-4d24807b.pem crl/real/d-trust_root_ca_1_2017.crl
ROWS
}

# An entry of the directory with a CRL.
directory_entry() {
  printf 'dn: cn=%s,c=IT\nobjectClass: cRLDistributionPoint\ncn: %s\n' "$1" "$1"
  printf 'certificateRevocationList;binary:: %s\n\n' "$(base64 -w 0 "$2")"
}

# openssl, whose words show only when it fails.
quiet_openssl() {
  openssl "$@" 2>"$work/openssl" || { cat "$work/openssl" >&2; exit 1; }
}

# publish_ca NAME URL: a CA whose certificate says that its CRL is there, and a CRL of yesterday with one entry.
publish_ca() {
  local file=$folder/$1
  printf 'R\t380101000000Z\t260101000000Z,keyCompromise\t0A\tunknown\t/CN=somebody\n' >"$file.index"
  cat >"$file.conf" <<CONF
[ca]
default_ca = issuer
[issuer]
database = $file.index
default_md = sha256
default_crl_days = 30
[req]
distinguished_name = subject
x509_extensions = extensions
prompt = no
[subject]
C = IT
CN = $1
[extensions]
basicConstraints = critical,CA:TRUE
keyUsage = critical,keyCertSign,cRLSign
crlDistributionPoints = point
[point]
fullname = @address
[address]
URI = $2
CONF
  quiet_openssl req -x509 -newkey rsa:2048 -nodes -days 365 -config "$file.conf" -keyout "$file.key" -out "$file.pem"
  publish_crl "$1" yesterday
}

# publish_crl NAME DAY: the CRL that the CA issues on that day.
publish_crl() {
  local file=$folder/$1
  quiet_openssl ca -gencrl -config "$file.conf" -keyfile "$file.key" -cert "$file.pem" -out "$file.crl.pem" \
    -crl_lastupdate "$(date -u -d "$2" +%Y%m%d%H%M%SZ)"
  quiet_openssl crl -in "$file.crl.pem" -outform DER -out "$file.crl"
  touch -d "$2" "$file.crl"
}

# Starts a directory that holds the entries of $folder/entries on the port $port of this machine.
start_directory() {
  local path=$PATH:/usr/sbin
  cat >"$folder/conf" <<CONF
include /etc/ldap/schema/core.schema
modulepath /usr/lib/ldap
moduleload back_mdb
pidfile $folder/pid
database mdb
suffix c=IT
directory $folder/db
CONF
  PATH=$path slapadd -q -f "$folder/conf" -l "$folder/entries"
  PATH=$path slapd -h "ldap://127.0.0.1:$port" -f "$folder/conf" -d 0 2>/dev/null &
  directory=$!
  for _ in $(seq 100); do
    ldapsearch -x -H "ldap://127.0.0.1:$port" -b c=IT -s base >/dev/null 2>&1 && return
    sleep 0.1
  done
  echo "the local directory did not start" >&2
  exit 1
}

# CRLs from a directory, and an update of the whole table. In a shell of its own, which ends what it starts.
demonstrate_ldap() (
  folder=$work/directory
  directory=
  trap 'kill $directory $server 2>/dev/null; wait' EXIT
  mkdir -p "$folder/db" "$folder/ldap" "$folder/update"
  port=$(python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
  start_server "${web_server[@]}"
  pkits=/usr/lib/python3/dist-packages/cryptography_vectors/x509/PKITS_data
  at="ldap://127.0.0.1:$port/cn=%s,c=IT?certificateRevocationList;binary"
  # shellcheck disable=SC2059
  address() { printf "$at" "$1"; }
  publish_ca North "$(address North)"
  publish_ca South "$url/South.crl"
  publish_ca East "$(address East)"
  publish_ca West "http://127.0.0.1:1/West.crl"
  cp -p "$folder/South.crl" "$work/www/"
  {
    printf 'dn: c=IT\nobjectClass: country\nc: IT\n\n'
    directory_entry GoodCA "$pkits/crls/GoodCACRL.crl"
    directory_entry North "$folder/North.crl"
    directory_entry East "$pkits/crls/GoodCACRL.crl"
  } >"$folder/entries"
  start_directory

  echo
  echo "== The same question over LDAP: the CRL comes from a directory"
  "$ask" --data "$folder/ldap" --log "$work/log" --ca "$pkits/certs/GoodCACert.crt" \
    --certificate "$pkits/certs/ValidCertificatePathTest1EE.crt" --at "$(address GoodCA)" \
    --certificate "$pkits/certs/InvalidRevokedEETest3EE.crt" --at "$(address GoodCA)"
  show_log

  echo
  echo "== Filling the whole table from the distribution points of four CAs: in the directory, on the web server, the CRL"
  echo "   of a CA that is not in the list, nowhere"
  "$update" --data "$folder/update" --log "$work/log" --save \
    --ca "$folder/North.pem" --ca "$folder/South.pem" --ca "$folder/East.pem" --ca "$folder/West.pem"
  echo
  echo "== Updating it, from the saved files: only what changed at its server is fetched again"
  publish_crl South now
  cp -p "$folder/South.crl" "$work/www/"
  "$update" --data "$folder/update" --log "$work/log" --load
)
web_server=(python3 -u -m http.server --bind 127.0.0.1 --directory "$work/www" 0)
start_server "${web_server[@]}"
collect_nist
if [[ -n ${KEYSTRAND_TESTDATA:-} ]]; then
  collect_european "$KEYSTRAND_TESTDATA"
else
  echo "   (set KEYSTRAND_TESTDATA to a folder with real CAs and CRLs to have European ones among the questions)"
fi

echo "== Asking, with an empty cache: each CRL comes from the web server and is verified"
"$ask" --data "$work/data" --log "$work/log" --save "${cas[@]}" "${questions[@]}"
show_log

stop_server
echo
echo "== Restarting from the saved files, the web server gone: the cache answers, nothing is downloaded"
"$ask" --data "$work/data" --log "$work/log" --mode 4 --load "${questions[@]}"
show_log

demonstrate_ldap

echo
echo "== Asking the OCSP responder that each certificate names"
start_server scripts/ocsp-responder.py "$work/ocsp"
(cd "$work/ocsp" && make_ca) >"$work/openssl" 2>&1 || { cat "$work/openssl" >&2; exit 1; }
people=("$work/ocsp/Ada.pem" "$work/ocsp/Bruno.pem")
"$ask_responder" --issuer "$work/ocsp/ca.pem" --log "$work/log" --keep "$work/kept" "${people[@]}"
show_log

stop_server
echo
echo "== The responder gone: the kept responses answer, nobody is asked"
"$ask_responder" --issuer "$work/ocsp/ca.pem" --log "$work/log" --kept "$work/kept" "${people[@]}"
show_log
