#include "bridge/pick_directory_win.h"

#include <utility>

#include "win/messages.h"
#include "win/unique.h"
#include "win/wide.h"

#include <shobjidl.h>

namespace wendra {

std::optional<std::string> ChooseFolder(const std::string& title, HWND owner) {
  ComOwner<IFileOpenDialog> dialog;
  void** const receiver = reinterpret_cast<void**>(dialog.Receive());
  if (FAILED(CoCreateInstance(CLSID_FileOpenDialog, nullptr, CLSCTX_INPROC_SERVER,
                              IID_IFileOpenDialog, receiver))) {
    return std::nullopt;
  }
  FILEOPENDIALOGOPTIONS options = 0;
  (void)dialog->GetOptions(&options);
  (void)dialog->SetOptions(options | FOS_PICKFOLDERS | FOS_FORCEFILESYSTEM | FOS_PATHMUSTEXIST);
  if (!title.empty()) (void)dialog->SetTitle(Widen(title).c_str());
  if (FAILED(dialog->Show(owner))) return std::nullopt;  // cancelled
  ComOwner<IShellItem> item;
  if (FAILED(dialog->GetResult(item.Receive())) || !item) return std::nullopt;
  TaskText path;
  if (FAILED(item->GetDisplayName(SIGDN_FILESYSPATH, path.Receive())) || !path) return std::nullopt;
  return Narrow(path.Get());
}

FolderPicker::FolderPicker(Replies& replies, std::function<HWND()> window, Chooser choose)
    : replies_(replies), window_(std::move(window)), choose_(std::move(choose)) {}

void FolderPicker::Ask(std::string reqId, std::string title) {
  Request request{std::move(reqId), std::move(title)};
  // While no dialog is shown, the first request in the queue does not count as waiting.
  const size_t room = kMaxWaiting + (isShowing_ ? 0 : 1);
  if (waiting_.size() >= room) return Answer(request, std::nullopt);
  waiting_.push_back(std::move(request));
  if (isShowing_ || waiting_.size() > 1) return;  // ShowDialogs is running or is already posted
  const HWND window = window_();
  if (window && PostMessageW(window, kPickDirectoryMessage, 0, 0)) return;
  Answer(waiting_.front(), std::nullopt);  // no window to show the dialog
  waiting_.clear();
}

void FolderPicker::ShowDialogs() {
  if (isShowing_) return;
  isShowing_ = true;
  for (HWND owner = window_(); owner && !waiting_.empty(); owner = window_()) {
    const Request request = std::move(waiting_.front());
    waiting_.pop_front();
    Answer(request, choose_(request.title, owner));
  }
  waiting_.clear();  // requests are left only if the window is gone, and the page is gone with it
  isShowing_ = false;
}

void FolderPicker::Answer(const Request& request, const std::optional<std::string>& folder) {
  replies_.Succeed(request.reqId, folder ? Json(*folder) : Json());
}

Action PickDirectoryAction(FolderPicker& picker) {
  return {"pickDirectory", [&picker](std::string reqId, const Json& args) {
            picker.Ask(std::move(reqId), std::string(StringArgument(args, 0)));
          }};
}

}  // namespace wendra
