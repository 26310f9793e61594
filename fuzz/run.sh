#!/bin/sh
# Builds the tessellation fuzzer with clang and runs it for SECONDS (default 60) on a copy of
# the seed corpus. Usage: fuzz/run.sh [SECONDS]. The build directory is build-fuzz at the
# root unless KLY_FUZZ_BUILD_DIR names another; crashes are written there.
set -eu
seconds=${1:-60}
root=$(cd "$(dirname "$0")/.." && pwd)
build=${KLY_FUZZ_BUILD_DIR:-$root/build-fuzz}

CC=clang CXX=clang++ cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DKLY_BUILD_FUZZ=ON -DKLY_BUILD_TESTS=OFF -DKLY_BUILD_BENCH=OFF -DKLY_BUILD_CLI=OFF \
  -DCMAKE_CXX_FLAGS="-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=undefined"
cmake --build "$build" --target tess_fuzz -j2

# New inputs go to a scratch corpus, so that the committed seeds stay small.
corpus=$(mktemp -d)
trap 'rm -rf "$corpus"' EXIT
"$build/fuzz/tess_fuzz" -max_total_time="$seconds" -max_len=4096 -timeout=20 -rss_limit_mb=2048 \
  -artifact_prefix="$build/" -print_final_stats=1 "$corpus" "$root/fuzz/corpus/tess"
