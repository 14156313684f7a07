// The action pickDirectory: lets the user choose a folder in the system's dialog.
#pragma once

#include <deque>
#include <functional>
#include <optional>
#include <string>

#include "bridge/action.h"
#include "bridge/replies.h"

#include <windows.h>

namespace wendra {

// Shows the dialog over `owner` and gives the path of the chosen folder (UTF-8); nothing if the
// user cancels or the dialog cannot be shown. Returns when the user has decided; until then the
// dialog's message loop handles the thread's messages. `title` is UTF-8; "" keeps the system's
// title. UI thread only.
std::optional<std::string> ChooseFolder(const std::string& title, HWND owner);

// Shows one dialog at a time, in the order of the requests. UI thread only.
class FolderPicker {
 public:
  using Chooser = std::function<std::optional<std::string>(const std::string& title, HWND owner)>;

  static constexpr size_t kMaxWaiting = 16;  // requests that wait behind the dialog

  // Borrows `replies`. `window` gives the main window; null after its destruction.
  FolderPicker(Replies& replies, std::function<HWND()> window, Chooser choose = ChooseFolder);
  FolderPicker(const FolderPicker&) = delete;
  FolderPicker& operator=(const FolderPicker&) = delete;

  // Queues a request and posts kPickDirectoryMessage to the window, so that the dialog runs from
  // the message loop: inside the handler of the page's message it would hold up all later ones. If
  // kMaxWaiting requests wait already, or if there is no window, the reply is null, at once.
  void Ask(std::string reqId, std::string title);

  // The window calls this for kPickDirectoryMessage. Shows the dialogs of all queued requests, one
  // after the other, and replies to each with the path or with null. Once the window is gone, the
  // requests that still wait get no reply. Does nothing while a dialog is shown or if no request
  // waits, because any program can post the message.
  void ShowDialogs();

 private:
  struct Request {
    std::string reqId;
    std::string title;
  };

  void Answer(const Request& request, const std::optional<std::string>& folder);

  Replies& replies_;
  const std::function<HWND()> window_;
  const Chooser choose_;
  std::deque<Request> waiting_;
  bool isShowing_ = false;
};

// Borrows `picker`. UI thread only.
Action PickDirectoryAction(FolderPicker& picker);

}  // namespace wendra
