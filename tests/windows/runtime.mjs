// Finds the WebView2 runtime.
import { execFileSync } from 'node:child_process';

const kClient = '{F3017226-FE2A-4295-8BDF-00C3A9A7E4C5}';
const kKeys = [
  `HKLM\\SOFTWARE\\WOW6432Node\\Microsoft\\EdgeUpdate\\Clients\\${kClient}`,
  `HKLM\\SOFTWARE\\Microsoft\\EdgeUpdate\\Clients\\${kClient}`,
  `HKCU\\Software\\Microsoft\\EdgeUpdate\\Clients\\${kClient}`,
];

// The version of the runtime for all users or for this one; undefined if there is none.
export function runtimeVersion() {
  for (const key of kKeys) {
    try {
      const text = execFileSync('reg', ['query', key, '/v', 'pv'], { encoding: 'utf8', stdio: 'pipe' });
      const [, found] = /pv\s+REG_SZ\s+(\S+)/.exec(text) ?? [];
      if (found && found !== '0.0.0.0') return found;
    } catch {
      // there is no such key
    }
  }
  return undefined;
}
