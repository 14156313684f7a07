// All private messages and timers of the main window.
//
// | message                  | wParam | lParam                            | sender     | receiver |
// |--------------------------|--------|-----------------------------------|------------|----------|
// | kExecDoneMessage         | 0      | owned ExecResult                  | a worker   | bridge   |
// | kMcpMessage              | server | owned std::string, one JSON text  | a worker   | mcp      |
// | kMcpClosedMessage        | server | 0                                 | a reader   | mcp      |
// | kCreateWebViewMessage    | 0      | 0                                 | app        | webview  |
// | kLogLineMessage          | 0      | owned std::string, one UTF-8 line | any thread | log      |
// | kPickDirectoryMessage    | 0      | 0                                 | bridge     | bridge   |
// | kHttpPostedMessage       | 0      | 0                                 | a worker   | mcp      |
// | kOpenInBrowserMessage    | 0      | 0                                 | webview    | webview  |
// | kUpdateFailedMessage     | 0      | 0                                 | any thread | update   |
//
// "server" is a ServerId; "a reader" is the thread that reads the output of a local MCP server.
//
// Other programs of the user can post these messages too. A message without a payload may therefore
// arrive at any time and any number of times: it must do no harm.
//
// An owned payload belongs to the window procedure as soon as the post has succeeded
// (win/owned_message.h). The window procedure frees it in every case. A payload that is still in
// the queue when the window is destroyed lives until the process ends.
#pragma once

#include <windows.h>

namespace wendra {

inline constexpr UINT kExecDoneMessage = WM_APP + 1;
inline constexpr UINT kMcpMessage = WM_APP + 2;
inline constexpr UINT kMcpClosedMessage = WM_APP + 3;
inline constexpr UINT kCreateWebViewMessage = WM_APP + 4;
inline constexpr UINT kLogLineMessage = WM_APP + 5;
inline constexpr UINT kPickDirectoryMessage = WM_APP + 6;
inline constexpr UINT kHttpPostedMessage = WM_APP + 7;
inline constexpr UINT kOpenInBrowserMessage = WM_APP + 8;
inline constexpr UINT kUpdateFailedMessage = WM_APP + 9;

// A timer that runs all the time: the host checks whether config.json has changed.
inline constexpr UINT_PTR kConfigWatchTimer = 1;
inline constexpr UINT kConfigWatchPeriodMs = 2000;

// A timer that is set while replies wait for the outcome of a navigation: the host drops those that
// have waited too long.
inline constexpr UINT_PTR kReplyDeadlineTimer = 2;

// A timer that runs once, from the creation of the control: the longest that the first navigation
// waits for the script that every document gets.
inline constexpr UINT_PTR kFirstNavigationTimer = 3;
inline constexpr UINT kFirstNavigationMs = 3000;

// A timer that runs once after a failed check for updates.
inline constexpr UINT_PTR kUpdateRetryTimer = 4;

}  // namespace wendra
