#!/bin/sh
# Builds the fuzzers with clang and runs each for SECONDS (default 60) on a copy of its seed
# corpus: the tessellation engine (tess_fuzz), the extrusion (extrusion_fuzz), then the SVG
# path data parser (svg_path_fuzz). Usage:
# fuzz/run.sh [SECONDS]. The build directory is build-fuzz at the root unless
# KLY_FUZZ_BUILD_DIR names another; crashes are written there, prefixed with the fuzzer's name.
set -eu
seconds=${1:-60}
root=$(cd "$(dirname "$0")/.." && pwd)
build=${KLY_FUZZ_BUILD_DIR:-$root/build-fuzz}

CC=clang CXX=clang++ cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DKLY_BUILD_FUZZ=ON -DKLY_BUILD_TESTS=OFF -DKLY_BUILD_BENCH=OFF -DKLY_BUILD_CLI=OFF \
  -DCMAKE_CXX_FLAGS="-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=undefined"
cmake --build "$build" --target tess_fuzz extrusion_fuzz svg_path_fuzz -j2

# New inputs go to a scratch corpus, so that the committed seeds stay small.
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# fuzz NAME MAX_LEN: runs fuzz/NAME_fuzz on fuzz/corpus/NAME.
fuzz() {
  mkdir -p "$scratch/$1"
  "$build/fuzz/$1_fuzz" -max_total_time="$seconds" -max_len="$2" -timeout=20 \
    -rss_limit_mb=2048 -artifact_prefix="$build/$1-" -print_final_stats=1 \
    "$scratch/$1" "$root/fuzz/corpus/$1"
}
fuzz tess 4096
fuzz extrusion 8192
fuzz svg_path 4096
