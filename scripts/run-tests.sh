#!/usr/bin/env bash
# Sets up the machine, then builds and runs every test: Release (with the Khronos glTF validator
# on the .glb files of the command line's matrix), then AddressSanitizer and
# UndefinedBehaviorSanitizer, then the installed package from a consumer project, then a short
# fuzzing run of the tessellation engine and of the extrusion.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
cd "$root"
"$root/scripts/setup.sh"

echo "== Release build and tests"
"$root/scripts/build.sh" build/release -DKLY_BUILD_BENCH=ON
# The command line's matrix test keeps each .glb it writes in build/glb for the validator.
rm -rf build/glb
KLY_GLB_DIR="$root/build/glb" ctest --test-dir build/release --output-on-failure -j "$(nproc)"

echo "== The command line's .glb files through the Khronos glTF validator"
"$root/scripts/validate-glb.sh" build/glb

echo "== AddressSanitizer + UndefinedBehaviorSanitizer build and tests"
"$root/scripts/build.sh" build/sanitize -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKLY_SANITIZE=ON \
  -DKLY_BUILD_BENCH=OFF
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  ctest --test-dir build/sanitize --output-on-failure -j "$(nproc)"

echo "== Installed package and add_subdirectory, from a consumer project"
rm -rf build/install build/consumer-installed build/consumer-subdirectory
cmake --install build/release --prefix "$root/build/install" >/dev/null
cmake -S tests/consumer -B build/consumer-installed -DCMAKE_PREFIX_PATH="$root/build/install" >/dev/null
cmake --build build/consumer-installed -j "$(nproc)" >/dev/null
build/consumer-installed/kly_consumer
cmake -S tests/consumer -B build/consumer-subdirectory -DKLY_SOURCE_DIR="$root" >/dev/null
cmake --build build/consumer-subdirectory -j "$(nproc)" >/dev/null
build/consumer-subdirectory/kly_consumer

if [ -x "$root/fuzz/run.sh" ]; then
  echo "== Fuzzing the tessellation engine and the extrusion for ${KLY_FUZZ_SECONDS:-60} s each"
  "$root/fuzz/run.sh" "${KLY_FUZZ_SECONDS:-60}"
fi
echo "== All tests passed"
