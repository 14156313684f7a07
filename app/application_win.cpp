#include "app/application_win.h"

#include <string>
#include <utility>

#include "bridge/exec_win.h"
#include "bridge/file_actions.h"
#include "bridge/platform.h"
#include "bridge/project_dirs.h"
#include "config/server_address.h"
#include "mcp/tools/config_actions.h"
#include "mcp/tools/tool_actions.h"
#include "update/check_action.h"
#include "win/messages.h"
#include "win/owned_message.h"

namespace wendra {
namespace {

// The page asks again for what it shows of the configuration; the event carries nothing.
constexpr char kConfigChangedScript[] =
    "document.dispatchEvent(new CustomEvent('mcpConfigChanged'));";

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
      starter_(log),
      timers_([this] { return window_.Handle(); }),
      mcp_(config, starter_, timers_, log),
      bridge_(MakeActions(), replies_, log),
      window_(instance, log, MakeWindowHandlers()) {}

// The order is the order in which names are compared.
ActionTable Application::MakeActions() {
  const auto window = [this] { return window_.Handle(); };
  const auto servers = [this] { return mcp_.Servers(); };
  return {
      PickDirectoryAction(folderPicker_),
      PlatformAction(replies_),
      GetProjectDirsAction(replies_, ProjectDirsKeyPath()),
      SetProjectDirAction(replies_, ProjectDirsKeyPath()),
      ReadFileAction(replies_),
      ReadFileBase64Action(replies_),
      WriteFileAction(replies_),
      ExecAction(replies_, window),
      McpServersAction(replies_, servers),
      McpReadConfigAction(replies_, config_),
      McpWriteConfigAction(replies_, config_, log_, [this] { mcp_.LoadMcpServers(); }),
      McpCallAction(replies_, servers),
      CheckForUpdatesAction(replies_, [this] { CheckForUpdates(); }),
  };
}

WindowHandlers Application::MakeWindowHandlers() {
  WindowHandlers handlers;
  handlers.messages = {
      {WM_CREATE, [this](WPARAM, LPARAM) { OnWindowCreated(); }},
      {WM_DESTROY, [this](WPARAM, LPARAM) { OnWindowDestroyed(); }},
      {WM_TIMER, [this](WPARAM timer, LPARAM) { OnTimer(timer); }},
      {kCreateWebViewMessage, [this](WPARAM, LPARAM) { CreateWebView(); }},
      {kLogLineMessage,
       [this](WPARAM, LPARAM lparam) { log_.Line(*TakeOwned<std::string>(lparam)); }},
      {kExecDoneMessage,
       [this](WPARAM, LPARAM lparam) {
         ReplyExec(std::move(*TakeOwned<ExecResult>(lparam)), replies_);
       }},
      {kMcpMessage,
       [this](WPARAM server, LPARAM lparam) {
         mcp_.OnText(ServerId{server}, *TakeOwned<std::string>(lparam));
       }},
      {kMcpClosedMessage, [this](WPARAM server, LPARAM) { mcp_.OnClosed(ServerId{server}); }},
      {kHttpPostedMessage, [this](WPARAM, LPARAM) { OnHttpPosted(); }},
      {kPickDirectoryMessage, [this](WPARAM, LPARAM) { folderPicker_.ShowDialogs(); }},
  };
  handlers.placePage = [this](const RECT& bounds) { page_.SetBounds(bounds); };
  handlers.reload = [this] { page_.Reload(); };
  handlers.checkForUpdates = [this] { CheckForUpdates(); };
  return handlers;
}

void Application::OnWindowCreated() {
  const HWND window = window_.Handle();
  log_.SetWindow(window);
  inbox_ = std::make_shared<WindowInbox>(window);
  mcp_.Start(inbox_);
  (void)SetTimer(window, kConfigWatchTimer, kConfigWatchPeriodMs, nullptr);
}

void Application::OnWindowDestroyed() {
  mcp_.Stop();
  log_.SetWindow(nullptr);
  page_.Close();  // while its parent still exists
}

void Application::OnTimer(std::uint64_t timer) {
  if (timer == kReplyDeadlineTimer) return page_.DropLateReplies();
  if (timer != kConfigWatchTimer) return mcp_.OnTimer(timer);
  if (mcp_.CheckMcpConfigChanged()) page_.Run(kConfigChangedScript);
}

void Application::OnHttpPosted() {
  if (!inbox_) return;
  for (const auto& [server, status] : inbox_->TakeStatuses()) mcp_.OnPosted(server, status);
}

// Any program may post the message that leads here; there is one control all the same.
void Application::CreateWebView() {
  if (!std::exchange(hasWebView_, true)) page_.Create(window_.Handle());
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
  mcp_.WaitForSessionEnds();
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
