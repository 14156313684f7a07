#include "webview/page_host_win.h"

#include <utility>

#include "webview/com_impl_win.h"
#include "webview/navigation.h"
#include "win/environment.h"
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

constexpr wchar_t kUserDataFolder[] = L"%LOCALAPPDATA%\\Wendra\\WebView2";
// Every document sees it before its own scripts run.
constexpr wchar_t kHostObjectScript[] =
    L"window.__wendraHost = { platform: 'windows', topInset: 0 };";

}  // namespace

PageHost::PageHost(std::string server, Callbacks callbacks, Log& log)
    : server_(std::move(server)), callbacks_(std::move(callbacks)), log_(log) {}

PageHost::~PageHost() { Close(); }

void PageHost::Create(HWND window) {
  window_ = window;
  const auto envCreated = EnvCreated::Make([this](HRESULT, ICoreWebView2Environment* environment) {
    if (!environment) return;
    const auto controllerCreated = ControllerCreated::Make(
        [this](HRESULT, ICoreWebView2Controller* controller) { SetUp(controller); });
    (void)environment->CreateCoreWebView2Controller(window_, controllerCreated.Get());
  });
  // Not checked: without a runtime no handler is called, and the log panel still works.
  (void)CreateCoreWebView2EnvironmentWithOptions(
      nullptr, ExpandEnvironment(kUserDataFolder).c_str(), nullptr, envCreated.Get());
}

void PageHost::SetUp(ICoreWebView2Controller* controller) {
  if (!controller || !window_) return;
  controller->AddRef();
  controller_.Reset(controller);
  if (FAILED(controller_->get_CoreWebView2(webView_.Receive())) || !webView_) return;
  callbacks_.onLayoutNeeded();

  const auto scriptAdded = ScriptAdded::Make();
  (void)webView_->AddScriptToExecuteOnDocumentCreated(kHostObjectScript, scriptAdded.Get());

  // The handlers stay for the control's life; nobody needs their tokens.
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

  (void)webView_->Navigate(Widen(server_).c_str());
  callbacks_.onLayoutNeeded();
}

void PageHost::Close() {
  window_ = nullptr;  // a controller that is still being made is not taken any more
  webView_.Reset();
  if (controller_) (void)controller_->Close();
  controller_.Reset();
}

void PageHost::SetBounds(const RECT& bounds) {
  if (controller_) (void)controller_->put_Bounds(bounds);
}

void PageHost::Reload() {
  if (webView_) (void)webView_->Reload();
}

void PageHost::Run(std::string_view script) {
  if (webView_) (void)webView_->ExecuteScript(Widen(script).c_str(), nullptr);
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
  // Redirects and the page's own scripts are never checked.
  BOOL isUserInitiated = FALSE;
  if (FAILED(args->get_IsUserInitiated(&isUserInitiated)) || !isUserInitiated) return;
  TaskText uri;
  if (FAILED(args->get_Uri(uri.Receive())) || !uri) return;
  if (StaysInside(Narrow(uri.Get()), server_)) return;
  OpenInBrowser(uri.Get());
  (void)args->put_Cancel(TRUE);
}

void PageHost::OpenInBrowser(const wchar_t* address) {
  log_.Line("[External] opening in browser: " + Narrow(address));
  ShellExecuteW(window_, L"open", address, nullptr, nullptr, SW_SHOWNORMAL);
}

}  // namespace wendra
