// What a page shown by Wendra can ask of the desktop host.
//
// Every function asks once and settles once. It rejects with a HostError when the host answers
// with an error, with a NoHostError when nobody is there to answer. There are no time-outs: a
// request stays pending while the host works on it, and for good if the document does not belong
// to the server that Wendra shows (the host drops its messages) or the host ends.
//
// Arguments and results travel as JSON. Paths are Windows paths; "/" serves as well as "\".

export type JsonValue =
  | null
  | boolean
  | number
  | string
  | JsonValue[]
  | { [member: string]: JsonValue };

/** The host's own error text, unchanged, is the `message`. */
export class HostError extends Error {
  constructor(action: string, message: string);
  readonly name: 'HostError';
  /** The action that was asked for. */
  readonly action: string;
}

/** The page is not in Wendra's window, or is framed by another document; nothing was sent. */
export class NoHostError extends Error {
  constructor(action: string, message: string);
  readonly name: 'NoHostError';
  /** The action that was asked for. */
  readonly action: string;
}

/** True in the top document of Wendra's window. The stand-in does not make it true. */
export function isInsideHost(): boolean;

/** True when requests are answered by the stand-in of `wendra-host/standin`. */
export function isStandIn(): boolean;

/**
 * Sends any action. `args` is normally an array, and is one without elements when left out.
 *
 * Rejects with "unknown native action '" + name + "'" for a name that the host does not know.
 * Names are case-sensitive.
 */
export function call(name: string, args?: unknown): Promise<unknown>;

/**
 * Lets the user choose an existing folder in the system's dialog, which is modal to the window.
 *
 * Resolves with the folder's full path, or with null when the user cancels or the dialog cannot be
 * shown. Never rejects with a HostError.
 *
 * @param title the dialog's title; the system's own when left out or empty
 */
export function pickDirectory(title?: string): Promise<string | null>;

export interface Platform {
  /** "Windows". */
  name: string;
  /** Major, minor and build number of the system, "10.0.22631"; "0.0.0" when it cannot be told. */
  version: string;
  /** The user's account name; "" when it cannot be told. */
  user: string;
  /** The user's profile folder; "" when it cannot be told. */
  home: string;
}

/** The machine and the user. Never rejects with a HostError. */
export function platform(): Promise<Platform>;

/**
 * The folders that were kept with setProjectDir, by project id, in no promised order; {} when there
 * are none or they cannot be read. They belong to the Windows user and outlive the program.
 * Never rejects with a HostError.
 */
export function getProjectDirs(): Promise<Record<string, string>>;

/**
 * Keeps a project's folder, or forgets it when `path` is "". The folder need not exist.
 *
 * Ids that differ only in letter case are one id. Resolves with "ok" even if the system could not
 * store it. Rejects with "setProjectDir expects [projectId, path]" when `projectId` is empty.
 */
export function setProjectDir(projectId: string, path: string): Promise<'ok'>;

/**
 * A file's content as text: its bytes as UTF-8, with a byte order mark and line ends as they are.
 * Bytes that are not UTF-8 do not survive; use readFileBase64 for what may not be text.
 *
 * At most 16,777,216 bytes. Rejects, checked in this order, with "readFile expects [path]" (empty
 * path), "no such file", "is a directory", "could not open file", "file too large".
 */
export function readFile(path: string): Promise<string>;

/**
 * A file's bytes in standard base64 with padding and without line breaks.
 *
 * At most 16,777,216 bytes. Rejects, checked in this order, with "readFileBase64 expects [path]"
 * (empty path), "no such file", "is a directory", "could not open file", "file too large".
 */
export function readFileBase64(path: string): Promise<string>;

/**
 * Makes or replaces a file; its text is written as UTF-8, without a byte order mark of its own and
 * with line ends as they are. Missing parent folders are made. The old content is gone first: a
 * failure in between (a full disk) leaves a short file and is not reported.
 *
 * Rejects with "writeFile expects [path, content]" when `path` is empty, and with "could not create
 * file (" + Windows' error number + ")": 5 for a folder of that name or a lack of rights, 32 for a
 * file that another program holds.
 */
export function writeFile(path: string, content: string): Promise<'ok'>;

export interface ExecResult {
  /**
   * The exit code as a signed 32-bit number: a crash is negative. Also -1 when the command could
   * not be started, for instance because `dir` does not exist; `stderr` is then the whole command
   * line and `stdout` is empty.
   */
  exit: number;
  /**
   * What the command wrote, whole. Output that is not UTF-8 is taken as the ANSI code page. The
   * shell's own commands may print in yet another one: begin with "chcp 65001 >nul &" for UTF-8.
   */
  stdout: string;
  /** As `stdout`. */
  stderr: string;
}

/**
 * Runs one command line in the system's shell (cmd.exe), without a window and with its input at its
 * end, and resolves once it has ended and closed its output. There is no time limit and no way to
 * stop it; several may run at the same time. Text from the user in `command` must be quoted by the
 * page: the shell takes it as it is.
 *
 * A command that fails still resolves. Rejects with "exec expects [dir, command]" when `command` is
 * empty.
 *
 * @param dir the folder to run in; "" is the host's own current folder
 */
export function exec(dir: string, command: string): Promise<ExecResult>;

export interface McpTool {
  /** "tool" when the server names none. */
  name: string;
  /** As the server sent it; absent when it sent none. */
  description?: string;
  /** As the server sent it, a JSON schema; absent when it sent none. */
  inputSchema?: JsonValue;
}

interface McpServerFacts {
  /** The name in config.json in lower case; each character but a-z, 0-9, "_", "-" became "_". */
  name: string;
  /** The program that was started; "" for a remote server. */
  command: string;
  /** The address of a remote server; absent for a local one. */
  url?: string;
}

/** A server that listed its tools. */
export interface McpServerReady extends McpServerFacts {
  tools: McpTool[];
  error?: undefined;
}

/** A server that could not list its tools: its own error text, or "MCP server failed". */
export interface McpServerFailed extends McpServerFacts {
  error: string;
  tools?: undefined;
}

export type McpServerEntry = McpServerReady | McpServerFailed;

/**
 * The user's MCP servers with their tools, those that answered first in front; [] when none is
 * configured. A server that does not answer is given up after 45 s for the handshake and 30 s for
 * the list. Never rejects with a HostError: look at each entry's `error`.
 */
export function mcpServers(): Promise<McpServerEntry[]>;

export interface McpConfig {
  /** config.json's full path. */
  path: string;
  /** Its whole text; "" when it cannot be read or is larger than 1 MiB. */
  content: string;
}

/** The user's configuration file, made first if it is missing. Never rejects with a HostError. */
export function mcpReadConfig(): Promise<McpConfig>;

/**
 * Replaces config.json by a text and starts all MCP servers anew. The event that
 * onMcpConfigChanged reports follows within about two seconds.
 *
 * Rejects with "mcpWriteConfig expects [content]" when `content` is no string, with "config.json
 * may not be larger than 1 MiB" when it has more than 1,048,576 bytes in UTF-8, with "Invalid JSON
 * — the file must contain a JSON object" when its text is none, and with "could not write config".
 */
export function mcpWriteConfig(content: string): Promise<{ ok: true }>;

export interface McpImage {
  /** Begins with "image/". */
  mimeType: string;
  /** Base64, as the server sent it. */
  data: string;
}

/** The server answered; the tool itself may have failed, which `isError` tells. */
export interface McpCallAnswer {
  error?: undefined;
  /** Present, and true, when the tool says that it failed; `text` then tells why. */
  isError?: true;
  /** As the server sent it; absent when it sent none. */
  structuredContent?: JsonValue;
  /** All text pieces, joined with "\n"; "" when there are none. */
  text: string;
  /** Absent when there are none. */
  images?: McpImage[];
}

/** There was no answer to the call. */
export interface McpCallFailure {
  /**
   * "unknown MCP server '…'", "MCP server '…' is not running", "MCP server '…' exited
   * unexpectedly", "MCP request timed out", "MCP server returned no response", "MCP call failed",
   * a text such as "connect failed" or "HTTP 404", or the server's own.
   */
  error: string;
  text?: undefined;
}

export type McpCallResult = McpCallAnswer | McpCallFailure;

/**
 * Calls a tool of one of the user's MCP servers. Given up after 45 s for the handshake (first call
 * only) and 120 s for the answer. Never rejects with a HostError, not even for an unknown server:
 * look at `error` first.
 *
 * @param server the server's name as config.json spells it, or as mcpServers gives it
 * @param tool the tool's name
 * @param args the tool's arguments; {} when left out
 */
export function mcpCall(
  server: string,
  tool: string,
  args?: Record<string, unknown>,
): Promise<McpCallResult>;

/**
 * Starts the manual check for updates, whose outcome the user sees in a dialog; the page does not
 * get it. Resolves at once with "ok". Never rejects with a HostError.
 */
export function checkForUpdates(): Promise<'ok'>;

/**
 * Calls `listener` each time that config.json has changed and the MCP servers were started anew,
 * with nothing: ask again with mcpServers or mcpReadConfig. Gives the function that ends it.
 */
export function onMcpConfigChanged(listener: () => void): () => void;

/** What the host tells every document before the document's own scripts run. */
export interface HostFacts {
  readonly platform: 'windows';
  /** Height in CSS pixels that the host covers at the top of the page: 0. */
  readonly topInset: number;
}

declare global {
  interface Window {
    /** Absent outside Wendra. */
    readonly __wendraHost?: HostFacts;
    /** The door for replies; this module installs it. */
    __wendra?: {
      __resolve?: (id: string, ok: 0 | 1, value: any) => unknown;
      __standIn?: { postMessage(request: unknown): void };
      [member: string]: unknown;
    };
  }
  interface DocumentEventMap {
    mcpConfigChanged: CustomEvent<null>;
  }
}
