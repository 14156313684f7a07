// The action exec: runs one shell command and replies with its exit code and both output streams.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "bridge/action.h"
#include "bridge/replies.h"

#include <windows.h>

namespace wendra {

// The payload of kExecDoneMessage.
struct ExecResult {
  std::string reqId;
  // Also -1 if the shell was not started, or if the system does not give the exit code.
  std::int32_t exitCode = -1;
  std::string output;  // UTF-8
  std::string error;   // UTF-8; if the shell was not started, its command line
};

// Runs `command` with the shell in the folder `directory`; "" means the host's current folder. Both
// are UTF-8. Waits without a time limit until the shell has ended and no process holds its output
// streams any more. Any thread except the UI thread.
ExecResult RunCommand(const std::string& directory, const std::string& command);

// Starts a worker thread for each request. The worker posts kExecDoneMessage to the main window,
// which `window` gives. If no thread can be started, the action replies at once. Borrows `replies`.
Action ExecAction(Replies& replies, std::function<HWND()> window);

// Sends the reply to the request of `result`. UI thread only.
void ReplyExec(ExecResult result, Replies& replies);

}  // namespace wendra
