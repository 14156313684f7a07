// Compares the program's own declarations of WebView2 with the vendor's header. Both are compiled
// into the same program, which prints what the binary interface consists of.
import { execFileSync, spawnSync } from 'node:child_process';
import { mkdirSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../..');
const kHeaders = [
  'webview/webview2_win.h', 'webview/webview2_events_win.h', 'devruntime/webview2/more_interfaces_win.h',
];

export const ownHeaders = () =>
  Object.fromEntries(kHeaders.map((name) => [name, readFileSync(join(kRoot, name), 'utf8')]));

const methodsIn = (body) => Array.from(body.matchAll(/STDMETHODCALLTYPE\s+(\w+)\s*\(/g), ([, name]) => name);

// Interface -> its methods in order, and its identifier if `pattern` finds one.
function interfacesOf(text, pattern) {
  const found = Array.from(text.matchAll(pattern), ({ groups: { name, iid, body } }) =>
    [name, { iid, methods: methodsIn(body) }]);
  return new Map(found);
}

const ownInterfaces = (text) =>
  interfacesOf(text, /^struct (?<name>\w+) : public IUnknown \{(?<body>[^}]*)^\};/gm);
const vendorInterfaces = (text) =>
  interfacesOf(text, /MIDL_INTERFACE\("(?<iid>[0-9a-f-]{36})"\)\s+(?<name>\w+) : public IUnknown\s*\{(?<body>[^}]*)\}/g);

const identifiersIn = (text) =>
  Array.from(text.matchAll(/kIidOf<(ICoreWebView2\w*)>/g), ([, name]) => name);
const enumeratorsIn = (text) =>
  Array.from(text.matchAll(/^ {2}(COREWEBVIEW2_\w+) = \d+,/gm), ([, name]) => name);
const enumsIn = (text) => Array.from(text.matchAll(/^enum (COREWEBVIEW2_\w+)/gm), ([, name]) => name);

// A program that prints one line for each method, enumerator and enumeration that our headers have.
function program(text) {
  const lines = [];
  for (const [name, { methods }] of ownInterfaces(text)) {
    for (const method of methods) lines.push(`METHOD(${name}, ${method})`);
  }
  for (const name of enumeratorsIn(text)) lines.push(`VALUE(${name})`);
  for (const name of enumsIn(text)) lines.push(`SIZE(${name})`);
  return `#include <cstdint>
#include <cstdio>
#include <cstring>
#include <typeinfo>
#include <windows.h>
#ifdef VENDOR
#include <WebView2.h>
#else
#include "devruntime/webview2/more_interfaces_win.h"
#endif

// A pointer to a virtual method holds 1 and the offset of its slot, in the compiler's binary
// interface for C++.
template <typename Method>
unsigned SlotOf(Method method) {
  std::uintptr_t parts[2] = {};
  static_assert(sizeof(method) == sizeof(parts));
  std::memcpy(parts, &method, sizeof(parts));
  return static_cast<unsigned>((parts[0] - 1) / sizeof(void*));
}

template <typename Method>
void PrintMethod(const char* text, Method method) {
  std::printf("%s %u %s\\n", text, SlotOf(method), typeid(Method).name());
}
#define METHOD(type, method) PrintMethod(#type "::" #method, &type::method);
#define VALUE(value) std::printf("%s %d\\n", #value, static_cast<int>(value));
#define SIZE(type) std::printf("%s %u\\n", #type, static_cast<unsigned>(sizeof(type)));
#define FUNCTION(function) \\
  std::printf("%s %s\\n", #function, typeid(decltype(&function)).name());

#ifndef VENDOR
void PrintIdentifier(const char* name, const GUID& id) {
  std::printf("%s %08lx-%04x-%04x-", name, id.Data1, id.Data2, id.Data3);
  for (int i = 0; i < 8; ++i) std::printf(i == 2 ? "-%02x" : "%02x", id.Data4[i]);
  std::printf("\\n");
}
#endif

int main() {
  ${lines.join('\n  ')}
  FUNCTION(CreateCoreWebView2EnvironmentWithOptions)
#ifndef VENDOR
  ${identifiersIn(text).map((name) => `PrintIdentifier("${name}", wendra::kIidOf<${name}>);`).join('\n  ')}
#endif
}
`;
}

// Compiles the program and gives the lines that it prints. `flags`: where the headers are.
function linesOf(source, flags, folder) {
  const exe = join(folder, 'facts.exe');
  const compiled = spawnSync('x86_64-w64-mingw32-g++-posix', [
    '-std=c++20', '-static', '-w', '-DWINVER=0x0A00', '-D_WIN32_WINNT=0x0A00', '-DNTDDI_VERSION=0x0A000007',
    ...flags, source, '-o', exe,
  ], { encoding: 'utf8' });
  if (compiled.status !== 0) throw new Error(`does not compile:\n${compiled.stderr.slice(0, 2000)}`);
  const output = execFileSync(join(kRoot, 'tools/launch'), ['--profile', join(folder, 'profile'), '--'], {
    encoding: 'utf8',
    env: { ...process.env, DISPLAY: '', WENDRA_DEV_NO_RUNTIME: '1', WENDRA_DEV_HOST: exe },
    stdio: ['ignore', 'pipe', 'inherit'],
  });
  return output.trim().split(/\r?\n/);
}

// What in `headers` (path -> text, as ownHeaders gives them) differs from the vendor's header in
// the folder `vendor`: a list of lines, empty when nothing differs.
export function differences(headers, vendor) {
  const text = Object.values(headers).join('\n');
  const own = ownInterfaces(text);
  const theirs = vendorInterfaces(readFileSync(join(vendor, 'build/native/include/WebView2.h'), 'utf8'));
  if (own.size === 0) throw new Error('no interface found in our headers');
  const found = [];
  for (const [name, { methods }] of own) {
    const wanted = theirs.get(name)?.methods;
    if (wanted?.join() !== methods.join()) found.push(`methods of ${name}: ${methods}; the vendor has ${wanted}`);
  }
  if (found.length > 0) return found;

  const folder = mkdtempSync(join(tmpdir(), 'wendra-vendor-'));
  try {
    for (const [name, content] of Object.entries(headers)) {
      mkdirSync(dirname(join(folder, name)), { recursive: true });
      writeFileSync(join(folder, name), content);
    }
    writeFileSync(join(folder, 'EventToken.h'), '#include <eventtoken.h>\n'); // Windows ignores the case
    const source = join(folder, 'facts.cpp');
    writeFileSync(source, program(text));
    const include = ['-I', folder, '-I', join(vendor, 'build/native/include')];
    const ours = linesOf(source, ['-I', folder], folder);
    const vendors = linesOf(source, ['-DVENDOR', ...include], folder);
    for (const name of identifiersIn(text)) vendors.push(`${name} ${theirs.get(name)?.iid}`);
    for (const line of ours) if (!vendors.includes(line)) found.push(`ours: ${line}`);
    for (const line of vendors) if (!ours.includes(line)) found.push(`vendor: ${line}`);
    return found;
  } finally {
    rmSync(folder, { recursive: true });
  }
}
