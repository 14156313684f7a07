// The numbers of the main window's private messages and of its timers, as in win/messages.h.
const WM_APP = 0x8000;

export const kExecDone = WM_APP + 1;
export const kMcp = WM_APP + 2;
export const kMcpClosed = WM_APP + 3;
export const kCreateWebView = WM_APP + 4;
export const kLogLine = WM_APP + 5;
export const kPickDirectory = WM_APP + 6;
export const kHttpPosted = WM_APP + 7;
export const kOpenInBrowser = WM_APP + 8;
export const kUpdateFailed = WM_APP + 9;

export const kConfigWatchTimer = 1;
export const kFirstNavigationTimer = 3;
export const kUpdateRetryTimer = 4;
