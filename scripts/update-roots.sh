#!/usr/bin/env bash
# Fills data/roots anew from the installed ca-certificates: of the roots that are still valid today, those that expire last.
set -euo pipefail
export LC_ALL=C

readonly count=138
readonly source=/usr/share/ca-certificates/mozilla
readonly target=$(cd "$(dirname "$0")/.." && pwd)/data/roots
readonly version=$(dpkg-query -W -f '${Version}' ca-certificates)

# notAfter in seconds, and the file, for each root still valid
expiries() {
  local file
  for file in "$source"/*.crt; do
    openssl x509 -in "$file" -noout -checkend 0 > /dev/null || continue
    printf '%s %s\n' "$(date -d "$(openssl x509 -in "$file" -noout -enddate | cut -d= -f2)" +%s)" "$file"
  done
}

# letters, digits, dot, hyphen and underscore only
plainName() { basename "$1" .crt | LC_ALL=C.UTF-8 iconv -f UTF-8 -t ASCII//TRANSLIT | tr -c 'A-Za-z0-9.\n-' _; }

mapfile -t chosen < <(expiries | sort -k1,1nr -k2 | head -n "$count" | cut -d' ' -f2-)
((${#chosen[@]} == count)) || { echo "only ${#chosen[@]} valid roots in $source" >&2; exit 1; }

mkdir -p "$target"
rm -f "$target"/*.pem
for file in "${chosen[@]}"; do openssl x509 -in "$file" > "$target/$(plainName "$file").pem"; done
found=$(find "$target" -name '*.pem' | wc -l)
((found == count)) || { echo "two roots share a name" >&2; exit 1; }

cat > "$target/README.md" << TEXT
# TLS roots

$count public root certificates, one PEM file each, that the build embeds in the library in the order of the file names.
They come from Mozilla's list as Debian ships it: package ca-certificates, version $version, taken on
$(date -u +%Y-%m-%d). Of the roots valid on that day, these are the ones that expire last.

\`scripts/update-roots.sh\` makes this folder anew from the installed package.
TEXT
