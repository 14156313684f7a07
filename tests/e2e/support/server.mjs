// An HTTP server on localhost that records its requests.
import { createServer } from 'node:http';
import { createServer as createSecureServer } from 'node:https';
import { endsWithFile } from './leftovers.mjs';
import { until } from './waiting.mjs';

async function bodyOf(request) {
  const chunks = [];
  for await (const chunk of request) chunks.push(chunk);
  return Buffer.concat(chunks).toString();
}

// A route is a text (sent as HTML), {status, headers, body}, or a function of (request, response).
// The function returns a text or such an object, or it answers itself and returns nothing.
async function answer(route, request, response) {
  const made = typeof route === 'function' ? await route(request, response) : route;
  if (made === undefined) return;
  const reply = typeof made === 'string' ? { body: made } : made;
  response.writeHead(reply.status ?? 200, {
    'Content-Type': 'text/html; charset=utf-8',
    'Cache-Control': 'no-store',
    ...reply.headers,
  });
  response.end(reply.body ?? '');
}

// `routes`: path without query -> route. Other paths give 404. A test may change the routes while
// the server runs. With `certificate`, as makeCertificate gives it, the server speaks https.
export async function startServer(routes = {}, { certificate } = {}) {
  const requests = [];
  const make = certificate ? (take) => createSecureServer(certificate, take) : createServer;
  const server = make(async (request, response) => {
    request.body = await bodyOf(request);
    const { method, url, headers, body } = request;
    requests.push({ method, url, headers, body });
    const route = routes[url.split('?')[0]] ?? { status: 404, body: 'not found' };
    await answer(route, request, response);
  });
  await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
  const { port } = server.address();
  return {
    port,
    routes,
    requests, // {method, url, headers, body} in order of arrival
    url: `${certificate ? 'https' : 'http'}://localhost:${port}`,
    waitForRequest: (path) =>
      until(`a request for ${path}`, () => requests.find((request) => request.url === path), {
        context: () => `asked so far: ${requests.map(({ url }) => url).join(' ')}`,
      }),
    close: endsWithFile(() =>
      new Promise((resolve) => {
        server.close(resolve);
        server.closeAllConnections();
      })),
  };
}
