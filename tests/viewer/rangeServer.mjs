// A web server as viewers expect it: the files of one folder on 127.0.0.1, whole or by byte range (RFC 9110).

import { createReadStream, statSync } from 'node:fs';
import { createServer } from 'node:http';
import { join, normalize } from 'node:path';

const TYPES = { '.html': 'text/html', '.js': 'text/javascript', '.mjs': 'text/javascript', '.json': 'application/json' };

function fileFor(folder, url) {
  const path = join(folder, normalize(decodeURIComponent(new URL(url, 'http://localhost').pathname)));
  return { path, size: statSync(path).size };
}

function answer(folder, request, response) {
  let file;
  try {
    file = fileFor(folder, request.url);
  } catch {
    response.writeHead(404).end();
    return;
  }
  const type = TYPES[/\.[^.]*$/.exec(file.path)?.[0]] ?? 'application/octet-stream';
  const range = /^bytes=(\d+)-(\d+)$/.exec(request.headers.range ?? '');
  if (!range) {
    response.writeHead(200, { 'Content-Type': type, 'Content-Length': file.size });
    createReadStream(file.path).pipe(response);
    return;
  }
  const [start, end] = [Number(range[1]), Number(range[2])];
  if (start > end || end >= file.size) {  // also an end beyond the file, which a sound octree never asks for
    response.writeHead(416, { 'Content-Range': `bytes */${file.size}` }).end();
    return;
  }
  response.writeHead(206, {
    'Content-Type': type,
    'Content-Length': end - start + 1,
    'Content-Range': `bytes ${start}-${end}/${file.size}`,
  });
  createReadStream(file.path, { start, end }).pipe(response);
}

/// Serves `folder` until the returned server is closed; its address is `server.base`, with a slash at the end.
export async function serve(folder) {
  const server = createServer((request, response) => answer(folder, request, response));
  await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
  server.base = `http://127.0.0.1:${server.address().port}/`;
  return server;
}
