// The action pickDirectory: the system's dialog for choosing a folder.
#pragma once

#include <deque>
#include <functional>
#include <optional>
#include <string>

#include "bridge/action.h"
#include "bridge/replies.h"

#include <windows.h>

namespace wendra {

// Shows the dialog over `owner` and gives the chosen folder's path, or nothing when the user
// cancelled or there was no dialog to be had. Returns when the user has decided; other messages are
// handled meanwhile. `title` is UTF-8; "" leaves the system's own.
std::optional<std::string> ChooseFolder(const std::string& title, HWND owner);

// Shows one dialog at a time, in the order of the requests. UI thread only.
class FolderPicker {
 public:
  using Chooser = std::function<std::optional<std::string>(const std::string& title, HWND owner)>;

  static constexpr size_t kMaxWaiting = 16;  // behind the dialog that is shown

  // Borrows `replies`. `window` gives the main window, null when it is gone.
  FolderPicker(Replies& replies, std::function<HWND()> window, Chooser choose = ChooseFolder);
  FolderPicker(const FolderPicker&) = delete;
  FolderPicker& operator=(const FolderPicker&) = delete;

  // Queues a request and wakes the window with kPickDirectoryMessage, so that the dialog runs from
  // the message loop: inside the page's message it would keep every later one waiting. With
  // kMaxWaiting requests before it a further one is answered with null at once.
  void Ask(std::string reqId, std::string title);

  // What the window does with kPickDirectoryMessage: shows the dialogs of all queued requests and
  // answers each with the path or with null. Does nothing while one is shown, or without a request:
  // anybody may post that message.
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

// UI thread; `picker` is borrowed.
Action PickDirectoryAction(FolderPicker& picker);

}  // namespace wendra
