# shellcheck shell=bash
# CRLs from a directory, and the update of the whole table.

# An entry of the directory with a CRL.
directory_entry() {
  printf 'dn: cn=%s,c=IT\nobjectClass: cRLDistributionPoint\ncn: %s\n' "$1" "$1"
  printf 'certificateRevocationList;binary:: %s\n\n' "$(base64 -w 0 "$2")"
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
  "$examples/ask_revocation" --data "$folder/ldap" --log "$work/log" --ca "$pkits/certs/GoodCACert.crt" \
    --certificate "$pkits/certs/ValidCertificatePathTest1EE.crt" --at "$(address GoodCA)" \
    --certificate "$pkits/certs/InvalidRevokedEETest3EE.crt" --at "$(address GoodCA)"
  show_log

  echo
  echo "== Filling the whole table from the distribution points of four CAs: in the directory, on the web server, the CRL"
  echo "   of a CA that is not in the list, nowhere"
  "$examples/update_cache" --data "$folder/update" --log "$work/log" --save \
    --ca "$folder/North.pem" --ca "$folder/South.pem" --ca "$folder/East.pem" --ca "$folder/West.pem"
  echo
  echo "== Updating it, from the saved files: only what changed at its server is fetched again"
  publish_crl South now
  cp -p "$folder/South.crl" "$work/www/"
  "$examples/update_cache" --data "$folder/update" --log "$work/log" --load
)
