// checkStreams.mjs FILE: decodes all brotli streams of a file of write_brotli_streams with the npm package brotli and
// compares what comes out. Ends with 1 and a line for each stream that differs, or says what it compared.

import { closeSync, openSync, readSync } from 'node:fs';

import decompress from 'brotli/decompress.js';

/// The next `length` bytes of a file.
function take(file, length) {
  const bytes = Buffer.alloc(length);
  for (let done = 0; done < length;) {
    const read = readSync(file, bytes, done, length - done, null);
    if (read === 0) return null;
    done += read;
  }
  return bytes;
}

/// Each part is a 32-bit length and as many bytes.
function takePart(file) {
  const length = take(file, 4);
  return length === null ? null : take(file, length.readUInt32LE(0));
}

function difference(stream, expected) {
  try {
    const found = Buffer.from(decompress(stream, expected.length));
    return found.equals(expected) ? null : `${found.length} bytes, expected ${expected.length}, or others`;
  } catch (error) {
    return String(error);
  }
}

const file = openSync(process.argv[2]);
let streams = 0;
let bytes = 0;
let differing = 0;
for (let name = takePart(file); name !== null; name = takePart(file)) {
  const stream = takePart(file);
  const expected = takePart(file);
  const what = difference(stream, expected);
  if (what !== null) console.error(`${name}: ${what}`);
  differing += what === null ? 0 : 1;
  streams += 1;
  bytes += expected.length;
}
closeSync(file);
console.log(`${streams} streams of ${bytes} bytes, ${differing} differ`);
process.exit(differing === 0 && streams > 0 ? 0 : 1);
