#!/usr/bin/env bash
# Installs what is missing, builds with the tests and runs them all.
# KEYSTRAND_TESTDATA, when set, names a folder with more real certificates and CRLs. BUILD_DIR, BUILD_TYPE and SANITIZE
# (what -fsanitize takes) choose another build.
set -euo pipefail
cd "$(dirname "$0")"
scripts/install-dependencies.sh build test

build=${BUILD_DIR:-build}
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE="${BUILD_TYPE:-RelWithDebInfo}" -DKEYSTRAND_TESTS=ON \
  -DCMAKE_COMPILE_WARNING_AS_ERROR=ON -DKEYSTRAND_SANITIZE="${SANITIZE:-}" >/dev/null
cmake --build "$build" -- --quiet
exec ctest --test-dir "$build" --output-on-failure --no-tests=error -j "$(nproc)"
