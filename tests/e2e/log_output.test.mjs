// Tests tools/wine/log_output.mjs, which takes the prefix off the lines of the host's log.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { LogOutput } from '../../tools/wine/log_output.mjs';

async function through(chunks) {
  const output = new LogOutput();
  const parts = [];
  output.on('data', (part) => parts.push(part));
  for (const chunk of chunks) output.write(chunk);
  output.end();
  await new Promise((resolve) => output.on('end', resolve));
  return Buffer.concat(parts).toString();
}

function cut(text, bytes) {
  const buffer = Buffer.from(text);
  const chunks = [];
  for (let at = 0; at < buffer.length; at += bytes) chunks.push(buffer.subarray(at, at + bytes));
  return chunks;
}

const kCases = [
  ['one line', '[Wendra] [Server] hello\n', '[Server] hello\n'],
  ['two lines', '[Wendra] a\n[Wendra] b\n', 'a\nb\n'],
  ['a line with line feeds in it', '[Wendra] a\n b\n\n[Wendra] c\n', 'a\n b\n\nc\n'],
  ['the prefix only at the start', '[Wendra] x [Wendra] y\n', 'x [Wendra] y\n'],
  ['only one prefix', '[Wendra] [Wendra] y\n', '[Wendra] y\n'],
  ['lines that begin like the prefix', '[Wend\n[Wendra]\n[Wendra]x\n', '[Wend\n[Wendra]\n[Wendra]x\n'],
  ['an empty line', '[Wendra] \n\n', '\n\n'],
  ['no line feed at the end', '[Wendra] a\nlast', 'a\nlast'],
  ['an end within the prefix', 'a\n[Wen', 'a\n[Wen'],
  ['other characters', '[Wendra] ü — 日本\n', 'ü — 日本\n'],
  ['nothing', '', ''],
];

for (const [why, input, want] of kCases) {
  test(`LogOutput gives the same output for every chunk size: ${why}`, async () => {
    for (let bytes = 1; bytes <= Buffer.byteLength(input) + 1; ++bytes) {
      assert.equal(await through(cut(input, bytes)), want, `chunks of ${bytes}`);
    }
  });
}

test('LogOutput passes on the start of a line without waiting for its end', async () => {
  const output = new LogOutput();
  output.write('[Wendra] half');
  assert.equal(output.read().toString(), 'half');
});
