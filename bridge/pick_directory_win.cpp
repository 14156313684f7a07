#include "bridge/pick_directory_win.h"

#include <memory>
#include <optional>
#include <utility>

#include "win/messages.h"
#include "win/owned_message.h"
#include "win/unique.h"
#include "win/wide.h"

#include <shobjidl.h>

namespace wendra {
namespace {

// The chosen folder, or nothing.
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

}  // namespace

Action PickDirectoryAction(Replies& replies, std::function<HWND()> window) {
  return {"pickDirectory",
          [&replies, window = std::move(window)](const std::string& reqId, const Json& args) {
            auto request = std::make_unique<PickDirectoryRequest>(
                PickDirectoryRequest{reqId, std::string(StringArgument(args, 0))});
            if (!PostOwned(window(), kPickDirectoryMessage, 0, std::move(request))) {
              replies.Succeed(reqId, Json());  // no dialog to be had
            }
          }};
}

void AnswerPickDirectory(const PickDirectoryRequest& request, HWND owner, Replies& replies) {
  const auto folder = ChooseFolder(request.title, owner);
  replies.Succeed(request.reqId, folder ? Json(*folder) : Json());
}

}  // namespace wendra
