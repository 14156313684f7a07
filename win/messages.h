// The private messages and timers of the main window, all in one table.
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
//
// server: a ServerId.
//
// Any program of the user may post these numbers too. What has no payload here is handled as often
// as it comes and does no harm.
//
// An owned payload belongs to the window procedure as soon as the post has succeeded
// (win/owned_message.h); it frees the payload whatever else it does with it. What is still queued
// when the window goes ends with the process.
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

// Looks every two seconds whether config.json has changed.
inline constexpr UINT_PTR kConfigWatchTimer = 1;
inline constexpr UINT kConfigWatchPeriodMs = 2000;

// Drops replies that have waited too long for the outcome of a navigation; set while one waits.
inline constexpr UINT_PTR kReplyDeadlineTimer = 2;

}  // namespace wendra
