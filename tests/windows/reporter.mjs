// A reporter for Node's test runner: writes one line of JSON for each test that has no parts.
//   {name: [names of the tests around it..., its own], state, ms, reason}
// `state` is passed, failed, skipped or notRun; `reason` says why it is not passed.
import { kNotHere } from '../e2e/support/not_here.mjs';

function outcome(event) {
  const { skip, todo, details } = event.data;
  if (skip !== undefined || todo !== undefined) {
    return { state: 'skipped', reason: String(skip ?? todo) };
  }
  if (event.type === 'test:pass') return { state: 'passed' };
  const error = details.error.cause ?? details.error;
  const message = error.message ?? String(error);
  const at = message.indexOf(kNotHere);
  if (at >= 0) return { state: 'notRun', reason: message.slice(at + kNotHere.length).split('\n')[0] };
  return { state: 'failed', reason: message };
}

export default async function* report(events) {
  const names = [];
  let deepest = 0; // the nesting of the last test that has ended
  for await (const event of events) {
    const { name, nesting, details } = event.data;
    if (event.type === 'test:start') names[nesting] = name;
    if (event.type !== 'test:pass' && event.type !== 'test:fail') continue;
    const hasParts = deepest > nesting;
    deepest = nesting;
    const isOfParts = hasParts && (event.type === 'test:pass' || details.error.failureType === 'subtestsFailed');
    if (isOfParts) continue;
    const row = { name: [...names.slice(0, nesting), name], ms: Math.round(details.duration_ms), ...outcome(event) };
    yield `${JSON.stringify(row)}\n`;
  }
}
