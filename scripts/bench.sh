#!/usr/bin/env bash
# Builds the benchmarks as a release and prints them side by side: scripts/bench.sh [FILTER], all rows without one.
# Each figure is the least of several repetitions, since other programs only ever add to a time. All numbers of a table
# are of one run; those of different runs or machines say little about each other.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-dependencies.sh build bench

build=build-bench
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1
cmake -S . -B $build -G Ninja -DCMAKE_BUILD_TYPE=Release -DKEYSTRAND_BENCH=ON >/dev/null
cmake --build $build --target keystrand_bench -- --quiet

# What a row leaves to be freed disturbs the next one: the warm-up passes that by.
$build/bench/keystrand_bench --benchmark_filter="${1:-.}" --benchmark_repetitions=3 \
  --benchmark_min_warmup_time=0.3 --benchmark_out=$build/bench.json --benchmark_out_format=json >$build/bench.log 2>&1 ||
  { tail -n 20 $build/bench.log >&2; exit 1; }
scripts/bench-table.py $build/bench.json
