// Makes the page that shows the results of a check. `results` is the content of results.json, which
// run_all.mjs describes.
const kEscapes = { '&': '&amp;', '<': '&lt;', '>': '&gt;', '"': '&quot;' };
const escaped = (text) => String(text ?? '').replace(/[&<>"]/g, (character) => kEscapes[character]);

const kWords = { passed: 'passed', failed: 'failed', skipped: 'skipped', notRun: 'not run' };

const kStyle = `
  :root { color-scheme: light dark; --line: #8886; --bad: #c62828; --good: #2e7d32; --dim: #767676 }
  @media (prefers-color-scheme: dark) { :root { --bad: #ff8a80; --good: #81c784; --dim: #9e9e9e } }
  body { font: 15px/1.5 "Segoe UI", sans-serif; max-width: 70rem; margin: 2rem auto; padding: 0 1rem }
  table { border-collapse: collapse; width: 100%; margin: .5rem 0 1.5rem }
  th, td { text-align: left; vertical-align: top; padding: .25rem .75rem .25rem 0; border-top: 1px solid var(--line) }
  td { overflow-wrap: anywhere } pre { white-space: pre-wrap; margin: 0; font-size: 13px }
  .passed { color: var(--good) } .failed { color: var(--bad); font-weight: 600 }
  .notRun, .skipped { color: var(--dim) }
  figure { display: inline-block; width: 20rem; margin: 0 1rem 1rem 0 } img { width: 100%; border: 1px solid var(--line) }
  summary { cursor: pointer; padding: .25rem 0 }`;

export const count = (rows) => ({
  passed: rows.filter(({ state }) => state === 'passed').length,
  failed: rows.filter(({ state }) => state === 'failed').length,
  notRun: rows.filter(({ state }) => state === 'notRun' || state === 'skipped').length,
});

const countText = ({ passed, failed, notRun }) =>
  `${passed} passed, <span class="${failed ? 'failed' : ''}">${failed} failed</span>, ${notRun} not run`;

const reasonText = (reason) =>
  reason?.includes('\n') ? `<pre>${escaped(reason)}</pre>` : escaped(reason);

const testRow = ({ name, state, ms, reason }) => `
  <tr><td>${escaped(name.join(' › '))}<td class="${state}">${kWords[state]}
  <td>${ms === undefined ? '' : `${ms} ms`}<td>${reasonText(reason)}`;

// A file is open when one of its tests has failed.
function fileSection([file, rows], pictures) {
  const counts = count(rows);
  const shown = pictures.filter((picture) => picture.startsWith(`${file}-`));
  return `<details${counts.failed ? ' open' : ''}>
  <summary><b>${escaped(file)}</b> — ${countText(counts)}</summary>
  <table><tr><th>test<th>result<th>time<th>why${rows.map(testRow).join('')}</table>
  ${shown.map(pictureOf).join('')}</details>`;
}

const pictureOf = (picture) =>
  `<figure><a href="pictures/${escaped(picture)}"><img src="pictures/${escaped(picture)}" alt="the screen"></a>` +
  `<figcaption>${escaped(picture)}</figcaption></figure>`;

const factRow = ({ question, expected, source, answer, reason }) => `
  <tr><td>${escaped(question)}<td>${escaped(expected)}<br><span class="skipped">${escaped(source)}</span>
  <td>${answer === undefined ? `<span class="notRun">not run: ${escaped(reason)}</span>` : escaped(answer)}`;

function groups(rows) {
  const files = new Map();
  for (const row of rows) files.set(row.file, [...(files.get(row.file) ?? []), row]);
  return [...files];
}

export function makeReport({ about, rows, facts, pictures }) {
  const suite = (name) => groups(rows.filter((row) => row.suite === name))
    .map((group) => fileSection(group, pictures)).join('\n');
  return `<!doctype html>
<html lang="en"><meta charset="utf-8"><title>Wendra on Windows</title>
<meta name="viewport" content="width=device-width"><style>${kStyle}</style>
<h1>Wendra on Windows</h1>
<p><b>${countText(count(rows))}</b></p>
<table>${Object.entries(about).map(([name, value]) => `
  <tr><th>${escaped(name)}<td>${escaped(value)}`).join('')}</table>
<h2>End to end</h2>${suite('e2e')}
<h2>Unit tests</h2>${suite('unit')}
<h2>What only this machine can tell</h2>
<table><tr><th>question<th>expected, and from where<th>answer${facts.map(factRow).join('')}</table>
</html>
`;
}
