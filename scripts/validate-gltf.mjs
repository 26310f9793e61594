#!/usr/bin/env node
// Validates .glb (and .gltf) files with the Khronos glTF validator and exits non-zero if any
// file has an error or a warning, printing each with its JSON pointer.
//
//   npm install --prefix /tmp/gv gltf-validator
//   GLTF_VALIDATOR_PREFIX=/tmp/gv node scripts/validate-gltf.mjs out/*.glb
//
// GLTF_VALIDATOR_PREFIX is the npm prefix the validator was installed under; without it the
// package is looked up from the current folder as node would.
import { createRequire } from 'node:module';
import { readFileSync } from 'node:fs';
import { basename } from 'node:path';

const require = createRequire(import.meta.url);
const searchPaths = [process.env.GLTF_VALIDATOR_PREFIX, process.cwd()].filter(Boolean);
const validator = require(require.resolve('gltf-validator', { paths: searchPaths }));

const files = process.argv.slice(2);
if (files.length === 0) {
  console.error('usage: validate-gltf.mjs FILE.glb...');
  process.exit(2);
}

const kSeverity = ['error', 'warning', 'info', 'hint'];
let failed = 0;
for (const file of files) {
  let report;
  try {
    report = await validator.validateBytes(new Uint8Array(readFileSync(file)), {
      uri: basename(file),
      maxIssues: 0,
    });
  } catch (error) {
    console.error(`${file}: cannot be validated: ${error}`);
    ++failed;
    continue;
  }
  const { numErrors, numWarnings, numInfos, numHints, messages } = report.issues;
  for (const message of messages) {
    if (message.severity > 1) continue;
    console.error(`${file}: ${kSeverity[message.severity]} ${message.code}: ${message.message}` +
                  (message.pointer ? ` (${message.pointer})` : ''));
  }
  console.log(`${file}: ${numErrors} errors, ${numWarnings} warnings, ${numInfos} infos, ` +
              `${numHints} hints`);
  // Warnings fail too: the files are meant to hold nothing a viewer would have to forgive.
  if (numErrors + numWarnings > 0) ++failed;
}
if (failed > 0) {
  console.error(`${failed} of ${files.length} files failed validation`);
  process.exit(1);
}
