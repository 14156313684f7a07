// Serves the files of a folder on a free port of localhost: `node tools/serve.mjs FOLDER [PATH]`.
// When it listens, it prints the address of PATH ("/" by default). It ends when its standard input
// ends.
import { createServer } from 'node:http';
import { readFile, stat } from 'node:fs/promises';
import { extname, join, posix } from 'node:path';

const kTypes = {
  '.css': 'text/css; charset=utf-8',
  '.html': 'text/html; charset=utf-8',
  '.js': 'text/javascript; charset=utf-8',
  '.json': 'application/json',
  '.mjs': 'text/javascript; charset=utf-8',
  '.png': 'image/png',
  '.svg': 'image/svg+xml',
};

const [folder, start = '/'] = process.argv.slice(2);

// A path cannot leave the folder: it is made absolute, without "..", before the folder is put in
// front. To Windows a backslash is a separator too.
const pathOf = (address) =>
  posix.normalize(decodeURIComponent(new URL(address, 'http://localhost').pathname).replaceAll('\\', '/'));

const isFolder = async (path) => (await stat(join(folder, path))).isDirectory();

// The address of a folder must end with a slash: relative addresses in its page depend on that.
async function answer(request, response) {
  try {
    const path = pathOf(request.url);
    if (!path.endsWith('/') && (await isFolder(path))) {
      response.writeHead(302, { Location: `${encodeURI(path)}/` }).end();
      return;
    }
    const file = join(folder, path.endsWith('/') ? `${path}index.html` : path);
    const body = await readFile(file);
    const type = kTypes[extname(file)] ?? 'application/octet-stream';
    response.writeHead(200, { 'Content-Type': type, 'Cache-Control': 'no-store' }).end(body);
  } catch {
    response.writeHead(404, { 'Content-Type': 'text/plain' }).end('not found\n');
  }
}

const server = createServer(answer).listen(0, '127.0.0.1', () => {
  console.log(`http://localhost:${server.address().port}${start}`);
});
process.stdin.resume().on('end', () => process.exit(0));
