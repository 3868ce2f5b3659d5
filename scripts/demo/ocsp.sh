# shellcheck shell=bash
# A CA of the demo's own and its OCSP responder.

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

demonstrate_ocsp() {
  local ask=("$examples/ask_responder" --issuer "$work/ocsp/ca.pem" --log "$work/log")
  local people=("$work/ocsp/Ada.pem" "$work/ocsp/Bruno.pem")
  echo
  echo "== Asking the OCSP responder that each certificate names"
  start_server scripts/ocsp-responder.py "$work/ocsp"
  (cd "$work/ocsp" && make_ca) >"$work/openssl" 2>&1 || { cat "$work/openssl" >&2; exit 1; }
  "${ask[@]}" --keep "$work/kept" "${people[@]}"
  show_log

  stop_server
  echo
  echo "== The responder gone: the kept responses answer, nobody is asked"
  "${ask[@]}" --kept "$work/kept" "${people[@]}"
  show_log
}
