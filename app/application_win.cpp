#include "app/application_win.h"

#include <span>
#include <utility>

#include "bridge/exec_win.h"
#include "bridge/file_actions.h"
#include "bridge/platform.h"
#include "bridge/project_dirs.h"
#include "config/server_address.h"
#include "mcp/tools/config_actions_win.h"
#include "mcp/tools/tool_actions.h"
#include "update/check_action.h"
#include "win/messages.h"

namespace wendra {
namespace {

// The thread's next message. False: there is none any more; `message` then is the quit message,
// unless somebody else has taken that.
bool NextMessage(MSG& message, bool windowIsThere) {
  if (windowIsThere) return GetMessageW(&message, nullptr, 0, 0) > 0;
  // The window has posted the quit message, which comes last. A modal loop in which the window went
  // may have swallowed it: it is not waited for.
  return PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) && message.message != WM_QUIT;
}

}  // namespace

Application::Application(HINSTANCE instance, std::string server, WindowLog& log, ConfigFile& config)
    : server_(std::move(server)),
      log_(log),
      config_(config),
      page_(server_,
            {.onMessage = [this](const PageMessage& message) { OnPageMessage(message); },
             .onLayoutNeeded = [this] { window_.LayOut(); },
             .isTrusted =
                 [this](std::string_view address) { return IsTrustedPage(address, server_); }},
            log),
      replies_(page_),
      folderPicker_(replies_, [this] { return window_.Handle(); }),
      mcp_(config, log),
      bridge_(MakeActions(), replies_, log),
      window_(instance, log, mcp_, page_, replies_, folderPicker_, [this] { CheckForUpdates(); }) {}

// The order is the order in which names are compared.
ActionTable Application::MakeActions() {
  const auto window = [this] { return window_.Handle(); };
  const auto servers = [this] { return std::span(mcp_.Registry().Servers()); };
  return {
      PickDirectoryAction(folderPicker_),
      PlatformAction(replies_),
      GetProjectDirsAction(replies_, ProjectDirsKeyPath()),
      SetProjectDirAction(replies_, ProjectDirsKeyPath()),
      ReadFileAction(replies_),
      ReadFileBase64Action(replies_),
      WriteFileAction(replies_),
      ExecAction(replies_, window),
      McpServersAction(replies_, servers, mcp_.Session()),
      McpReadConfigAction(replies_, config_),
      McpWriteConfigAction(replies_, config_, log_, [this] { mcp_.LoadMcpServers(); }),
      McpCallAction(replies_, servers, mcp_.Session()),
      CheckForUpdatesAction(replies_, [this] { CheckForUpdates(); }),
  };
}

int Application::Run() {
  if (!window_.Handle()) return 1;
  window_.Show();
  // From the loop, so that the window is there before the control takes its time.
  (void)PostMessageW(window_.Handle(), kCreateWebViewMessage, 0, 0);
  updater_.emplace(log_, config_.Path(), window_.Handle());

  const AcceleratorTable accelerators = MainWindow::MakeAccelerators();
  MSG message{};
  while (NextMessage(message, window_.Handle() != nullptr)) {
    // The message's own window: the keys act only while the main window itself has the focus.
    if (accelerators && TranslateAcceleratorW(message.hwnd, accelerators.Get(), &message)) continue;
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
  mcp_.WaitForFarewells();
  return message.message == WM_QUIT ? static_cast<int>(message.wParam) : 0;
}

void Application::CheckForUpdates() {
  if (updater_) updater_->CheckNow();
}

void Application::OnPageMessage(const PageMessage& message) {
  if (message.source && !IsTrustedPage(*message.source, server_)) {
    log_.Line("[JS->Native] ignoring message from " + UrlHost(*message.source));
    return;
  }
  bridge_.HandleMessage(message.origin, message.json);
}

}  // namespace wendra
