// Waiting for something that has to come: never for a time.
import { setTimeout as sleep } from 'node:timers/promises';

const kStepMs = 20;

// How long anything may take before a test gives up; generous, for a busy machine.
export const kPatienceMs = 60_000;

// Polls until `condition()` gives something truthy, and gives that back. An error of the condition
// counts as "not yet". When the time is over: an error that names `what` and shows `context()`.
export async function until(what, condition, { timeoutMs = kPatienceMs, context } = {}) {
  const end = Date.now() + timeoutMs;
  for (let reason = ''; ; ) {
    try {
      const value = await condition();
      if (value) return value;
    } catch (error) {
      reason = ` (${error.message})`;
    }
    if (Date.now() >= end) throw lateError(`${what}${reason}`, timeoutMs, context);
    await sleep(kStepMs);
  }
}

// The promise's value, or the error that it took too long.
export async function inTime(what, promise, { timeoutMs = kPatienceMs, context } = {}) {
  const giveUp = new AbortController();
  const late = sleep(timeoutMs, undefined, { signal: giveUp.signal }).then(() => {
    throw lateError(what, timeoutMs, context);
  });
  late.catch(() => {}); // given up
  try {
    return await Promise.race([promise, late]);
  } finally {
    giveUp.abort();
  }
}

function lateError(what, timeoutMs, context) {
  const shown = context ? `\n${context()}` : '';
  return new Error(`waited ${timeoutMs} ms for ${what}${shown}`);
}
