// The MCP servers that the stand-in plays, so that the views show servers in an ordinary browser:
// one with every kind of answer, and one that cannot be reached.

/** @typedef {import('../wendra-host-standin.js').StandInServer} StandInServer */
/** @typedef {import('../wendra-host.js').McpCallResult} McpCallResult */

const kDrawing = `<svg xmlns="http://www.w3.org/2000/svg" width="240" height="120">
  <rect width="240" height="120" fill="#20354d"/>
  <circle cx="120" cy="60" r="38" fill="#f6c453"/>
</svg>
`;

const kTools = [
  {
    name: 'echo',
    description: 'Gives back what it is given.',
    inputSchema: {
      type: 'object',
      properties: { message: { type: 'string', description: 'What to give back' } },
      required: ['message'],
    },
  },
  {
    name: 'forecast',
    description: 'Invents the weather of a place, as structured content.',
    inputSchema: {
      type: 'object',
      properties: {
        place: { type: 'string', description: 'Where' },
        days: { type: 'integer', description: 'How far ahead', default: 2, minimum: 1 },
        unit: { type: 'string', enum: ['celsius', 'fahrenheit'] },
        details: { type: 'boolean' },
        stations: { type: 'array', items: { type: 'string' }, description: 'Which to ask' },
      },
      required: ['place'],
    },
  },
  { name: 'draw', description: 'Gives a picture.', inputSchema: { type: 'object' } },
  { name: 'fail', description: 'A tool that fails.' },
];

/** @type {Record<string, (args: Record<string, unknown>) => McpCallResult>} */
const kAnswers = {
  echo: ({ message }) => ({ text: String(message) }),
  forecast: ({ place, days }) => ({
    text: `Sunny in ${place} for ${days ?? 1} days.`,
    structuredContent: { place: String(place), sky: 'sunny', days: Number(days ?? 1) },
  }),
  draw: () => ({
    text: 'A circle.',
    images: [{ mimeType: 'image/svg+xml', data: btoa(kDrawing) }],
  }),
  fail: () => ({ isError: true, text: 'It was asked to fail, and did.' }),
};

/** @type {Record<string, StandInServer>} */
export const kSampleServers = {
  Samples: {
    config: { command: 'npx', args: ['-y', 'sample-server'] },
    tools: kTools,
    call: (tool, args) => kAnswers[tool]?.(args) ?? { error: `Unknown tool: ${tool}` },
  },
  remote: { config: { url: 'https://mcp.example/mcp' }, error: 'request failed (offline?)' },
  resting: { config: { command: 'npx', args: ['-y', 'resting-server'], enabled: false } },
};
