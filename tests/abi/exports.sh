#!/usr/bin/env bash
# The symbols that the shared library shows are those of the list, no more and no less: exports.sh LIBRARY LIST
# Functions stand with their signatures, exported classes by their names.
set -euo pipefail
seen=$(nm -D -C --defined-only "$1" | cut -c20- | sed -E \
  -e 's/^(vtable for|typeinfo for|typeinfo name for) //' \
  -e 's/^(non-virtual thunk to|guard variable for) //' \
  -e 's/^(keystrand::[A-Za-z0-9_]+).*/\1/' | sort -u)
diff -u --label "$2" --label "$1" "$2" - <<<"$seen"
