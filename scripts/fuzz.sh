#!/usr/bin/env bash
# Builds the fuzz targets with clang and runs each for a while: scripts/fuzz.sh [SECONDS] [TARGET...]
# Ends at the first finding. Corpora grow below build-fuzz/corpus.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-dependencies.sh build fuzz
seconds=${1:-600}
shift || true

build=build-fuzz
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1
cmake -S . -B $build -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKEYSTRAND_FUZZ=ON \
  -DKEYSTRAND_SANITIZE=fuzzer-no-link,address,undefined >/dev/null
cmake --build $build -- --quiet

targets=("$@")
if [[ ${#targets[@]} -eq 0 ]]; then
  mapfile -t targets < <(find $build/fuzz -maxdepth 1 -type f -executable -name 'fuzz_*' -printf '%f\n' | sort)
fi
for target in "${targets[@]}"; do
  corpus=$build/corpus/$target
  seeds=tests/data/fuzz/${target#fuzz_}
  mkdir -p "$corpus"
  echo "== $target, $seconds s"
  [[ -d $seeds ]] || seeds=
  "$build/fuzz/$target" -max_total_time="$seconds" -rss_limit_mb=2048 -timeout=10 -print_final_stats=1 \
    -artifact_prefix="$build/" "$corpus" ${seeds:+"$seeds"} >"$build/$target.log" 2>&1 ||
    { tail -n 40 "$build/$target.log"; exit 1; }
  grep -E 'stat::(number|average|peak)' "$build/$target.log"
done
