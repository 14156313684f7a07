// Requests and their replies. The stand-in host and the real host must give the same replies.
// `home` is the home folder of a new user, without files.
const kOk = (value) => ({ ok: 1, value });
const kFails = (value) => ({ ok: 0, value });

const kDefaultConfig = '{\r\n  "mcpServers": {}\r\n}\r\n';
const kInvalid = 'Invalid JSON — the file must contain a JSON object';
const kTooLarge = 'config.json may not be larger than 1 MiB';
const kLargestConfig = `{"a":"ü"}${' '.repeat(1_048_576 - 10)}`; // 1 MiB as UTF-8
const configPath = (home) => `${home}\\.config\\wendra\\config.json`;

export const conversations = (home) => [
  {
    why: 'a file is read as it was written',
    steps: [
      ['writeFile', [`${home}\\a.txt`, 'one\r\ntwo ü 日本 \u{1f600}'], kOk('ok')],
      ['readFile', [`${home}\\a.txt`], kOk('one\r\ntwo ü 日本 \u{1f600}')],
      ['readFile', [`${home}/A.TXT`], kOk('one\r\ntwo ü 日本 \u{1f600}')],
      ['readFile', [`${home}\\nothing\\..\\a.txt`], kOk('one\r\ntwo ü 日本 \u{1f600}')],
      ['writeFile', [`${home}\\a.txt`, 'short'], kOk('ok')],
      ['readFile', [`${home}\\a.txt`], kOk('short')],
    ],
  },
  {
    why: 'a byte order mark is kept',
    steps: [
      ['writeFile', [`${home}\\bom.txt`, '\ufeffx'], kOk('ok')],
      ['readFile', [`${home}\\bom.txt`], kOk('\ufeffx')],
      ['readFileBase64', [`${home}\\bom.txt`], kOk('77u/eA==')],
    ],
  },
  {
    why: 'base64 is padded, and empty for an empty file',
    steps: [
      ['writeFile', [`${home}\\b`, 'abc'], kOk('ok')],
      ['readFileBase64', [`${home}\\b`], kOk('YWJj')],
      ['writeFile', [`${home}\\b`, 'ab'], kOk('ok')],
      ['readFileBase64', [`${home}\\b`], kOk('YWI=')],
      ['writeFile', [`${home}\\b`], kOk('ok')],
      ['readFileBase64', [`${home}\\b`], kOk('')],
      ['readFile', [`${home}\\b`], kOk('')],
    ],
  },
  {
    why: 'reading a file fails with the reason',
    steps: [
      ['readFile', [], kFails('readFile expects [path]')],
      ['readFile', [''], kFails('readFile expects [path]')],
      ['readFile', [5], kFails('readFile expects [path]')],
      ['readFile', 'C:\\a', kFails('readFile expects [path]')],
      ['readFile', [`${home}\\none`], kFails('no such file')],
      ['readFile', [`${home}\\none\\none`], kFails('no such file')],
      ['readFile', [home], kFails('is a directory')],
      ['readFile', ['C:\\'], kFails('is a directory')],
      ['readFileBase64', null, kFails('readFileBase64 expects [path]')],
      ['readFileBase64', [`${home}\\none`], kFails('no such file')],
      ['readFileBase64', [home], kFails('is a directory')],
    ],
  },
  {
    why: 'a file of 16 MiB can be read, a larger file cannot',
    steps: [
      ['writeFile', [`${home}\\big`, 'x'.repeat(16_777_216)], kOk('ok')],
      ['readFile', [`${home}\\big`], kOk('x'.repeat(16_777_216))],
      ['writeFile', [`${home}\\big`, 'x'.repeat(16_777_217)], kOk('ok')],
      ['readFile', [`${home}\\big`], kFails('file too large')],
      ['readFileBase64', [`${home}\\big`], kFails('file too large')],
    ],
  },
  {
    why: 'writing makes missing folders, and fails with the reason',
    steps: [
      ['writeFile', [`${home}\\new\\deep\\f.txt`, 'x'], kOk('ok')],
      ['readFile', [`${home}\\new\\deep\\f.txt`], kOk('x')],
      ['readFile', [`${home}\\new`], kFails('is a directory')],
      ['writeFile', [`${home}\\new`, 'x'], kFails('could not create file (5)')],
      ['writeFile', [`${home}\\new\\deep\\f.txt\\g`, 'x'], kFails('could not create file (3)')],
      ['writeFile', [`${home}\\a?b`, 'x'], kFails('could not create file (123)')],
      ['writeFile', [`${home}\\a\0b`, 'x'], kFails('could not create file (123)')],
      ['writeFile', ['', 'x'], kFails('writeFile expects [path, content]')],
      ['writeFile', [], kFails('writeFile expects [path, content]')],
    ],
  },
  {
    why: 'project folders are set, replaced and cleared; the case of an id does not matter',
    steps: [
      ['getProjectDirs', [], kOk({})],
      ['setProjectDir', ['p1', 'C:\\one'], kOk('ok')],
      ['setProjectDir', ['Über', 'C:\\ü'], kOk('ok')],
      ['getProjectDirs', [], kOk({ p1: 'C:\\one', Über: 'C:\\ü' })],
      ['setProjectDir', ['P1', 'C:\\two'], kOk('ok')],
      ['getProjectDirs', [], kOk({ p1: 'C:\\two', Über: 'C:\\ü' })],
      ['setProjectDir', ['p1', ''], kOk('ok')],
      ['setProjectDir', ['Über'], kOk('ok')],
      ['setProjectDir', ['never set', ''], kOk('ok')],
      ['getProjectDirs', [], kOk({})],
      ['setProjectDir', ['', 'C:\\x'], kFails('setProjectDir expects [projectId, path]')],
    ],
  },
  {
    why: 'an empty or missing command is refused',
    steps: [
      ['exec', ['', ''], kFails('exec expects [dir, command]')],
      ['exec', ['C:\\'], kFails('exec expects [dir, command]')],
    ],
  },
  {
    why: 'the configuration is read and replaced as one text of at most 1 MiB',
    steps: [
      ['mcpReadConfig', [], kOk({ path: configPath(home), content: kDefaultConfig })],
      ['mcpWriteConfig', [], kFails('mcpWriteConfig expects [content]')],
      ['mcpWriteConfig', [{}], kFails('mcpWriteConfig expects [content]')],
      ['mcpWriteConfig', [''], kFails(kInvalid)],
      ['mcpWriteConfig', ['[]'], kFails(kInvalid)],
      ['mcpWriteConfig', ['null'], kFails(kInvalid)],
      ['mcpWriteConfig', ['{'], kFails(kInvalid)],
      ['mcpWriteConfig', [`${kLargestConfig} `], kFails(kTooLarge)],
      ['mcpWriteConfig', ['x'.repeat(1_048_577)], kFails(kTooLarge)],
      ['mcpReadConfig', [], kOk({ path: configPath(home), content: kDefaultConfig })],
      ['mcpWriteConfig', ['{"a":"ü"} \n'], kOk({ ok: true })],
      ['mcpReadConfig', [], kOk({ path: configPath(home), content: '{"a":"ü"} \n' })],
      ['mcpWriteConfig', [kLargestConfig], kOk({ ok: true })],
      ['mcpReadConfig', [], kOk({ path: configPath(home), content: kLargestConfig })],
      ['mcpWriteConfig', [kDefaultConfig], kOk({ ok: true })],
    ],
  },
  {
    why: 'without MCP servers the list is empty, and every name is unknown',
    steps: [
      ['mcpServers', [], kOk([])],
      ['mcpWriteConfig', ['{"mcpServers":{"x":{"command":"x","enabled":false}}}'], kOk({ ok: true })],
      ['mcpServers', [], kOk([])],
      ['mcpCall', ['x', 'tool', {}], kOk({ error: "unknown MCP server 'x'" })],
      ['mcpCall', ["it's"], kOk({ error: "unknown MCP server 'it's'" })],
      ['mcpCall', [5], kOk({ error: "unknown MCP server ''" })],
      ['mcpWriteConfig', [kLargestConfig], kOk({ ok: true })],
      ['mcpReadConfig', [], kOk({ path: configPath(home), content: kLargestConfig })],
      ['mcpWriteConfig', [kDefaultConfig], kOk({ ok: true })],
    ],
  },
  {
    why: 'an unknown action gets an error',
    steps: [
      ['nope', [], kFails("unknown native action 'nope'")],
      ['Platform', [], kFails("unknown native action 'Platform'")],
      ['toString', [], kFails("unknown native action 'toString'")],
      ['', [], kFails("unknown native action ''")],
    ],
  },
];
