// Serves a folder's files on localhost, on a free port: `node tools/serve.mjs FOLDER`. Prints the
// address once it listens, and stops when its standard input ends.
import { createServer } from 'node:http';
import { readFile } from 'node:fs/promises';
import { extname, join, normalize } from 'node:path';

const kTypes = {
  '.css': 'text/css; charset=utf-8',
  '.html': 'text/html; charset=utf-8',
  '.js': 'text/javascript; charset=utf-8',
  '.json': 'application/json',
  '.mjs': 'text/javascript; charset=utf-8',
  '.png': 'image/png',
  '.svg': 'image/svg+xml',
};

const folder = process.argv[2];

// A path cannot leave the folder: it is made absolute before it is made a file's.
function fileOf(address) {
  const path = normalize(decodeURIComponent(new URL(address, 'http://localhost').pathname));
  return join(folder, path.endsWith('/') ? `${path}index.html` : path);
}

async function answer(request, response) {
  try {
    const file = fileOf(request.url);
    const body = await readFile(file);
    const type = kTypes[extname(file)] ?? 'application/octet-stream';
    response.writeHead(200, { 'Content-Type': type, 'Cache-Control': 'no-store' }).end(body);
  } catch {
    response.writeHead(404, { 'Content-Type': 'text/plain' }).end('not found\n');
  }
}

const server = createServer(answer).listen(0, '127.0.0.1', () => {
  console.log(`http://localhost:${server.address().port}`);
});
process.stdin.resume().on('end', () => process.exit(0));
