// Runs units of work two at a time. A unit is {lane, run, alone}. `lane` 0 is for work that keeps
// the processors busy, 1 for work that mostly waits; a lane without work takes a unit of the other
// lane. `run` resolves with further units, which run next, or with nothing. The units with `alone`
// run one at a time, after all other units have ended.
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
        await new Promise((resolve) => (wake = resolve)); // the other lane's unit may add more
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
