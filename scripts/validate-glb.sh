#!/usr/bin/env bash
# Validates every .glb in DIR with the Khronos glTF validator and fails on any error. The
# validator is installed under build/gltf-validator the first time (npm's registry must be
# reachable then).
#
#   scripts/validate-glb.sh build/glb
set -euo pipefail
if [ $# -ne 1 ] || [ ! -d "$1" ]; then
  echo "usage: validate-glb.sh DIR" >&2
  exit 2
fi
root="$(cd "$(dirname "$0")/.." && pwd)"
prefix="$root/build/gltf-validator"
if [ ! -d "$prefix/node_modules/gltf-validator" ]; then
  npm install --prefix "$prefix" --no-audit --no-fund --silent gltf-validator
fi
mapfile -t files < <(find "$1" -maxdepth 1 -name '*.glb' -type f | sort)
if [ "${#files[@]}" -eq 0 ]; then
  echo "validate-glb.sh: no .glb files in $1" >&2
  exit 1
fi
# Every file's line goes to a log; only problems and the summary are shown.
log="$(mktemp)"
trap 'rm -f "$log"' EXIT
status=0
GLTF_VALIDATOR_PREFIX="$prefix" node "$root/scripts/validate-gltf.mjs" "${files[@]}" >"$log" ||
  status=$?
warned="$(grep -c -v ' 0 errors, 0 warnings,' "$log" || true)"
echo "validated ${#files[@]} .glb files in $1: exit $status, $warned with errors or warnings"
grep -v ' 0 errors, 0 warnings,' "$log" || true
exit "$status"
