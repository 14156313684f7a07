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

// The event carries no data: the page requests the configuration again if it shows it.
constexpr char kConfigChangedScript[] =
    "document.dispatchEvent(new CustomEvent('mcpConfigChanged'));";

// Gets the thread's next message. False: the loop ends. Then `message` is the quit message, or some
// earlier message if a modal loop has swallowed the quit message.
bool NextMessage(MSG& message, bool windowIsThere) {
  if (windowIsThere) return GetMessageW(&message, nullptr, 0, 0) > 0;
  // The window has posted the quit message, which comes last. If a modal loop has destroyed the
  // window and swallowed that message, waiting for it would never end.
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

// The bridge compares names in this order.
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
      {kOpenInBrowserMessage, [this](WPARAM, LPARAM) { page_.OpenAddresses(); }},
      {kUpdateFailedMessage,
       [this](WPARAM, LPARAM) {
         if (updater_) updater_->RetryLater();
       }},
      {WM_MOVE, [this](WPARAM, LPARAM) { page_.OnWindowMoved(); }},
      {WM_MOVING, [this](WPARAM, LPARAM) { page_.OnWindowMoved(); }},
      {WM_ACTIVATE,
       [this](WPARAM state, LPARAM) {
         if (LOWORD(state) == WA_INACTIVE) page_.OnWindowLeft();
       }},
      {WM_SIZE,
       [this](WPARAM kind, LPARAM) {
         if (kind == SIZE_MINIMIZED) page_.OnWindowLeft();
       }},
      {WM_SETFOCUS, [this](WPARAM, LPARAM) { page_.OnWindowFocused(); }},
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
  if (timer == kFirstNavigationTimer) return page_.NavigateToServer();
  if (timer == kUpdateRetryTimer) {
    if (updater_) updater_->RetryNow();
    return;
  }
  if (timer != kConfigWatchTimer) return mcp_.OnTimer(timer);
  if (mcp_.CheckMcpConfigChanged()) page_.Run(kConfigChangedScript);
}

void Application::OnHttpPosted() {
  if (!inbox_) return;
  for (const auto& [server, status] : inbox_->TakeStatuses()) mcp_.OnPosted(server, status);
}

// Any program may post kCreateWebViewMessage: a second one must not make a second control.
void Application::CreateWebView() {
  if (!std::exchange(hasWebView_, true)) page_.Create(window_.Handle());
}

int Application::Run() {
  if (!window_.Handle()) return 1;
  window_.Show();
  // Posted, so that the window is visible before the slow creation of the control begins.
  (void)PostMessageW(window_.Handle(), kCreateWebViewMessage, 0, 0);
  updater_.emplace(log_, config_.Path(), window_.Handle());

  const AcceleratorTable accelerators = MainWindow::MakeAccelerators();
  MSG message{};
  while (NextMessage(message, window_.Handle() != nullptr)) {
    // Deliberate: the message's own window. The keys act only while the main window has the focus.
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
