// Runs units of work, three at a time. A unit is {kind, run, alone}. `run` resolves with further
// units, which run next, or with nothing. The units with `alone` run one at a time, after all other
// units have ended.
export const kWide = 0; // keeps all processors busy by itself: builds
export const kBusy = 1; // keeps one processor busy: sanitizers, fuzzers, the linter
export const kWaiting = 2; // waits most of the time: Wine and browsers

// What each worker takes, the first kind first. One wide unit at a time is enough.
const kWorkers = [[kWide, kBusy, kWaiting], [kWaiting, kBusy], [kWaiting, kBusy]];

export async function runInLanes(units) {
  const queues = [[], [], []];
  const alone = [];
  let wake = [];
  const add = (more) => {
    for (const unit of [...more].reverse()) (unit.alone ? alone : queues[unit.kind]).unshift(unit);
    for (const resolve of wake) resolve();
    wake = [];
  };
  add(units);

  let running = 0;
  const work = async (kinds) => {
    for (;;) {
      const unit = kinds.map((kind) => queues[kind]).find(({ length }) => length > 0)?.shift();
      if (!unit) {
        if (running === 0) return;
        await new Promise((resolve) => wake.push(resolve)); // another worker's unit may add more
        continue;
      }
      running += 1;
      let more = [];
      try {
        more = (await unit.run()) ?? [];
      } finally {
        running -= 1;
        add(more);
      }
    }
  };
  await Promise.all(kWorkers.map(work));
  while (alone.length > 0) add((await alone.shift().run()) ?? []);
}
