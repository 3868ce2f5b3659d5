# shellcheck shell=bash
# Trusted lists: from the list of lists to the CAs of the countries, and what the states say of one.

# The real lists of one year, as they were signed; only the list of lists is led to the local server.
collect_real_lists() {
  local list
  for list in "$testdata"/tl/2023/??.xml; do serve "$list" >/dev/null; done
  "$demo/local-list-of-lists.py" "$testdata/tl/2023/eu-lotl.xml" "$url" AT "$folder/certificate" >"$work/www/eu.xml"
}

base64_of() {
  openssl x509 -in "$1" -outform DER | base64 -w 0
}

# certify_authority NAME COUNTRY: a key and a certificate that has signed itself.
certify_authority() {
  quiet_openssl req -x509 -newkey rsa:2048 -nodes -days 365 -keyout "$folder/$1.key" -out "$folder/$1.pem" \
    -subj "/C=$2/O=Keystrand demo/CN=$1"
}

identity() {
  printf '<ServiceDigitalIdentity><DigitalId><X509Certificate>%s</X509Certificate></DigitalId></ServiceDigitalIdentity>' \
    "$(base64_of "$folder/$1.pem")"
}

# state TYPE STATUS SINCE NAME
state() {
  printf '<ServiceTypeIdentifier>%s/Svctype/%s</ServiceTypeIdentifier><ServiceName><Name xml:lang="en">%s</Name></ServiceName>' \
    "$etsi" "$1" "$4"
  printf '<ServiceStatus>%s/TrustedList/Svcstatus/%s</ServiceStatus><StatusStartingTime>%s</StatusStartingTime>' \
    "$etsi" "$2" "$3"
}

# service NAME TYPE STATUS USE: with a former state behind.
service() {
  printf '<TSPService><ServiceInformation>%s%s' "$(state "$2" "$3" 2024-03-01T00:00:00Z "$1")" "$(identity "$1")"
  printf '<ServiceInformationExtensions><Extension Critical="false"><AdditionalServiceInformation>'
  printf '<URI xml:lang="en">%s/TrustedList/SvcInfoExt/%s</URI>' "$etsi" "$4"
  printf '</AdditionalServiceInformation></Extension></ServiceInformationExtensions></ServiceInformation>'
  printf '<ServiceHistory><ServiceHistoryInstance>%s</ServiceHistoryInstance></ServiceHistory></TSPService>\n' \
    "$(state "$2" undersupervision 2016-07-01T00:00:00Z "$1")"
}

# pointer COUNTRY: where its list is, and who signs it.
pointer() {
  printf '<OtherTSLPointer><ServiceDigitalIdentities>%s</ServiceDigitalIdentities>' "$(identity "Signer of $1")"
  printf '<TSLLocation>%s/%s.xml</TSLLocation><AdditionalInformation>' "$url" "$1"
  printf '<OtherInformation><SchemeTerritory>%s</SchemeTerritory></OtherInformation>' "$1"
  printf '<OtherInformation><ns:MimeType xmlns:ns="%s">application/vnd.etsi.tsl+xml</ns:MimeType></OtherInformation>' \
    "http://uri.etsi.org/02231/v2/additionaltypes#"
  printf '</AdditionalInformation></OtherTSLPointer>\n'
}

# publish_list FILE COUNTRY NUMBER ELEMENT: a list with what comes in as its pointers or providers, signed.
publish_list() {
  local dsig=http://www.w3.org/2000/09/xmldsig c14n=http://www.w3.org/2001/10/xml-exc-c14n
  {
    printf '<TrustServiceStatusList xmlns="http://uri.etsi.org/02231/v2#"><SchemeInformation>'
    printf '<TSLVersionIdentifier>6</TSLVersionIdentifier><TSLSequenceNumber>%s</TSLSequenceNumber>' "$3"
    printf '<SchemeTerritory>%s</SchemeTerritory>' "$2"
    if [[ $4 == PointersToOtherTSL ]]; then
      printf '<%s>%s</%s></SchemeInformation>' "$4" "$(cat)" "$4"
    else
      printf '</SchemeInformation><TrustServiceProviderList><TrustServiceProvider><%s>%s</%s>' "$4" "$(cat)" "$4"
      printf '</TrustServiceProvider></TrustServiceProviderList>'
    fi
    cat <<SIGNATURE
<ds:Signature xmlns:ds="$dsig#"><ds:SignedInfo><ds:CanonicalizationMethod Algorithm="$c14n#"/>
<ds:SignatureMethod Algorithm="http://www.w3.org/2001/04/xmldsig-more#rsa-sha256"/><ds:Reference URI=""><ds:Transforms>
<ds:Transform Algorithm="$dsig#enveloped-signature"/><ds:Transform Algorithm="$c14n#"/></ds:Transforms>
<ds:DigestMethod Algorithm="http://www.w3.org/2001/04/xmlenc#sha256"/><ds:DigestValue/></ds:Reference></ds:SignedInfo>
<ds:SignatureValue/><ds:KeyInfo><ds:X509Data/></ds:KeyInfo></ds:Signature></TrustServiceStatusList>
SIGNATURE
  } >"$folder/unsigned.xml"
  xmlsec1 --sign --privkey-pem "$folder/Signer of $2.key,$folder/Signer of $2.pem" --output "$work/www/$1" \
    "$folder/unsigned.xml"
}

publish_italy() {
  {
    service "Signatures IT" CA/QC granted ForeSignatures
    service "Web sites IT" CA/QC granted ForWebSiteAuthentication
    service "Former CA IT" CA/QC withdrawn ForeSignatures
  } | publish_list IT.xml IT "$1" TSPServices
}

# Lists of the same form: two countries and the list of lists, and a certificate of a person.
make_lists() {
  local name
  for name in "Signer of EU" "Signer of IT" "Signer of PT" "Signatures IT" "Web sites IT" "Former CA IT" \
    "Time-stamps PT" "Answers PT"; do
    certify_authority "$name" "${name: -2}"
  done
  publish_italy 41
  {
    service "Time-stamps PT" TSA/QTST granted ForeSeals
    service "Answers PT" Certstatus/OCSP/QC granted ForeSignatures
  } | publish_list PT.xml PT 7 TSPServices
  { pointer IT; pointer PT; } | publish_list eu.xml EU 320 PointersToOtherTSL
  quiet_openssl req -newkey rsa:2048 -nodes -keyout "$folder/person.key" -out "$folder/person.csr" -subj "/C=IT/CN=Ada"
  quiet_openssl x509 -req -in "$folder/person.csr" -CA "$folder/Signatures IT.pem" -CAkey "$folder/Signatures IT.key" \
    -set_serial 17 -days 30 -out "$folder/certificate"
}

# verify_list FILE: by way of the list of lists, as it was signed. A refusal ends the demonstration.
verify_list() {
  local way
  if [[ -d $testdata/tl/2023 ]]; then
    local lists=$testdata/tl/2023/eu-lotl
    way=(--signers "$testdata/tl/anchors/lotl-bootstrap-0.cert.pem" --via "$lists-pivot-282.xml"
      --via "$lists-pivot-300.xml" --via "$lists.xml")
  else
    way=(--signers "$folder/Signer of EU.pem" --via "$work/www/eu.xml")
  fi
  "$examples/verify_trust_list" "${way[@]}" "$1" | tail -n 1 | sed 's|.*/|  |'
}

verify_lists() {
  local list
  for list in "$work"/www/[A-Z][A-Z].xml; do verify_list "$list"; done
}

demonstrate_lists() {
  local folder=$work/lists etsi=http://uri.etsi.org/TrstSvc
  local load=("$examples/load_trusted_lists" --data "$folder/data" --log "$work/log")
  mkdir -p "$folder/data"
  start_server "${web_server[@]}"
  echo
  if [[ -d $testdata/tl/2023 ]]; then
    echo "== From the European list of 2023 to the CAs of the countries whose lists are at hand"
    collect_real_lists
  else
    echo "== From a list of lists to the CAs of two countries"
    make_lists
  fi
  verify_lists
  "${load[@]}" --eu "$url/eu.xml" --certificate "$folder/certificate"

  echo
  echo "== Restarting from the saved list: who has published a newer issue?"
  [[ -d $testdata/tl/2023 ]] || publish_italy 42
  verify_list "$work/www/IT.xml"
  "${load[@]}" --load --eu "$url/eu.xml" --certificate "$folder/certificate"
  stop_server
  : >"$work/log"
}
