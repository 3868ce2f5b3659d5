# shellcheck shell=bash
# CRLs over HTTP: fetched, verified, kept.

cas=()
questions=()

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

# First serial number that OpenSSL finds on a CRL.
first_revoked() {
  openssl crl -in "$1" -noout -text 2>/dev/null | sed -n "s/^ *Serial Number: *//p" | head -n 1 || true
}

# CAs and CRLs of European trust service providers, where the folder with them is at hand.
collect_european() {
  local data=$testdata ca crl serial address
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

demonstrate_crls() {
  start_server "${web_server[@]}"
  collect_nist
  if [[ -n $testdata ]]; then
    collect_european
  else
    echo "   (set KEYSTRAND_TESTDATA to a folder with real CAs and CRLs to have European ones among the questions)"
  fi

  echo "== Asking, with an empty cache: each CRL comes from the web server and is verified"
  "$examples/ask_revocation" --data "$work/data" --log "$work/log" --save "${cas[@]}" "${questions[@]}"
  show_log

  stop_server
  echo
  echo "== Restarting from the saved files, the web server gone: the cache answers, nothing is downloaded"
  "$examples/ask_revocation" --data "$work/data" --log "$work/log" --mode 4 --load "${questions[@]}"
  show_log
}
