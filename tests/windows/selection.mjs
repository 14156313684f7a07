// Which end-to-end tests a Windows machine cannot answer, and why. Tests that ask the driver for
// something that Windows does not have need no row here: they end with NotHere.

// The file without ".test.mjs" -> the reason.
const kStandIn = "tests faults that only the stand-ins produce";
export const kFilesNotRun = {
  conformance: 'runs the official suite on Node for Linux',
  control_end: kStandIn,
  failing_actions: kStandIn,
  failing_http: kStandIn,
  failing_mcp: kStandIn,
  failing_start: kStandIn,
  launch: 'tests tools/launch, which runs on Debian only',
  libraries: 'starts copies of the program through tools/launch',
  log_output: 'tests tools/launch, which runs on Debian only',
  mcp_bounds: "reads the program's memory from Linux",
  mcp_ending: 'looks for processes that the program leaves behind in the list of Linux',
  mcp_http_leaks: "reads the program's memory from Linux",
  mcp_side_by_side: 'starts its remote server as a program of Linux',
  run: 'tests ./run, which runs on Debian only',
  unkind_control: kStandIn,
};

// The file and the name of a test -> the reason.
export const kTestsNotRun = [
  ['prompt', "the prompt has the user's accent colour and DPI", "writes the registry through Wine's file"],
  ['window', 'the smallest size depends on the DPI', "writes the registry through Wine's file"],
  ['config_held', 'a changed file that cannot be read', 'writes to a file that another program has locked'],
  ['bridge', 'each request is logged and answered once, in order',
    "the log comes through the debugger's buffer, which holds the characters of one code page only"],
];
