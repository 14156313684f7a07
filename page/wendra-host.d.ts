// The actions that a page shown by Wendra can ask the desktop host for.
//
// Every function sends one request, and its promise settles once. It rejects with a HostError when
// the host answers with an error, with a NoHostError when there is no host. There are no time-outs:
// a request stays pending while the host works on it. It stays pending for ever if the host ends,
// or if the document does not belong to the server that Wendra shows (the host drops its messages).
//
// Arguments and results travel as JSON. Paths are Windows paths; "/" works like "\".

export type JsonValue =
  | null
  | boolean
  | number
  | string
  | JsonValue[]
  | { [member: string]: JsonValue };

/** The host has answered with an error. `message` is the host's error text, unchanged. */
export class HostError extends Error {
  constructor(action: string, message: string);
  readonly name: 'HostError';
  /** The action that was asked for. */
  readonly action: string;
}

/** The page is not in Wendra's window, or is a frame in another document. Nothing was sent. */
export class NoHostError extends Error {
  constructor(action: string, message: string);
  readonly name: 'NoHostError';
  /** The action that was asked for. */
  readonly action: string;
}

/** True in the top document of Wendra's window. The stand-in does not change it. */
export function isInsideHost(): boolean;

/** True when requests are answered by the stand-in of `wendra-host/standin`. */
export function isStandIn(): boolean;

/**
 * Sends any action. `args` is normally an array; the default is an empty array.
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
 * @param title the dialog's title; without it, or if it is empty, the system's own
 */
export function pickDirectory(title?: string): Promise<string | null>;

export interface Platform {
  /** "Windows". */
  name: string;
  /** Major, minor and build number of the system, "10.0.22631"; "0.0.0" if it is not known. */
  version: string;
  /** The user's account name; "" if it is not known. */
  user: string;
  /** The user's profile folder; "" if it is not known. */
  home: string;
}

/** Facts about the machine and the user. Never rejects with a HostError. */
export function platform(): Promise<Platform>;

/**
 * The folders that setProjectDir has stored, by project id, in no promised order; {} if there are
 * none or they cannot be read. Each Windows user has their own; they stay when the program ends.
 * Never rejects with a HostError.
 */
export function getProjectDirs(): Promise<Record<string, string>>;

/**
 * Stores a project's folder, or removes it when `path` is "". The folder need not exist.
 *
 * Ids that differ only in letter case are one id. Resolves with "ok" even if the system could not
 * store it. Rejects with "setProjectDir expects [projectId, path]" when `projectId` is empty.
 */
export function setProjectDir(projectId: string, path: string): Promise<'ok'>;

/**
 * A file's content as text: its bytes as UTF-8, with byte order mark and line ends unchanged. Bytes
 * that are not UTF-8 are replaced; use readFileBase64 for a file that may not be text.
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
 * Makes or replaces a file. The text is written as UTF-8, without an added byte order mark and with
 * line ends unchanged. Missing parent folders are made. The old content is removed first: a failure
 * while writing (a full disk) leaves a short file and is not reported.
 *
 * Rejects with "writeFile expects [path, content]" when `path` is empty, and with "could not create
 * file (" + Windows' error number + ")": 5 for a folder of that name or a lack of rights, 32 for a
 * file that another program holds.
 */
export function writeFile(path: string, content: string): Promise<'ok'>;

export interface ExecResult {
  /**
   * The exit code as a signed 32-bit number: a crash is negative. Also -1 if the command could not
   * be started, for example because `dir` does not exist; then `stderr` is the whole command line
   * and `stdout` is empty.
   */
  exit: number;
  /**
   * The whole output. The host reads output that is not UTF-8 as the ANSI code page. The shell's
   * own commands may print in another code page: begin with "chcp 65001 >nul &" for UTF-8.
   */
  stdout: string;
  /** As `stdout`. */
  stderr: string;
}

/**
 * Runs one command line in the system's shell (cmd.exe), without a window and with empty input.
 * Resolves when the command has ended and its output is closed. There is no time limit and no way
 * to stop the command; several may run at the same time. The page must quote text from the user in
 * `command`: the host passes `command` to the shell unchanged.
 *
 * A command that fails still resolves. Rejects with "exec expects [dir, command]" when `command` is
 * empty.
 *
 * @param dir the folder in which the command runs; "" is the host's own current folder
 */
export function exec(dir: string, command: string): Promise<ExecResult>;

export interface McpTool {
  /** "tool" if the server gives no name. */
  name: string;
  /** As the server sent it; absent if it sent none. */
  description?: string;
  /** A JSON schema, as the server sent it; absent if it sent none. */
  inputSchema?: JsonValue;
}

interface McpServerFacts {
  /** The name in config.json, in lower case; "_" for each character but a-z, 0-9, "_", "-". */
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

/** A server that could not list its tools. */
export interface McpServerFailed extends McpServerFacts {
  /** The server's text, the host's, or "MCP server failed". */
  error: string;
  tools?: undefined;
}

export type McpServerEntry = McpServerReady | McpServerFailed;

/**
 * The user's MCP servers with their tools, in the order in which they answered; [] if there are
 * none. The wait for a server ends after 45 s for the handshake and 30 s for the list. Never
 * rejects with a HostError: check each entry's `error`.
 */
export function mcpServers(): Promise<McpServerEntry[]>;

export interface McpConfig {
  /** config.json's full path. */
  path: string;
  /** Its whole text; "" if it cannot be read or is larger than 1 MiB. */
  content: string;
}

/** The user's configuration file; made first if it is missing. Never rejects with a HostError. */
export function mcpReadConfig(): Promise<McpConfig>;

/**
 * Replaces config.json by a text and restarts all MCP servers. The event that onMcpConfigChanged
 * reports follows within about two seconds.
 *
 * Rejects with "mcpWriteConfig expects [content]" when `content` is not a string, with "config.json
 * may not be larger than 1 MiB" when it has more than 1,048,576 bytes in UTF-8, with "Invalid JSON
 * — the file must contain a JSON object" when it holds none, and with "could not write config".
 */
export function mcpWriteConfig(content: string): Promise<{ ok: true }>;

export interface McpImage {
  /** Begins with "image/". */
  mimeType: string;
  /** Base64, as the server sent it. */
  data: string;
}

/** The server answered. The tool itself may have failed: see `isError`. */
export interface McpCallAnswer {
  error?: undefined;
  /** Present, and true, if the tool says that it failed; `text` then tells why. */
  isError?: true;
  /** As the server sent it; absent if it sent none. */
  structuredContent?: JsonValue;
  /** All text items, joined with "\n"; "" if there are none. */
  text: string;
  /** Absent if there are none. */
  images?: McpImage[];
}

/** The call got no answer. */
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
 * Calls a tool of one of the user's MCP servers. The wait ends after 45 s for the handshake (first
 * call only) and 120 s for the answer. Never rejects with a HostError, not even for an unknown
 * server: check `error` first.
 *
 * @param server the server's name in config.json, or the name that mcpServers gives
 * @param tool the tool's name
 * @param args the tool's arguments; the default is {}
 */
export function mcpCall(
  server: string,
  tool: string,
  args?: Record<string, unknown>,
): Promise<McpCallResult>;

/**
 * Starts the manual check for updates. The user sees the outcome in a dialog; the page does not get
 * it. Resolves at once with "ok". Never rejects with a HostError.
 */
export function checkForUpdates(): Promise<'ok'>;

/**
 * Calls `listener`, without arguments, each time that config.json has changed and the host has
 * restarted the MCP servers; call mcpServers or mcpReadConfig again. Returns a function that
 * removes the listener.
 */
export function onMcpConfigChanged(listener: () => void): () => void;

/** What every document gets from the host before the document's own scripts run. */
export interface HostFacts {
  readonly platform: 'windows';
  /** Height in CSS pixels of the area that the host covers at the top of the page: 0. */
  readonly topInset: number;
}

declare global {
  interface Window {
    /** Absent outside Wendra. */
    readonly __wendraHost?: HostFacts;
    /** The host calls `__resolve` with each reply; this module installs it. */
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
