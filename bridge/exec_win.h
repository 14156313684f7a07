// The action exec: one shell command, its exit code and both of its output streams.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "bridge/action.h"
#include "bridge/replies.h"

#include <windows.h>

namespace wendra {

// Payload of kExecDoneMessage.
struct ExecResult {
  std::string reqId;
  std::int32_t exitCode = -1;  // -1 too when there is none: not started, or it cannot be had
  std::string output;          // UTF-8
  std::string error;           // UTF-8; the command line when it could not be started
};

// Runs `command` with the shell in the folder `directory`, "" being the host's own, and waits for
// its end however long it takes. Both UTF-8. Any thread but the UI thread.
ExecResult RunCommand(const std::string& directory, const std::string& command);

// Starts a worker for each request, which posts the result to the main window that `window` gives.
// Borrows `replies`.
Action ExecAction(Replies& replies, std::function<HWND()> window);

void ReplyExec(ExecResult result, Replies& replies);

}  // namespace wendra
