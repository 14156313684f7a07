#include "webview/page_host_win.h"

#include <utility>

#include "base/address.h"
#include "webview/com_impl_win.h"
#include "webview/navigation.h"
#include "win/environment.h"
#include "win/host_name.h"
#include "win/wide.h"

#include <shellapi.h>

namespace wendra {
namespace {

using EnvCreated = WendraComImpl<ICoreWebView2CreateCoreWebView2EnvironmentCompletedHandler>;
using ControllerCreated = WendraComImpl<ICoreWebView2CreateCoreWebView2ControllerCompletedHandler>;
using ScriptAdded = WendraComImpl<ICoreWebView2AddScriptToExecuteOnDocumentCreatedCompletedHandler>;
using MessageReceived = WendraComImpl<ICoreWebView2WebMessageReceivedEventHandler>;
using NewWindow = WendraComImpl<ICoreWebView2NewWindowRequestedEventHandler>;
using NavStarting = WendraComImpl<ICoreWebView2NavigationStartingEventHandler>;
using NavCompleted = WendraComImpl<ICoreWebView2NavigationCompletedEventHandler>;

constexpr wchar_t kUserDataFolder[] = L"%LOCALAPPDATA%\\Wendra\\WebView2";
// Every document sees it before its own scripts run.
constexpr wchar_t kHostObjectScript[] =
    L"window.__wendraHost = { platform: 'windows', topInset: 0 };";

// The control reports addresses without their user part, and hosts in ASCII.
std::string AsTheControlNamesIt(std::string_view server) {
  const std::string_view hostAndPort = HostAndPort(SplitAddress(server).authority);
  return "http://" + AsciiHostName(HostOfAddress(std::string("http://").append(hostAndPort)));
}

}  // namespace

PageHost::PageHost(std::string server, Callbacks callbacks, Log& log)
    : server_(std::move(server)),
      namedServer_(AsTheControlNamesIt(server_)),
      callbacks_(std::move(callbacks)),
      log_(log) {}

PageHost::~PageHost() {
  Close();
  *self_ = nullptr;
}

void PageHost::Create(HWND window) {
  window_ = window;
  const auto envCreated =
      EnvCreated::Make([self = self_](HRESULT, ICoreWebView2Environment* environment) {
        if (*self) (*self)->OnEnvironmentCreated(environment);
      });
  // Not checked: without a runtime no handler is called, and the log panel still works.
  (void)CreateCoreWebView2EnvironmentWithOptions(
      nullptr, ExpandEnvironment(kUserDataFolder).c_str(), nullptr, envCreated.Get());
}

void PageHost::OnEnvironmentCreated(ICoreWebView2Environment* environment) {
  if (!environment || !window_) return;  // no runtime, or the window has gone meanwhile
  const auto controllerCreated =
      ControllerCreated::Make([self = self_](HRESULT, ICoreWebView2Controller* controller) {
        if (*self && (*self)->window_) return (*self)->SetUp(controller);
        if (controller) (void)controller->Close();
      });
  (void)environment->CreateCoreWebView2Controller(window_, controllerCreated.Get());
}

void PageHost::SetUp(ICoreWebView2Controller* controller) {
  if (!controller) return;
  controller->AddRef();
  controller_.Reset(controller);
  if (FAILED(controller_->get_CoreWebView2(webView_.Receive())) || !webView_) return;
  callbacks_.onLayoutNeeded();
  const auto scriptAdded = ScriptAdded::Make();
  (void)webView_->AddScriptToExecuteOnDocumentCreated(kHostObjectScript, scriptAdded.Get());
  AddHandlers();
  (void)webView_->Navigate(Widen(server_).c_str());
  callbacks_.onLayoutNeeded();
}

// They stay for the control's life, and Close ends it before we go; nobody needs their tokens.
void PageHost::AddHandlers() {
  EventRegistrationToken token;
  const auto messageReceived = MessageReceived::Make(
      [this](ICoreWebView2*, ICoreWebView2WebMessageReceivedEventArgs* args) { OnMessage(args); });
  (void)webView_->add_WebMessageReceived(messageReceived.Get(), &token);
  const auto newWindow =
      NewWindow::Make([this](ICoreWebView2*, ICoreWebView2NewWindowRequestedEventArgs* args) {
        OnNewWindow(args);
      });
  (void)webView_->add_NewWindowRequested(newWindow.Get(), &token);
  const auto navStarting =
      NavStarting::Make([this](ICoreWebView2*, ICoreWebView2NavigationStartingEventArgs* args) {
        OnNavigationStarting(args);
      });
  (void)webView_->add_NavigationStarting(navStarting.Get(), &token);
  const auto navCompleted =
      NavCompleted::Make([this](ICoreWebView2*, ICoreWebView2NavigationCompletedEventArgs* args) {
        OnNavigationCompleted(args);
      });
  (void)webView_->add_NavigationCompleted(navCompleted.Get(), &token);
}

void PageHost::Close() {
  window_ = nullptr;  // a control that is still being made is not taken any more
  webView_.Reset();
  // Out of reach first: closing may dispatch messages.
  if (const auto controller = std::move(controller_)) (void)controller->Close();
}

void PageHost::SetBounds(const RECT& bounds) {
  if (controller_) (void)controller_->put_Bounds(bounds);
}

void PageHost::Reload() {
  if (webView_) (void)webView_->Reload();
}

void PageHost::Run(std::string_view script) {
  if (!webView_) return;
  if (foreignNavigation_) {
    heldScripts_.emplace_back(script);
    return;
  }
  if (ShowsTrustedPage()) (void)webView_->ExecuteScript(Widen(script).c_str(), nullptr);
}

bool PageHost::ShowsTrustedPage() {
  TaskText source;
  if (FAILED(webView_->get_Source(source.Receive())) || !source) return true;
  return callbacks_.isTrusted(Narrow(source.Get()));
}

void PageHost::RunHeldScripts() {
  for (const std::string& script : std::exchange(heldScripts_, {})) Run(script);
}

void PageHost::OnMessage(ICoreWebView2WebMessageReceivedEventArgs* args) {
  std::optional<std::string> source;
  if (TaskText text; SUCCEEDED(args->get_Source(text.Receive())) && text) {
    source = Narrow(text.Get());
  }
  std::string json;
  if (TaskText text; SUCCEEDED(args->get_WebMessageAsJson(text.Receive())) && text) {
    json = Narrow(text.Get());
  }
  callbacks_.onMessage(std::move(source), json);
}

void PageHost::OnNewWindow(ICoreWebView2NewWindowRequestedEventArgs* args) {
  if (TaskText uri; SUCCEEDED(args->get_Uri(uri.Receive())) && uri) OpenInBrowser(uri.Get());
  (void)args->put_Handled(TRUE);  // no second window, whatever became of the first
}

void PageHost::OnNavigationStarting(ICoreWebView2NavigationStartingEventArgs* args) {
  TaskText uri;
  if (FAILED(args->get_Uri(uri.Receive())) || !uri) return;
  const std::string target = Narrow(uri.Get());
  if (MustStayOutside(args, target)) {
    OpenInBrowser(uri.Get());
    (void)args->put_Cancel(TRUE);
    return;
  }
  UINT64 id = 0;
  (void)args->get_NavigationId(&id);
  // A newer navigation takes the place of an older one; a redirect comes with the same id.
  foreignNavigation_ = callbacks_.isTrusted(target) ? std::nullopt : std::optional(id);
  if (!foreignNavigation_) RunHeldScripts();
}

// Redirects and the page's own scripts are never checked.
bool PageHost::MustStayOutside(ICoreWebView2NavigationStartingEventArgs* args,
                               const std::string& target) {
  BOOL isUserInitiated = FALSE;
  if (FAILED(args->get_IsUserInitiated(&isUserInitiated)) || !isUserInitiated) return false;
  return !StaysInside(target, server_) && !StaysInside(target, namedServer_);
}

void PageHost::OnNavigationCompleted(ICoreWebView2NavigationCompletedEventArgs* args) {
  UINT64 id = 0;
  if (FAILED(args->get_NavigationId(&id)) || foreignNavigation_ != id) return;
  foreignNavigation_.reset();
  RunHeldScripts();  // dropped there if the foreign page has come, run if it has not
}

void PageHost::OpenInBrowser(const wchar_t* address) {
  log_.Line("[External] opening in browser: " + Narrow(address));
  (void)ShellExecuteW(window_, L"open", address, nullptr, nullptr, SW_SHOWNORMAL);
}

}  // namespace wendra
