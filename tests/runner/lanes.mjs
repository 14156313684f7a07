// Runs units of work, three at a time at most. A unit is {kind, run}. `run` resolves with further
// units, which run before the others of their kinds, or with nothing.
export const kWide = 'wide'; // keeps all processors busy by itself: builds
export const kWaiting = 'waiting'; // waits most of the time: Wine and browsers
export const kAlone = 'alone'; // measures times: nothing else may wait or be built beside it
export const kBusy = 'busy'; // keeps one processor busy, at low priority: sanitizers, fuzzers, the linter

export async function runInLanes(units) {
  const kinds = [kWide, kWaiting, kAlone, kBusy]; // the first that may run runs first
  const queues = Object.fromEntries(kinds.map((kind) => [kind, []]));
  const running = Object.fromEntries(kinds.map((kind) => [kind, 0]));
  const total = () => kinds.reduce((sum, kind) => sum + running[kind], 0);
  const isOver = (kind) => queues[kind].length === 0 && running[kind] === 0;
  const mayRun = {
    [kWide]: () => running.wide === 0 && running.alone === 0,
    [kWaiting]: () => running.waiting < 2 && running.alone === 0,
    [kAlone]: () => running.alone === 0 && isOver(kWide) && isOver(kWaiting),
    // While measuring units are to come, they may find one busy unit at most.
    [kBusy]: () => running.busy === 0 || isOver(kAlone),
  };
  const add = (more) => {
    for (const unit of [...more].reverse()) queues[unit.kind].unshift(unit);
  };
  add(units);

  await new Promise((resolve, reject) => {
    const start = async (unit) => {
      running[unit.kind] += 1;
      try {
        add((await unit.run()) ?? []);
      } catch (error) {
        reject(error);
      }
      running[unit.kind] -= 1;
      startMore();
    };
    const startMore = () => {
      while (total() < 3) {
        const kind = kinds.find((one) => queues[one].length > 0 && mayRun[one]());
        if (!kind) break;
        start(queues[kind].shift());
      }
      if (kinds.every(isOver)) resolve();
    };
    startMore();
  });
}
