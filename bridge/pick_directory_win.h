// The action pickDirectory: the system's dialog for choosing a folder.
#pragma once

#include <functional>
#include <string>

#include "bridge/action.h"
#include "bridge/replies.h"

#include <windows.h>

namespace wendra {

// Payload of kPickDirectoryMessage.
struct PickDirectoryRequest {
  std::string reqId;
  std::string title;  // UTF-8; "" leaves the system's own
};

// Posts a request to the window, so that the dialog runs from the message loop: inside the page's
// message it would keep every later one waiting. `window` gives the main window; borrows `replies`.
Action PickDirectoryAction(Replies& replies, std::function<HWND()> window);

// Shows the dialog over `owner` and answers with the chosen folder's path, or with null when the
// user cancelled or there was no dialog to be had. UI thread; returns when the user has decided,
// other messages being handled meanwhile.
void AnswerPickDirectory(const PickDirectoryRequest& request, HWND owner, Replies& replies);

}  // namespace wendra
