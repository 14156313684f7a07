// Runs units of work two at a time. A unit is {lane, run, alone}: `lane` 0 is for what keeps the
// processors busy, 1 for what mostly waits; a lane without work of its own takes the other's. `run`
// resolves with further units, which come next, or with nothing. A unit that is `alone` waits for
// the end of all that are not, and runs beside nothing.
export async function runInLanes(units) {
  const queues = [[], []];
  const alone = [];
  const add = (more) => {
    for (const unit of [...more].reverse()) (unit.alone ? alone : queues[unit.lane]).unshift(unit);
  };
  add(units);

  let busy = 0;
  let wake = () => {};
  const next = (lane) => queues[lane].shift() ?? queues[1 - lane].shift();
  const work = async (lane) => {
    for (;;) {
      const unit = next(lane);
      if (!unit) {
        if (busy === 0) return;
        await new Promise((resolve) => (wake = resolve)); // the other lane may yet bring more
        continue;
      }
      busy += 1;
      try {
        add((await unit.run()) ?? []);
      } finally {
        busy -= 1;
        wake();
      }
    }
  };
  await Promise.all([work(0), work(1)]);
  while (alone.length > 0) add((await alone.shift().run()) ?? []);
}
