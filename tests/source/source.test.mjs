// Checks rules that the compiler does not check: which module may include which, which files may
// include Windows headers, what the program imports, how long files and functions are, and that
// clang-format has formatted all sources. tidy.mjs runs a second compiler.
import assert from 'node:assert/strict';
import { execFileSync, spawnSync } from 'node:child_process';
import { existsSync, readFileSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { drawnDiagram, moduleDiagram } from '../../tools/module-diagram.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../..');

// Module -> what it may include besides itself. docs/architecture.md has the same as a table.
const kMayUse = {
  base: [],
  json: [],
  win: ['base'],
  config: ['json', 'base', 'win'],
  bridge: ['json', 'base', 'win'],
  webview: ['base', 'win'],
  mcp: ['config', 'bridge/action.h', 'bridge/replies.h', 'json', 'base', 'win'],
  update: ['config', 'bridge/action.h', 'bridge/replies.h', 'json', 'base', 'win'],
  app: ['mcp', 'update', 'config', 'bridge', 'webview', 'json', 'base', 'win'],
};
// Libraries that Windows takes from its system folder in any case: its "known DLLs", and comctl32,
// which the manifest of the program names.
const kSafeImports = [
  'advapi32', 'comctl32', 'comdlg32', 'gdi32', 'kernel32', 'msvcrt', 'normaliz', 'ole32', 'oleaut32',
  'shell32', 'shlwapi', 'user32',
];

function sources(...patterns) {
  const files = execFileSync('git', ['ls-files', '--cached', '--others', '--exclude-standard', ...patterns], {
    cwd: kRoot,
    encoding: 'utf8',
  });
  return files.split('\n').filter((file) => file && existsSync(join(kRoot, file)));
}

const cppFiles = sources('*.cpp', '*.h');

function includesOf(file) {
  const text = readFileSync(join(kRoot, file), 'utf8');
  return [...text.matchAll(/^\s*#\s*include\s+([<"])([^>"]+)[>"]/gm)].map(([, quote, path]) => ({
    isOurs: quote === '"',
    path,
  }));
}

// The names and folders of files that may include Windows headers.
const mayNameWindows = (file) =>
  /_win(_test)?\.(cpp|h)$/.test(file) || /^(tests\/)?win\//.test(file);

test('every include points down to a lower module', () => {
  const wrong = [];
  for (const file of cppFiles) {
    const module = file.split('/')[0];
    if (!(module in kMayUse)) continue;
    for (const { isOurs, path } of includesOf(file)) {
      if (!isOurs) continue;
      const allowed = [module, ...kMayUse[module]];
      if (!allowed.some((one) => path === one || path.startsWith(`${one}/`))) {
        wrong.push(`${file} includes ${path}`);
      }
    }
  }
  assert.deepEqual(wrong, []);
});

test('the diagram of the modules is up to date', () => {
  assert.equal(drawnDiagram(), moduleDiagram(), 'run: node tools/module-diagram.mjs');
});

test('the program has no switches for development', () => {
  const wrong = cppFiles
    .filter((file) => file.split('/')[0] in kMayUse)
    .filter((file) => readFileSync(join(kRoot, file), 'utf8').includes('WENDRA_DEV_'));
  assert.deepEqual(wrong, []);
});

// In Windows programs built with mingw, these primitives lose a wake-up once in some thousand runs,
// and then a thread waits for ever. A mutex with a condition variable does not, nor does a Windows
// event.
test('no thread waits with a primitive that loses wake-ups', () => {
  const losesWakeUps =
    /#\s*include\s*<(barrier|latch|semaphore)>|\bstop_callback\b|[.>]notify_(one|all)\(|[.>]wait\((?!\s*lock\b)|\batomic_(flag_)?(wait|notify)/;
  // True when the object that is notified is a condition variable. The waits of a condition
  // variable take the lock as first argument, so `losesWakeUps` does not match them.
  const isCondition = (text, line) => {
    const name = /(\w+)(?:\.|->)notify_/.exec(line)?.[1];
    return name !== undefined && new RegExp(`condition_variable(_any)? ${name};`).test(text);
  };
  const wrong = [];
  for (const file of cppFiles) {
    const text = [file, file.replace(/(_posix)?\.cpp$/, '.h')]
      .filter((one) => existsSync(join(kRoot, one)))
      .map((one) => readFileSync(join(kRoot, one), 'utf8'));
    text[0].split('\n').forEach((line, at) => {
      if (losesWakeUps.test(line) && !isCondition(text.join('\n'), line)) {
        wrong.push(`${file}:${at + 1}: ${line.trim()}`);
      }
    });
  }
  assert.deepEqual(wrong, []);
});

test('only win/ and files ending in _win include Windows headers', () => {
  const isWindowsHeader = (path) =>
    /^(windows|windowsx|winsock2|ws2tcpip|winreg|winnls|sysinfoapi|combaseapi|shobjidl_core|objbase|objidl|oaidl|unknwn|ole2|winhttp|commctrl|shellapi|shlobj|shobjidl|shlwapi|knownfolders|wincodec|dwmapi|uxtheme|eventtoken|winver|winternl|tlhelp32|psapi|debugapi|winbase|winuser)\.h$/i
      .test(path);
  const wrong = [];
  for (const file of cppFiles.filter((one) => !mayNameWindows(one))) {
    for (const { path } of includesOf(file)) {
      if (isWindowsHeader(path) || mayNameWindows(path)) wrong.push(`${file} includes ${path}`);
    }
  }
  assert.deepEqual(wrong, []);
});

// Finds functions by the layout of .clang-format: a function outside a class begins and ends in the
// first column.
function longFunctions(file, maxLines) {
  const lines = readFileSync(join(kRoot, file), 'utf8').split('\n');
  const long = [];
  let start = -1;
  lines.forEach((line, at) => {
    const isOpening = /^\S.*\{$/.test(line) || /^ {4}.*\) ?(const )?(override )?\{$/.test(line);
    if (isOpening && !/^(namespace|class|struct|enum|union|extern|const|inline const)\b/.test(line)) start = at;
    if (line !== '}' || start < 0) return;
    if (at - start + 1 > maxLines) long.push(`${file}:${start + 1}: ${at - start + 1} lines`);
    start = -1;
  });
  return long;
}

test('no file of the program has more than 400 lines, no function more than 60', () => {
  const product = cppFiles.filter((file) => file.split('/')[0] in kMayUse);
  const lines = product.map((file) => readFileSync(join(kRoot, file), 'utf8').split('\n').length - 1);
  assert.deepEqual(product.filter((_, at) => lines[at] > 400), []);
  assert.deepEqual(product.flatMap((file) => longFunctions(file, 60)), []);

  // A header and its sources are one idea. One to three screens are easy to read.
  const ideas = new Map();
  product.forEach((file, at) => {
    const idea = file.replace(/(_win|_posix)?\.(cpp|h)$/, '');
    ideas.set(idea, (ideas.get(idea) ?? 0) + lines[at]);
  });
  const median = [...ideas.values()].sort((a, b) => a - b)[Math.floor(ideas.size / 2)];
  assert.ok(median >= 60 && median <= 140, `median: ${median} lines`);
});

test('clang-format has nothing to change in the sources', () => {
  const result = spawnSync('clang-format', ['--dry-run', '-Werror', ...cppFiles], {
    cwd: kRoot,
    encoding: 'utf8',
  });
  assert.equal(result.status, 0, result.stderr.split('\n').slice(0, 20).join('\n'));
});

const exeHeaders = () =>
  execFileSync('x86_64-w64-mingw32-objdump', ['-p', join(kRoot, 'build/windows/bin/wendra.exe')], {
    encoding: 'utf8',
    maxBuffer: 1 << 26,
  });

test('the program imports only libraries that cannot be planted beside it', () => {
  const imports = [...exeHeaders().matchAll(/DLL Name: (\S+)\.dll/gi)].map(([, name]) => name.toLowerCase());
  assert.ok(imports.includes('kernel32'), imports.join(' '));
  assert.deepEqual(imports.filter((name) => !kSafeImports.includes(name)), []);
});

test('the program is a windowed one, and hardened', () => {
  const headers = exeHeaders();
  for (const hardening of ['HIGH_ENTROPY_VA', 'DYNAMIC_BASE', 'NX_COMPAT', '(Windows GUI)']) {
    assert.ok(headers.includes(hardening), `${hardening} is not set`);
  }
  assert.match(headers, /Base Relocation Directory \[\.reloc\]/);
});

// Reads the table of sections: https://learn.microsoft.com/windows/win32/debug/pe-format
test('no section of the program can be both written and run', () => {
  const kExecute = 0x2000_0000;
  const kWrite = 0x8000_0000;
  const file = readFileSync(join(kRoot, 'build/windows/bin/wendra.exe'));
  const header = file.readUInt32LE(0x3c) + 4; // after the signature "PE\0\0"
  const table = header + 20 + file.readUInt16LE(header + 16);
  const sections = Array.from({ length: file.readUInt16LE(header + 2) }, (_, index) => {
    const at = table + index * 40;
    const name = file.toString('latin1', at, at + 8).replace(/\0.*/, '');
    return { name, flags: file.readUInt32LE(at + 36) };
  });
  const withFlag = (flag) => sections.filter(({ flags }) => flags & flag).map(({ name }) => name);
  assert.deepEqual(withFlag(kExecute), ['.text']);
  assert.ok(withFlag(kWrite).includes('.data'));
  assert.ok(!withFlag(kWrite).includes('.text'));
});

const exeSymbols = () =>
  execFileSync('x86_64-w64-mingw32-nm', [join(kRoot, 'build/windows/bin/wendra.exe')], {
    encoding: 'utf8',
    maxBuffer: 1 << 26,
  });

test('the functions of the program check their stacks', () => {
  assert.match(exeSymbols(), / __stack_chk_fail$/m);
});

test("the program links only the functions of the vendors' libraries that it calls", () => {
  const linked = exeSymbols().matchAll(/ __imp_(win_sparkle_\w+|CreateCore\w+|GetAvailable\w+)$/gm);
  assert.deepEqual(Array.from(linked, ([, name]) => name).sort(), [
    'CreateCoreWebView2EnvironmentWithOptions',
    'win_sparkle_check_update_with_ui',
    'win_sparkle_check_update_without_ui',
    'win_sparkle_cleanup',
    'win_sparkle_get_automatic_check_for_updates',
    'win_sparkle_get_last_check_time',
    'win_sparkle_get_update_check_interval',
    'win_sparkle_init',
    'win_sparkle_set_appcast_url',
    'win_sparkle_set_automatic_check_for_updates',
    'win_sparkle_set_can_shutdown_callback',
    'win_sparkle_set_did_find_update_callback',
    'win_sparkle_set_did_not_find_update_callback',
    'win_sparkle_set_error_callback',
    'win_sparkle_set_shutdown_request_callback',
    'win_sparkle_set_update_cancelled_callback',
    'win_sparkle_set_update_check_interval',
    'win_sparkle_set_update_dismissed_callback',
    'win_sparkle_set_update_postponed_callback',
    'win_sparkle_set_update_skipped_callback',
  ]);
});

test('CMake refuses a release build without a key, and names and versions that are not valid', () => {
  const configure = (...options) =>
    spawnSync('cmake', ['-S', kRoot, '-B', join(kRoot, 'build/release-check'), '-G', 'Ninja',
      '--fresh', '-DWENDRA_TESTS=OFF', ...options], { encoding: 'utf8' });
  const key = 'A'.repeat(43);
  const cases = [
    [['-DWENDRA_RELEASE=ON'], /WENDRA_RELEASE needs WENDRA_EDDSA_PUBLIC_KEY/],
    [[`-DWENDRA_EDDSA_PUBLIC_KEY=${key}`], /is not base64/],
    [[`-DWENDRA_EDDSA_PUBLIC_KEY=${key}A=`], /has 45 characters, not 44/],
    [['-DWENDRA_SERVICE_DOMAIN='], /WENDRA_SERVICE_DOMAIN is not a domain/],
    [['-DWENDRA_SERVICE_DOMAIN=Wendra.example'], /WENDRA_SERVICE_DOMAIN is not a domain/],
    [['-DWENDRA_VERSION=1.2.3'], /WENDRA_VERSION is not a four-part version/],
  ];
  for (const [options, message] of cases) {
    const { status, stderr } = configure(...options);
    assert.notEqual(status, 0, options.join(' '));
    assert.match(stderr, message);
  }
  assert.equal(configure('-DWENDRA_RELEASE=ON', `-DWENDRA_EDDSA_PUBLIC_KEY=${key}=`).status, 0);
});
