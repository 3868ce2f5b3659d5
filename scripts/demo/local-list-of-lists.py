#!/usr/bin/env python3
"""The European list of trusted lists, its pointers led to a local server.

usage: local-list-of-lists.py LIST.xml URL COUNTRY SIGNER.der

Writes the list with every location of a list in XML replaced by URL/<territory>.xml, and into SIGNER.der the last
certificate that the pointer of COUNTRY names for its list.
"""
import base64
import sys
import xml.etree.ElementTree as ElementTree

SCHEMA = "{http://uri.etsi.org/02231/v2#}"
ADDITIONAL = "{http://uri.etsi.org/02231/v2/additionaltypes#}"


def main(path, url, country, signer):
    with open(path, encoding="utf-8") as file:
        text = file.read()
    for pointer in ElementTree.fromstring(text.encode()).iter(SCHEMA + "OtherTSLPointer"):
        territory = pointer.findtext(f".//{SCHEMA}SchemeTerritory")
        location = pointer.findtext(SCHEMA + "TSLLocation")
        if pointer.findtext(f".//{ADDITIONAL}MimeType") == "application/pdf":
            continue
        text = text.replace(f">{location.replace('&', '&amp;')}<", f">{url}/{territory}.xml<")
        if territory == country:
            certificate = [*pointer.iter(SCHEMA + "X509Certificate")][-1].text
            with open(signer, "wb") as file:
                file.write(base64.b64decode(certificate))
    sys.stdout.write(text)


main(*sys.argv[1:])
