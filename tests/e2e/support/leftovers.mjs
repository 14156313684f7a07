// Closes at the end of a file of tests what a failed test has left open. Without this the file
// could not end.
import { after } from 'node:test';
import '../../runner/limits.mjs';

const open = new Set();

// Hooks run in the order in which they were declared. The hooks of the file itself may close the
// same things and have to run first. Only a file of tests has hooks.
const endAll = () => Promise.all([...open].map((end) => end()));
if (process.env.NODE_TEST_CONTEXT) queueMicrotask(() => after(endAll));

// Returns `end` for the test to call. If the test does not call it, it is called after the last
// test. Call `isDone` of the result when the thing has ended in another way.
export function endsWithFile(end) {
  const isDone = () => open.delete(once);
  const once = () => {
    isDone();
    return end();
  };
  open.add(once);
  return Object.assign(once, { isDone });
}
