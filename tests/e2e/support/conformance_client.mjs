// The official MCP conformance suite starts this program as the client under test. The last
// argument is the address of the suite's server. Starts the real host with that server in
// config.json and a page that lists the tools and calls each of them. See docs/conformance.md.
import { startUnchunkingProxy } from './foreign_http_server.mjs';
import { startHost } from './host.mjs';
import { startServer } from './server.mjs';

const kName = 'suite';

// Tool -> its arguments, for tools that need some.
const kArguments = {
  add_numbers: () => ({ a: 5, b: 3 }),
  // Returns the first tool's schema as the page got it.
  json_schema_echo: ([{ inputSchema }]) => ({ schema: inputSchema }),
};
const callsOf = (tools) =>
  tools.map(({ name }) => ({ name, arguments: kArguments[name]?.(tools) ?? {} }));

const server = await startUnchunkingProxy(new URL(process.argv.at(-1)));
const page = await startServer({ '/': '<!doctype html><title>conformance</title>' });
const config = { mcpServers: { [kName]: { url: server.url } } };
const host = await startHost({ address: page.url, config });

const { value: [{ tools, error }] } = await host.page.call('mcpServers', []);
console.log('tools:', error ?? tools.map(({ name }) => name).join(' '));
// Some scenarios say in this variable which calls to make.
const { toolCalls } = JSON.parse(process.env.MCP_CONFORMANCE_CONTEXT ?? '{}');
for (const { name, arguments: args } of toolCalls ?? callsOf(tools ?? [])) {
  const { value } = await host.page.call('mcpCall', [kName, name, args]);
  console.log(`${name}:`, JSON.stringify(value));
}
process.exitCode = await host.close();
await Promise.all([page.close(), server.close()]);
