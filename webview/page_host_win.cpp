#include "webview/page_host_win.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "base/address.h"
#include "webview/com_impl_win.h"
#include "webview/navigation.h"
#include "win/environment.h"
#include "win/host_name.h"
#include "win/messages.h"
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
using ContentLoading = WendraComImpl<ICoreWebView2ContentLoadingEventHandler>;
using NavCompleted = WendraComImpl<ICoreWebView2NavigationCompletedEventHandler>;
using FocusChanged = WendraComImpl<ICoreWebView2FocusChangedEventHandler>;
using ProcessFailed = WendraComImpl<ICoreWebView2ProcessFailedEventHandler>;

constexpr wchar_t kUserDataFolder[] = L"%LOCALAPPDATA%\\Wendra\\WebView2";
// Runs in every document before the document's own scripts.
constexpr wchar_t kHostObjectScript[] =
    L"window.__wendraHost = { platform: 'windows', topInset: 0 };";

// The control reports addresses without the user part, and with the host in ASCII.
std::string AsTheControlNamesIt(std::string_view server) {
  const std::string_view hostAndPort = HostAndPort(SplitAddress(server).authority);
  return "http://" + AsciiHostName(HostOfAddress(std::string("http://").append(hostAndPort)));
}

NavigationStart Describe(ICoreWebView2NavigationStartingEventArgs* args, const wchar_t* target) {
  BOOL isUserInitiated = FALSE;
  BOOL isRedirected = FALSE;
  (void)args->get_IsUserInitiated(&isUserInitiated);
  (void)args->get_IsRedirected(&isRedirected);
  return {Narrow(target), isUserInitiated != FALSE, isRedirected != FALSE};
}

// The process as the platform names it, in words.
std::string NameOf(COREWEBVIEW2_PROCESS_FAILED_KIND kind) {
  constexpr const char* kNames[] = {"browser exited",
                                    "renderer exited",
                                    "renderer unresponsive",
                                    "frame renderer exited",
                                    "utility exited",
                                    "sandbox helper exited",
                                    "GPU exited",
                                    "plugin host exited",
                                    "plugin broker exited",
                                    "unknown process exited"};
  const auto index = static_cast<size_t>(kind);
  return index < std::size(kNames) ? kNames[index] : std::to_string(index);
}

}  // namespace

PageHost::PageHost(std::string server, Callbacks callbacks, Log& log)
    : server_(std::move(server)),
      callbacks_(std::move(callbacks)),
      log_(log),
      rule_(server_, AsTheControlNamesIt(server_)) {}

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
  // Ignored: without a runtime the window stays empty, and the log panel still works.
  (void)CreateCoreWebView2EnvironmentWithOptions(
      nullptr, ExpandEnvironment(kUserDataFolder).c_str(), nullptr, envCreated.Get());
}

void PageHost::OnEnvironmentCreated(ICoreWebView2Environment* environment) {
  if (!environment || !window_) return;  // no runtime, or Close was called meanwhile
  const auto controllerCreated =
      ControllerCreated::Make([self = self_](HRESULT, ICoreWebView2Controller* controller) {
        if (*self && (*self)->window_) return (*self)->SetUp(controller);
        if (controller) (void)controller->Close();
      });
  (void)environment->CreateCoreWebView2Controller(window_, controllerCreated.Get());
}

void PageHost::SetUp(ICoreWebView2Controller* controller) {
  if (!controller || controller == controller_.Get()) return;  // completions may come twice
  if (controller_) (void)controller_->Close();
  controller->AddRef();
  controller_.Reset(controller);
  hasNavigated_ = false;
  if (FAILED(controller_->get_CoreWebView2(webView_.Receive())) || !webView_) return;
  callbacks_.onLayoutNeeded();
  AddHostObject();
  AddHandlers();
  callbacks_.onLayoutNeeded();
}

// The script takes effect in documents that begin after the control has called the handler, so the
// first document waits for that. On some machines the call never comes: the timer is for those.
void PageHost::AddHostObject() {
  const bool hasTimer = SetTimer(window_, kFirstNavigationTimer, kFirstNavigationMs, nullptr) != 0;
  const auto scriptAdded = ScriptAdded::Make([self = self_](HRESULT, LPCWSTR) {
    if (*self) (*self)->NavigateToServer();
  });
  const HRESULT adding =
      webView_->AddScriptToExecuteOnDocumentCreated(kHostObjectScript, scriptAdded.Get());
  if (!hasTimer || FAILED(adding)) NavigateToServer();
}

void PageHost::NavigateToServer() {
  KillTimer(window_, kFirstNavigationTimer);
  if (!webView_ || std::exchange(hasNavigated_, true)) return;
  rule_.ExpectOwnNavigation(server_);
  (void)webView_->Navigate(Widen(server_).c_str());
}

// The handlers stay until the control is closed, and Close does that before this object dies. So
// the tokens, which would remove them, are not kept.
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
  const auto contentLoading =
      ContentLoading::Make([this](ICoreWebView2*, ICoreWebView2ContentLoadingEventArgs* args) {
        OnContentLoading(args);
      });
  (void)webView_->add_ContentLoading(contentLoading.Get(), &token);
  const auto navCompleted =
      NavCompleted::Make([this](ICoreWebView2*, ICoreWebView2NavigationCompletedEventArgs* args) {
        OnNavigationCompleted(args);
      });
  (void)webView_->add_NavigationCompleted(navCompleted.Get(), &token);
  const auto processFailed = ProcessFailed::Make(
      [this](ICoreWebView2*, ICoreWebView2ProcessFailedEventArgs* args) { OnProcessFailed(args); });
  (void)webView_->add_ProcessFailed(processFailed.Get(), &token);
  AddFocusHandlers();
}

void PageHost::AddFocusHandlers() {
  EventRegistrationToken token;
  const auto gotFocus = FocusChanged::Make([this](ICoreWebView2Controller*, IUnknown*) {
    hasFocus_ = true;
    mustGetFocus_ = false;
  });
  (void)controller_->add_GotFocus(gotFocus.Get(), &token);
  const auto lostFocus =
      FocusChanged::Make([this](ICoreWebView2Controller*, IUnknown*) { hasFocus_ = false; });
  (void)controller_->add_LostFocus(lostFocus.Get(), &token);
}

void PageHost::Close() {
  window_ = nullptr;  // a control that is still being made is closed in its handler
  gate_.Clear();
  webView_.Reset();
  // Moved out first: closing may dispatch messages, whose handlers must not find the control.
  if (const auto controller = std::move(controller_)) (void)controller->Close();
}

void PageHost::SetBounds(const RECT& bounds) {
  if (controller_) (void)controller_->put_Bounds(bounds);
}

void PageHost::Reload() {
  if (!webView_) return;
  rule_.ExpectOwnNavigation(ShownAddress());
  (void)webView_->Reload();
}

void PageHost::OnWindowMoved() {
  if (controller_) (void)controller_->NotifyParentWindowPositionChanged();
}

void PageHost::OnWindowFocused() {
  if (!mustGetFocus_ || !controller_) return;
  (void)controller_->MoveFocus(COREWEBVIEW2_MOVE_FOCUS_REASON_PROGRAMMATIC);
}

void PageHost::RunFor(std::string_view origin, std::string script) {
  Offer({std::string(origin), std::move(script)});
}

void PageHost::Run(std::string_view script) { Offer({std::nullopt, std::string(script)}); }

void PageHost::Offer(PageScript script) {
  if (!webView_) return;
  if (const auto text = gate_.Offer(std::move(script), Shown(), GetTickCount64())) Execute(*text);
  SetDeadlineTimer();
}

// "" if the control does not tell it; no page has this address.
std::string PageHost::ShownAddress() const {
  TaskText source;
  if (!webView_ || FAILED(webView_->get_Source(source.Receive())) || !source) return {};
  return Narrow(source.Get());
}

ShownDocument PageHost::Shown() const {
  if (showsErrorPage_) return {};
  const std::string address = ShownAddress();
  return {OriginOf(address), callbacks_.isTrusted(address)};
}

void PageHost::Execute(const std::string& script) {
  (void)webView_->ExecuteScript(Widen(script).c_str(), nullptr);
}

// Frees each script before it widens the next: together they may be large.
void PageHost::ExecuteAll(std::vector<std::string> scripts) {
  for (std::string& script : scripts) {
    if (webView_) Execute(std::exchange(script, {}));
  }
}

void PageHost::DropLateReplies() {
  gate_.DropLate(GetTickCount64());
  KillTimer(window_, kReplyDeadlineTimer);
  hasDeadlineTimer_ = false;
  SetDeadlineTimer();
}

// The script for which the timer was set may have run already. Then the timer fires too early, and
// DropLateReplies sets it again.
void PageHost::SetDeadlineTimer() {
  const auto deadlineMs = gate_.DeadlineMs();
  if (!deadlineMs || hasDeadlineTimer_) return;
  const ULONGLONG nowMs = GetTickCount64();
  const auto leftMs = static_cast<UINT>(*deadlineMs - std::min<ULONGLONG>(nowMs, *deadlineMs));
  hasDeadlineTimer_ = SetTimer(window_, kReplyDeadlineTimer, leftMs, nullptr) != 0;
}

void PageHost::OnMessage(ICoreWebView2WebMessageReceivedEventArgs* args) {
  PageMessage message;
  if (TaskText text; SUCCEEDED(args->get_Source(text.Receive())) && text) {
    message.source = Narrow(text.Get());
  }
  if (TaskText text; SUCCEEDED(args->get_WebMessageAsJson(text.Receive())) && text) {
    message.json = Narrow(text.Get());
  }
  message.origin = OriginOf(message.source ? *message.source : ShownAddress());
  callbacks_.onMessage(message);
}

void PageHost::OnNewWindow(ICoreWebView2NewWindowRequestedEventArgs* args) {
  if (TaskText uri; SUCCEEDED(args->get_Uri(uri.Receive())) && uri) OpenInBrowser(uri.Get());
  (void)args->put_Handled(TRUE);  // no second window, even without an address
}

void PageHost::OnNavigationStarting(ICoreWebView2NavigationStartingEventArgs* args) {
  TaskText uri;
  (void)args->get_Uri(uri.Receive());  // without an address the navigation goes on
  if (uri && rule_.MustStayOutside(Describe(args, uri.Get()))) {
    OpenInBrowser(uri.Get());
    (void)args->put_Cancel(TRUE);
    return;
  }
  UINT64 id = 0;
  if (SUCCEEDED(args->get_NavigationId(&id))) gate_.NavigationStarted(id);
}

// The new document has replaced the old one; its scripts have not run yet.
void PageHost::OnContentLoading(ICoreWebView2ContentLoadingEventArgs* args) {
  BOOL isErrorPage = FALSE;
  (void)args->get_IsErrorPage(&isErrorPage);
  showsErrorPage_ = isErrorPage != FALSE;
  rule_.DocumentCommitted();
  UINT64 id = 0;
  if (FAILED(args->get_NavigationId(&id))) return;
  ExecuteAll(gate_.DocumentCommitted(id, Shown(), GetTickCount64()));
}

void PageHost::OnNavigationCompleted(ICoreWebView2NavigationCompletedEventArgs* args) {
  UINT64 id = 0;
  if (FAILED(args->get_NavigationId(&id))) return;
  ExecuteAll(gate_.NavigationEnded(id, Shown(), GetTickCount64()));
}

void PageHost::OnProcessFailed(ICoreWebView2ProcessFailedEventArgs* args) {
  COREWEBVIEW2_PROCESS_FAILED_KIND kind{};
  if (SUCCEEDED(args->get_ProcessFailedKind(&kind))) {
    log_.Line("[WebView] process failed: " + NameOf(kind));
  }
}

// Starting a browser can take seconds and dispatch messages, which an event of the control must
// not: the browser starts when the posted message comes.
void PageHost::OpenInBrowser(std::wstring address) {
  const std::string text = Narrow(address);
  if (!IsWebOrMailAddress(text) && !callbacks_.isTrusted(ShownAddress())) {
    return log_.Line("[External] not opening: " + text);
  }
  log_.Line("[External] opening in browser: " + text);
  toBeOpened_.push_back(std::move(address));
  if (!PostMessageW(window_, kOpenInBrowserMessage, 0, 0)) OpenAddresses();
}

// Called again by messages that ShellExecuteW dispatches: the first call opens those addresses too.
void PageHost::OpenAddresses() {
  if (std::exchange(isOpening_, true)) return;
  while (!toBeOpened_.empty()) {
    const std::wstring address = std::move(toBeOpened_.front());
    toBeOpened_.pop_front();
    (void)ShellExecuteW(window_, L"open", address.c_str(), nullptr, nullptr, SW_SHOWNORMAL);
  }
  isOpening_ = false;
}

}  // namespace wendra
