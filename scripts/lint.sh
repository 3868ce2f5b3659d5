#!/usr/bin/env bash
# Formatting and static analysis of the code: scripts/lint.sh [FILE...], all of it without arguments.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-dependencies.sh build lint
files=("$@")
if [[ ${#files[@]} -eq 0 ]]; then
  mapfile -t files < <(git ls-files 'src/*.cpp' 'src/*.h' 'include/*.h' 'examples/*.cpp' 'examples/*.h' 'tests/*.cpp' \
    'tests/*.h' 'bench/*.cpp' 'fuzz/*.cpp')
fi
clang-format --dry-run -Werror "${files[@]}"
cmake -S . -B build-lint -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_EXPORT_COMPILE_COMMANDS=ON \
  -DCMAKE_COMPILE_WARNING_AS_ERROR=ON >/dev/null
sources=()
for file in "${files[@]}"; do
  [[ $file != src/*.cpp && $file != examples/*.cpp ]] || sources+=("$file")
done
[[ ${#sources[@]} -eq 0 ]] || printf '%s\n' "${sources[@]}" | xargs -P "$(nproc)" -n 4 clang-tidy -quiet -p build-lint
