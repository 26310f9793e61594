#!/usr/bin/env bash
# Sets up the machine, builds KLY and runs the main job: the kly command line building a cube
# into out/cube.glb (open it in any glTF viewer).
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
cd "$root"
"$root/scripts/setup.sh"
"$root/scripts/build.sh" build/release
mkdir -p out
build/release/cli/kly cube --dimensions 1,2,3 --divisions 8 -o out/cube.glb
echo "wrote out/cube.glb"
