// Uses every part of the package the way a page does. It is only compiled, never run. The marks
// "@ts-expect-error" stand where the author of a page must see an error; without an error there
// the compiler reports one.
import * as host from 'wendra-host';
import { installStandIn } from 'wendra-host/standin';

export async function useEverything(): Promise<void> {
  const folder: string | null = await host.pickDirectory();
  // @ts-expect-error: the folder may be null
  folder.length;
  // @ts-expect-error: a title is a string
  void host.pickDirectory(5);

  const { name, version, user, home } = await host.platform();
  const facts: string[] = [name, version, user, home];

  const dirs: Record<string, string> = await host.getProjectDirs();
  const set: 'ok' = await host.setProjectDir('id', '');
  // @ts-expect-error: the path may be empty, not missing
  void host.setProjectDir('id');

  const text: string = await host.readFile('C:\\a');
  const base64: string = await host.readFileBase64('C:\\a');
  const written: 'ok' = await host.writeFile('C:\\a', text);

  const { exit, stdout, stderr } = await host.exec('', 'ver');
  const code: number = exit;
  const output: string = stdout + stderr;
  // @ts-expect-error: there is no member of that name
  (await host.exec('', 'ver')).exitCode;

  for (const server of await host.mcpServers()) {
    // @ts-expect-error: a server that failed has no tools
    server.tools.length;
    if (server.error !== undefined) {
      const why: string = server.error;
      throw new Error(why);
    }
    for (const tool of server.tools) {
      const described: string | undefined = tool.description;
      const schema: host.JsonValue | undefined = tool.inputSchema;
      facts.push(tool.name, described ?? '', JSON.stringify(schema));
    }
  }

  const { path, content } = await host.mcpReadConfig();
  const { ok } = await host.mcpWriteConfig(path + content);
  const isTrue: true = ok;

  const result = await host.mcpCall('server', 'tool', { depth: 2 });
  // @ts-expect-error: a call without an answer has no text
  result.text.length;
  if (result.error === undefined) {
    const answer: string = result.text;
    const failed: boolean = result.isError ?? false;
    const pictures = (result.images ?? []).map((image) => `${image.mimeType};base64,${image.data}`);
    facts.push(answer, String(failed), ...pictures, JSON.stringify(result.structuredContent));
  } else {
    const why: string = result.error;
    facts.push(why);
  }
  // @ts-expect-error: a tool's arguments are an object
  void host.mcpCall('server', 'tool', 'text');

  const started: 'ok' = await host.checkForUpdates();
  const anything: unknown = await host.call('any', [1]);
  const end: () => void = host.onMcpConfigChanged(() => facts.push('changed'));
  end();
  document.addEventListener('mcpConfigChanged', (event) => facts.push(String(event.detail)));
  const inset: number | undefined = window.__wendraHost?.topInset;
  const flags: boolean[] = [host.isInsideHost(), host.isStandIn(), isTrue];
  console.log(facts, dirs, set, base64, written, code, output, started, anything, inset, flags);
}

export async function explain(): Promise<string> {
  try {
    return await host.readFile('C:\\a');
  } catch (error) {
    if (error instanceof host.HostError) return `${error.action}: ${error.message}`;
    if (error instanceof host.NoHostError) return `${error.action} was not sent`;
    throw error;
  }
}

const isInstalled: boolean = installStandIn({
  platform: { user: 'eve' },
  files: { 'C:\\a': 'text', 'C:\\b': new Uint8Array(2) },
  pickDirectory: async (title) => (title === '' ? null : 'C:\\'),
  exec: (dir, command) => ({ exit: 0, stdout: dir + command, stderr: '' }),
  mcpServers: {
    far: { config: { url: 'https://a' }, error: 'HTTP 401' },
    echo: { tools: [{ name: 'echo' }], call: async (tool, args) => ({ text: tool + args.a }) },
  },
});
// @ts-expect-error: an unknown option
installStandIn({ speed: isInstalled });
