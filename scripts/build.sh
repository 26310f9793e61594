#!/usr/bin/env bash
# Configures and builds one flavour of the tree: build.sh DIR [cmake options...]
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
dir="$1"
shift
cmake -S "$root" -B "$dir" -DCMAKE_BUILD_TYPE=Release "$@" >/dev/null
cmake --build "$dir" -j "$(nproc)"
