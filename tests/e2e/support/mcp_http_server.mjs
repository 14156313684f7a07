// Remote MCP servers on localhost, one for each path, that do what a test tells them.
//
// Wine hands over a chunked body one chunk late, so the last event of a quiet stream would never
// arrive. Everything here is sent without chunks, on a connection that ends with the response.
import { createServer } from 'node:http';
import { createServer as createSecureServer } from 'node:https';
import { endsWithFile } from './leftovers.mjs';
import { until } from './waiting.mjs';

const kProtocolVersion = '2025-11-25';

export const result = (id, value) => ({ jsonrpc: '2.0', id, result: value });
export const text = (words) => ({ content: [{ type: 'text', text: words }] });
export const event = (message) => `event: message\ndata: ${JSON.stringify(message)}\n\n`;

// Sends the head of a response. The caller writes the body and ends it.
export function begin(response, status = 200, headers = {}) {
  response.useChunkedEncodingByDefault = false;
  response.shouldKeepAlive = false;
  response.writeHead(status, headers);
  response.flushHeaders();
  return response;
}

export const send = (response, status, headers, body = '') => begin(response, status, headers).end(body);

export const sendJson = (response, message, headers = {}) =>
  send(response, 200, { 'Content-Type': 'application/json', ...headers },
    typeof message === 'string' ? message : JSON.stringify(message));

export const beginEvents = (response, headers = {}) =>
  begin(response, 200, { 'Content-Type': 'text/event-stream', ...headers });

// A server that works properly, without sessions and without an event stream for GET.
const kProper = {
  initialize: ({ response, message }) =>
    sendJson(response, result(message.id, { protocolVersion: kProtocolVersion, capabilities: {} })),
  initialized: ({ response }) => send(response, 202),
  list: ({ response, message }) => sendJson(response, result(message.id, { tools: [] })),
  call: ({ response, message }) => sendJson(response, result(message.id, text('hi'))),
  answer: ({ response }) => send(response, 202), // the host's response to a request of the server
  listen: ({ response }) => send(response, 405),
  end: ({ response }) => send(response, 200),
};

const kMethods = {
  initialize: 'initialize',
  'notifications/initialized': 'initialized',
  'tools/list': 'list',
  'tools/call': 'call',
};

function kindOf(method, message) {
  if (method === 'GET') return 'listen';
  if (method === 'DELETE') return 'end';
  return kMethods[message.method] ?? 'answer';
}

// `servers`: name -> the functions that replace those of kProper; each server has the path /name.
// `secure`: {key, cert} for https. `port`: the port of closed servers, to start them again under
// the same addresses.
export async function startMcpServers(servers, { secure, port: wantedPort = 0 } = {}) {
  const requests = []; // {name, kind, method, url, headers, message}, in order of arrival
  const take = async (request, response) => {
    const chunks = [];
    for await (const chunk of request) chunks.push(chunk);
    const body = Buffer.concat(chunks).toString();
    const message = body && JSON.parse(body);
    const name = decodeURIComponent(request.url.split('/')[1]);
    const kind = kindOf(request.method, message);
    const { method, url, headers } = request;
    const seen = { name, kind, method, url, headers, message, response };
    requests.push(seen);
    const own = servers[name];
    await (own?.[kind] ?? kProper[kind])(seen);
  };
  const server = secure ? createSecureServer(secure, take) : createServer(take);
  await new Promise((resolve) => server.listen(wantedPort, '127.0.0.1', resolve));
  const { port } = server.address();
  const url = (name) =>
    `${secure ? 'https' : 'http'}://localhost:${port}/${encodeURIComponent(name)}`;
  const of = (name, kind) => requests.filter((one) => one.name === name && one.kind === kind);
  return {
    port,
    requests,
    of,
    url,
    // The server's entry in config.json.
    entry: (name, rest = {}) => ({ url: url(name), ...rest }),
    waitFor: (name, kind, count = 1, options = {}) =>
      until(`${count} × ${kind} at ${name}`, () => of(name, kind).length >= count && of(name, kind), {
        context: () => requests.map((one) => `${one.name} ${one.kind}`).join('\n'),
        ...options,
      }),
    close: endsWithFile(() =>
      new Promise((resolve) => {
        server.close(resolve);
        server.closeAllConnections();
      })),
  };
}
