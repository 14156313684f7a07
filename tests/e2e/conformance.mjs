// Runs the client scenarios of the official MCP conformance suite against the built host:
//
//   node tests/e2e/conformance.mjs --suite all [--spec-version 2025-11-25]
//   node tests/e2e/conformance.mjs --scenario NAME
//
// All arguments are passed on to the suite. docs/conformance.md holds the results.
import { ended, spawnTied } from '../../tools/wine/processes.mjs';
import { kServerNode, moduleScript, ownScript } from './support/foreign_http_server.mjs';

const kSuite = moduleScript('@modelcontextprotocol/conformance/dist/index.js');
const kClient = ownScript('conformance_client.mjs');
const kTimeoutMs = '900000'; // enough for the client that runs last

// The suite starts the clients of all scenarios at once. Each of them is a host with a display and
// a browser; the lock makes them run one after the other.
const command = `flock '${kClient}' '${process.execPath}' '${kClient}'`;
const args = ['client', '--command', command, '--timeout', kTimeoutMs, ...process.argv.slice(2)];
const { code } = await ended(spawnTied(kServerNode, [kSuite, ...args], { stdio: 'inherit' }));
process.exitCode = code ?? 1;
