// The vendors' files in a package, pinned by their content.
import { createHash } from 'node:crypto';
import { existsSync, readFileSync } from 'node:fs';
import { join } from 'node:path';

// `package`: the NuGet package of that version, where the file can be had.
export const kVendorFiles = [
  {
    name: 'WebView2Loader.dll',
    sha256: 'd3fce90bdeecb08596e377dea6a316354dd8949e32ff09b89d51be00c14e21b6',
    package: 'Microsoft.Web.WebView2 1.0.4314.35',
    path: 'runtimes/win-x64/native/WebView2Loader.dll',
  },
  {
    name: 'WebView2Loader-LICENSE.txt',
    sha256: '0af8f1b807512aae39c2ac1aa4d0cae65cabecb6fd554b8439a5162a0d6eca55',
    package: 'Microsoft.Web.WebView2 1.0.4314.35',
    path: 'LICENSE.txt',
  },
  {
    name: 'WinSparkle.dll',
    sha256: '9b43b1c16ee39fb9a91b5bd75138767898779510e0836be2919250607cdbe8ab',
    package: 'WinSparkle 0.9.4',
    path: 'runtimes/win-x64/native/WinSparkle.dll',
  },
  // Its content could not be looked at yet, so only its presence is checked.
  { name: 'WinSparkle-LICENSE.txt', package: 'WinSparkle 0.9.4', path: 'COPYING' },
];

export const sha256Of = (file) => createHash('sha256').update(readFileSync(file)).digest('hex');

// What is wrong with the vendors' files in `folder`, one sentence each; [] when all are the pinned
// ones.
export function vendorTrouble(folder) {
  return kVendorFiles.flatMap(({ name, sha256, package: from, path }) => {
    const file = join(folder, name);
    if (!existsSync(file)) return [`${file} is missing; it is ${path} of ${from}`];
    const found = sha256Of(file);
    if (!sha256 || found === sha256) return [];
    return [`${file} is not ${path} of ${from}: its SHA-256 is ${found}, not ${sha256}`];
  });
}
