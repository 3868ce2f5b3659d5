#!/usr/bin/env bash
# Installs the library into an empty folder and builds the README's client against it, with CMake and with pkg-config,
# then asks each for a real answer: install_test.sh SOURCE BUILD COMPILER
set -euo pipefail
source=$1 build=$2 compiler=$3
work=$(mktemp -d)
trap 'kill ${server:-} 2>/dev/null || true; rm -rf "$work"' EXIT
prefix=$work/prefix
cmake --install "$build" --prefix "$prefix" >/dev/null
mkdir "$work/client"
cp "$source/tests/install/CMakeLists.txt" "$source/examples/one_query.cpp" "$work/client/"

cmake -S "$work/client" -B "$work/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$compiler" >/dev/null
cmake --build "$work/cmake" >/dev/null
pc=$(dirname "$(find "$prefix" -name keystrand.pc)")
# shellcheck disable=SC2046
"$compiler" "$work/client/one_query.cpp" -o "$work/pkgconfig_client" \
  $(PKG_CONFIG_PATH=$pc pkg-config --define-variable=prefix="$prefix" --cflags --libs keystrand)

pkits=/usr/lib/python3/dist-packages/cryptography_vectors/x509/PKITS_data
: >"$work/server"
python3 -u -m http.server --bind 127.0.0.1 --directory "$pkits/crls" 0 >>"$work/server" 2>&1 &
server=$!
for _ in $(seq 100); do
  port=$(sed -n 's/.* port \([0-9]*\) .*/\1/p' "$work/server")
  [[ -n $port ]] && break
  sleep 0.1
done
export LD_LIBRARY_PATH=$(dirname "$(find "$prefix" -name 'libkeystrand.so')")
for client in "$work/cmake/one_query" "$work/pkgconfig_client"; do
  for row in "0E revoked" "01 not revoked"; do
    answer=$("$client" "$pkits/certs/GoodCACert.crt" "http://127.0.0.1:$port/GoodCACRL.crl" "${row%% *}")
    [[ $answer == "${row#* }" ]] || { echo "$client said '$answer' of ${row%% *}" >&2; exit 1; }
  done
done
