// What Wendra leaves in a Windows account. The tests delete it, so they run only where there is none.
import { spawnSync } from 'node:child_process';
import { existsSync } from 'node:fs';
import { homedir } from 'node:os';
import { join } from 'node:path';

const kFolders = ['.config/wendra', 'AppData/Local/Wendra'];
const kKeys = ['HKCU\\Software\\Wendra.Desktop', 'HKCU\\Software\\Wendra'];

// The folders and registry keys of Wendra in this account.
export function tracesOfUse() {
  // The browser of the stand-in control has its files where the real control has its own.
  const isExpected = (folder) => process.env.WENDRA_DEV_BROWSER && folder.startsWith('AppData');
  const folders = kFolders.filter((folder) => !isExpected(folder)).map((folder) => join(homedir(), folder));
  return [
    ...folders.filter((folder) => existsSync(folder)),
    ...kKeys.filter((key) => spawnSync('reg', ['query', key]).status === 0),
  ];
}
