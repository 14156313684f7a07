// Restores the vendor's packages with the client `dotnet`, at the versions of vendor.csproj and with
// the content of packages.lock.json.
import { spawnSync } from 'node:child_process';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';

const kFolder = dirname(fileURLToPath(import.meta.url));
const kPackages = join(kFolder, '../../build/vendor');
const kLimitMs = 60_000;
const kCannotReach = /error NU1301/; // NuGet's number for "the source does not answer"

// Gives {folder} with the path of the package Microsoft.Web.WebView2, or {skip} with the reason why
// it cannot be had on this machine. Throws when a package is not the one that is pinned.
export function restoreWebView2() {
  const args = [
    'restore', join(kFolder, 'vendor.csproj'), '--locked-mode', '--packages', kPackages,
    `-p:BaseIntermediateOutputPath=${kPackages}/obj/`,
  ];
  const env = {
    ...process.env, DOTNET_CLI_TELEMETRY_OPTOUT: '1', DOTNET_NOLOGO: '1', MSBUILDDISABLENODEREUSE: '1',
  };
  const options = { encoding: 'utf8', env, timeout: kLimitMs };
  const { error, status, stdout, stderr } = spawnSync('dotnet', args, options);
  if (error?.code === 'ENOENT') return { skip: 'there is no dotnet' };
  if (error?.code === 'ETIMEDOUT') return { skip: 'NuGet does not answer' };
  if (stderr.includes('No .NET SDKs were found')) return { skip: 'there is no .NET SDK' };
  if (status !== 0 && kCannotReach.test(stdout)) return { skip: 'NuGet cannot be reached' };
  if (status !== 0) throw new Error(`dotnet restore has failed:\n${error ?? stdout}`);
  return { folder: join(kPackages, 'microsoft.web.webview2/1.0.4314.35') };
}
