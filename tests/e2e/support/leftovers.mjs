// What a test that fails leaves open ends with its file, which could not end before it.
import { after } from 'node:test';
import '../../runner/limits.mjs';

const open = new Set();

// Hooks run in the order in which they were made, and the file's own, which may close the same, have
// to come first. Only a file of tests has hooks.
const endAll = () => Promise.all([...open].map((end) => end()));
if (process.env.NODE_TEST_CONTEXT) queueMicrotask(() => after(endAll));

// `end` for the test to call: called after the last test unless the test has done so, or has called
// `isDone` of the result because the thing has ended in another way.
export function endsWithFile(end) {
  const isDone = () => open.delete(once);
  const once = () => {
    isDone();
    return end();
  };
  open.add(once);
  return Object.assign(once, { isDone });
}
