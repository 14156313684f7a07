// The actions that a page can ask for, in the order of docs/page-api.md.
import { readFileSync } from 'node:fs';

const kText = new URL('../../docs/page-api.md', import.meta.url);

export const documentedActions = () =>
  [...readFileSync(kText, 'utf8').matchAll(/^### (\w+)\(/gm)].map(([, name]) => name);
