// compareLaz.mjs FOLDER: reads every pair NAME.las, NAME.laz and compares the records that laz-perf makes of the
// second with the bytes of the first, and what copc finds in both headers.

import { readdirSync, readFileSync } from 'node:fs';
import { join } from 'node:path';

import { Las } from 'copc';
import { createLazPerf } from 'laz-perf';

const lazPerf = await createLazPerf();

const getterOf = (bytes) => async (begin, end) => bytes.slice(begin, end);

/// What both files of a pair have in common, as a text.
async function facts(bytes) {
  const { pointCount, pointDataRecordFormat, pointDataRecordLength, scale, offset, min, max, ...header } =
    Las.Header.parse(bytes);
  const get = getterOf(bytes);
  const described = Las.Vlr.find(await Las.Vlr.walk(get, header), 'LASF_Spec', 4);
  const extra = described ? Las.ExtraBytes.parse(await Las.Vlr.fetch(get, described)) : [];
  return JSON.stringify({ pointCount, pointDataRecordFormat, pointDataRecordLength, scale, offset, min, max, extra });
}

function storedRecords(las) {
  const { pointDataOffset, pointCount, pointDataRecordLength } = Las.Header.parse(las);
  return las.subarray(pointDataOffset, pointDataOffset + pointCount * pointDataRecordLength);
}

async function* differences(las, laz) {
  const [found, expected] = [await facts(laz), await facts(las)];
  if (found !== expected) yield `header: ${found}, expected ${expected}`;
  if (Las.Header.parse(las).pointCount === 0) return;  // laz-perf opens no file without points
  const records = await Las.PointData.decompressFile(laz, lazPerf);
  if (Buffer.compare(Buffer.from(records), Buffer.from(storedRecords(las))) !== 0) yield 'the records differ';
}

const folder = process.argv[2];
const names = readdirSync(folder).filter((name) => name.endsWith('.las'));
if (names.length === 0) throw new Error(`${folder}: no pairs`);
let failed = false;
for (const name of names) {
  const las = new Uint8Array(readFileSync(join(folder, name)));
  const laz = new Uint8Array(readFileSync(join(folder, name.replace('.las', '.laz'))));
  for await (const difference of differences(las, laz)) {
    console.error(`${name}: ${difference}`);
    failed = true;
  }
}
console.log(`laz-perf and copc read ${names.length} files`);
process.exit(failed ? 1 : 0);
