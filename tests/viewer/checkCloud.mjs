// checkCloud.mjs CLOUD_FOLDER TRUTH: loads every node of an octree as potree-core does, and holds each point
// against the truth: rows of doubles, row i for the point whose attribute "id" is i (make_viewer_scan writes
// them). Ends with 1 and a line per kind of difference, or says what it compared.

import { readFileSync } from 'node:fs';
import { setTimeout as pause } from 'node:timers/promises';

import { installBrowserWorkers } from './browserWorkers.mjs';
import { serve } from './rangeServer.mjs';

installBrowserWorkers();
const { Potree } = await import('potree-core');

const COLUMNS = ['x', 'y', 'z', 'red', 'green', 'blue', 'intensity', 'classification', 'gps-time',
  'NormalX', 'NormalY', 'NormalZ', 'deviation', 'stamp_low', 'stamp_high', 'echo'];
const LONGEST_LOAD = 20_000;  // milliseconds for one node

const differences = new Map();

function expectEqual(what, found, expected) {
  if (Object.is(found, expected) || found === expected) return;
  const known = differences.get(what) ?? { count: 0, first: `found ${found}, expected ${expected}` };
  differences.set(what, { ...known, count: known.count + 1 });
}

function readTruth(path) {
  const bytes = readFileSync(path);
  const values = new Float64Array(bytes.buffer, bytes.byteOffset, bytes.byteLength / 8);
  return {
    count: values.length / COLUMNS.length,
    at: (id, column) => values[id * COLUMNS.length + COLUMNS.indexOf(column)],
  };
}

async function load(node) {
  if (!node.loaded && !node.loading) node.load();
  for (const begin = Date.now(); node.loading;) {
    if (Date.now() - begin > LONGEST_LOAD) throw new Error(`${node.name}: never finishes loading`);
    await pause(1);
  }
  if (!node.loaded) throw new Error(`${node.name}: the loader gave up`);
}

async function allNodes(root) {
  const nodes = [root];
  for (let i = 0; i < nodes.length; ++i) {
    await load(nodes[i]);
    nodes.push(...nodes[i].children.filter((child) => child !== null));
  }
  return nodes;
}

/// What the loader makes of a stored colour channel.
const eightBit = (channel) => Math.floor(channel > 255 ? channel / 256 : channel);

function checkPosition(geometry, node, i, id, truth) {
  const position = node.geometry.attributes.position.array;
  ['x', 'y', 'z'].forEach((axis, k) => {
    // Coordinates are single precision, relative to the node's corner.
    const corner = geometry.offset[axis] + node.boundingBox.min[axis];
    const expected = truth.at(id, axis) - corner;
    const step = 2 ** (Math.floor(Math.log2(Math.max(Math.abs(expected), 1e-9))) - 23);
    if (Math.abs(position[3 * i + k] - expected) > step / 2 + 1e-9) {
      expectEqual(`position ${axis}`, position[3 * i + k], expected);
    }
    const edge = node.boundingBox.max[axis] - node.boundingBox.min[axis];
    expectEqual('points inside their node', expected > -1e-6 && expected < edge + 1e-6, true);
  });
}

function checkPoint(geometry, node, i, id, truth) {
  const { attributes } = node.geometry;
  checkPosition(geometry, node, i, id, truth);
  ['red', 'green', 'blue'].forEach((channel, k) => {
    expectEqual(channel, attributes.rgba.array[4 * i + k], eightBit(truth.at(id, channel)));
  });
  for (const name of COLUMNS.slice(6)) {
    expectEqual(`stored ${name}`, attributes[name].potree.preciseBuffer[i], truth.at(id, name));
    expectEqual(`${name} is a number for the shader`, Number.isFinite(attributes[name].array[i]), true);
  }
  // The shader gets normals as they are, though it gets other doubles as shares of their range.
  ['NormalX', 'NormalY', 'NormalZ'].forEach((name, k) => {
    expectEqual(`${name} for the shader`, attributes[name].array[i], Math.fround(truth.at(id, name)));
    expectEqual(`normal vector, ${name}`, attributes.normal.array[3 * i + k], Math.fround(truth.at(id, name)));
  });
}

function checkNodes(geometry, nodes, truth) {
  const seen = new Uint8Array(truth.count);
  let points = 0;
  for (const node of nodes) {
    const ids = node.geometry.attributes.id?.potree.preciseBuffer ?? [];
    expectEqual('points of a node', ids.length, node.numPoints);
    points += ids.length;
    ids.forEach((id, i) => {
      ++seen[id];
      checkPoint(geometry, node, i, id, truth);
    });
  }
  expectEqual('points in all', points, truth.count);
  expectEqual('points seen exactly once', seen.filter((times) => times === 1).length, truth.count);
  return points;
}

async function main([folder, truthPath]) {
  const truth = readTruth(truthPath);
  const server = await serve(folder);
  const cloud = await new Potree().loadPointCloud('metadata.json', {
    fetch: (input, init) => fetch(input, init),
    getUrl: async (name) => server.base + name,
  });
  const geometry = cloud.pcoGeometry;
  const nodes = await allNodes(geometry.root);
  const points = checkNodes(geometry, nodes, truth);
  const levels = Math.max(...nodes.map((node) => node.level)) + 1;
  expectEqual('levels, enough for hierarchy chunks below the first', levels > 5, true);
  expectEqual('nodes still loading', geometry.numNodesLoading, 0);
  for (const [what, { count, first }] of differences) console.error(`${folder}: ${what}: ${count} differ; ${first}`);
  console.log(`${folder}: ${points} points in ${nodes.length} nodes on ${levels} levels, ${differences.size} kinds differ`);
  process.exit(differences.size === 0 && points > 0 ? 0 : 1);  // workers and connections live on otherwise
}

await main(process.argv.slice(2));
