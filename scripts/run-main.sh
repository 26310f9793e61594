#!/usr/bin/env bash
# Sets up the machine, builds KLY and runs the main job: the kly command line building bevelled
# 3D text into out/hello.glb (open it in any glTF viewer).
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
cd "$root"
"$root/scripts/setup.sh"
"$root/scripts/build.sh" build/release
mkdir -p out
build/release/cli/kly text "Hello, world" -o out/hello.glb
echo "wrote out/hello.glb"
