// The web server for these tests. Prints its port and runs until it is killed.
import http from 'node:http';

const requests = new Map();

function answer(request, response) {
  const url = new URL(request.url, 'http://server');
  const seen = url.pathname;
  if (seen === '/count') {
    response.end(String(requests.get(url.searchParams.get('of')) ?? 0));
    return;
  }
  requests.set(seen, (requests.get(seen) ?? 0) + 1);
  const query = url.searchParams;
  if (seen === '/page') {
    response.setHeader('Content-Type', 'text/html; charset=utf-8');
    response.end(`<!doctype html><body style="margin:0">${query.get('body')}</body>`);
  } else if (seen.startsWith('/redirect')) {
    response.writeHead(302, { Location: query.get('to') }).end();
  } else if (seen.startsWith('/nothing')) {
    response.writeHead(204).end();
  } else if (seen === '/download') {
    response.writeHead(200, { 'Content-Disposition': 'attachment; filename=file.bin' }).end('file');
  } else if (seen.startsWith('/hang')) {
    // This request is never answered.
  } else {
    response.setHeader('Content-Type', 'text/html; charset=utf-8');
    response.end(`<!doctype html><title>${seen}</title><body>${seen}</body>`);
  }
}

const server = http.createServer({ keepAlive: false }, answer);
server.listen(0, '0.0.0.0', () => console.log(server.address().port));
