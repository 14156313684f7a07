#include "devruntime/webview2/web_view_win.h"

#include <cctype>
#include <string_view>
#include <utility>
#include <variant>

#include "base/thread.h"
#include "json/objects.h"
#include "win/wide.h"

namespace wendra {
namespace {

// Whether `uri` begins as "https:" or "about:" do: a letter, then letters, digits, plus, minus and
// dots, then a colon.
bool HasScheme(std::string_view uri) {
  const size_t colon = uri.find(':');
  if (colon == std::string_view::npos || colon == 0) return false;
  if (!std::isalpha(static_cast<unsigned char>(uri[0]))) return false;
  for (const char c : uri.substr(0, colon)) {
    if (!std::isalnum(static_cast<unsigned char>(c)) && c != '+' && c != '-' && c != '.') {
      return false;
    }
  }
  return true;
}

}  // namespace

WebView::WebView(std::shared_ptr<Gate> gate, std::shared_ptr<ControlRecord> record,
                 const ControlSettings& settings, std::function<void(bool)> onReady)
    : gate_(std::move(gate)),
      record_(std::move(record)),
      scriptsWaitForDocument_(settings.scriptsWaitForDocument),
      scriptAdding_(settings.scriptAdding),
      messageSource_(settings.messageSource),
      viewSource_(settings.viewSource),
      onReady_(std::move(onReady)) {}

// A handler may release the last reference to anything. The caller holds one to this object.
void WebView::Handle(PageEvent event) {
  if (gate_->IsClosed()) return;
  std::visit([this](auto& which) { On(which); }, event);
}

void WebView::Close() {
  onReady_ = nullptr;
  waitingScripts_.clear();
  navigationStarting_.Clear();
  contentLoading_.Clear();
  sourceChanged_.Clear();
  navigationCompleted_.Clear();
  webMessageReceived_.Clear();
  newWindowRequested_.Clear();
  processFailed_.Clear();
  if (page_) page_->Close();
}

void WebView::On(const PageReady&) { ReportReady(true); }

void WebView::On(const PageGone& gone) {
  const bool wasReady = !onReady_;
  ReportReady(false);
  undecided_.clear();
  RunWaitingScripts();  // they fail, and their handlers get the failure
  if (!wasReady) return;
  const ComOwner<ProcessFailedArgs> args(new ProcessFailedArgs(
      gone.hasBrowser ? COREWEBVIEW2_PROCESS_FAILED_KIND_RENDER_PROCESS_EXITED
                      : COREWEBVIEW2_PROCESS_FAILED_KIND_BROWSER_PROCESS_EXITED));
  processFailed_.Invoke(this, args.Get());
}

void WebView::ReportReady(bool isUsable) {
  if (const auto onReady = std::exchange(onReady_, nullptr)) onReady(isUsable);
}

void WebView::On(MessagePosted& message) {
  const auto timings = record_->Timings();
  const ComOwner<WebMessageArgs> args(
      new WebMessageArgs(std::move(message), messageSource_, timings));
  timings->BeginHandler();
  webMessageReceived_.Invoke(this, args.Get());
  timings->EndHandler();
}

void WebView::On(NavigationWanted& navigation) {
  const ComOwner<NavigationStartingArgs> args(new NavigationStartingArgs(navigation));
  navigationStarting_.Invoke(this, args.Get());
  if (gate_->IsClosed()) return;
  const bool isAllowed = !args->IsCancelled();
  if (isAllowed) undecided_.insert(navigation.id);
  page_->Decide(navigation, isAllowed);
}

// No window opens, whether a handler has handled the event or not.
void WebView::On(WindowWanted& window) {
  const ComOwner<NewWindowArgs> args(new NewWindowArgs(window));
  newWindowRequested_.Invoke(this, args.Get());
}

void WebView::On(DocumentCommitted& document) {
  source_ = document.uri;
  RaiseSourceChanged(true);
  const ComOwner<ContentLoadingArgs> args(new ContentLoadingArgs(document));
  contentLoading_.Invoke(this, args.Get());
  EndUndecided(document.id);
}

void WebView::On(SourceMoved& moved) {
  source_ = moved.uri;
  RaiseSourceChanged(false);
}

void WebView::RaiseSourceChanged(bool isNewDocument) {
  const ComOwner<SourceChangedArgs> args(new SourceChangedArgs(isNewDocument));
  sourceChanged_.Invoke(this, args.Get());
}

void WebView::On(NavigationDone& done) {
  EndUndecided(done.id);
  record_->Events()->Write(
      MakeObject({{"event", done.isSuccess ? "loaded" : "failed"}, {"uri", source_}}));
  const ComOwner<NavigationCompletedArgs> args(new NavigationCompletedArgs(done));
  navigationCompleted_.Invoke(this, args.Get());
}

// Navigations that began before this one will never get a document.
void WebView::EndUndecided(std::uint64_t navigationId) {
  undecided_.erase(undecided_.begin(), undecided_.upper_bound(navigationId));
  if (undecided_.empty()) RunWaitingScripts();
}

void WebView::RunWaitingScripts() {
  for (Script& script : std::exchange(waitingScripts_, {})) Run(std::move(script));
}

void WebView::Run(Script script) {
  if (!page_) return;
  PageSession::ScriptDone done;
  if (script.handler) {
    done = [gate = gate_, handler = std::move(script.handler)](std::optional<std::string> json) {
      gate->Queue().Post([gate, handler, json = std::move(json)] {
        if (gate->IsClosed()) return;
        handler->Invoke(json ? S_OK : E_FAIL, Widen(json.value_or("null")).c_str());
      });
    };
  }
  page_->Execute(std::move(script.text), std::move(done));
}

HRESULT WebView::get_Source(LPWSTR* uri) {
  const HRESULT check = gate_->Check();
  return FAILED(check) ? check : GiveSource(viewSource_, source_, uri);
}

HRESULT WebView::Navigate(LPCWSTR uri) {
  if (const HRESULT check = gate_->Check(); FAILED(check)) return check;
  const HandlerTimings::Call call(*record_->Timings());
  if (!uri) return E_POINTER;
  const std::string address = Narrow(uri);
  if (!HasScheme(address)) return E_INVALIDARG;
  page_->Navigate(address);
  return S_OK;
}

HRESULT WebView::Reload() {
  if (const HRESULT check = gate_->Check(); FAILED(check)) return check;
  const HandlerTimings::Call call(*record_->Timings());
  page_->Reload();
  return S_OK;
}

HRESULT WebView::Stop() {
  if (const HRESULT check = gate_->Check(); FAILED(check)) return check;
  page_->Stop();
  return S_OK;
}

HRESULT WebView::ExecuteScript(LPCWSTR javaScript,
                               ICoreWebView2ExecuteScriptCompletedHandler* handler) {
  if (const HRESULT check = gate_->Check(); FAILED(check)) return check;
  const HandlerTimings::Call call(*record_->Timings());
  if (!javaScript) return E_POINTER;
  Script script{Narrow(javaScript),
                ComRef<ICoreWebView2ExecuteScriptCompletedHandler>::Share(handler)};
  if (scriptsWaitForDocument_ && !undecided_.empty()) {
    waitingScripts_.push_back(std::move(script));
  } else {
    Run(std::move(script));
  }
  return S_OK;
}

HRESULT WebView::AddScriptToExecuteOnDocumentCreated(
    LPCWSTR javaScript, ICoreWebView2AddScriptToExecuteOnDocumentCreatedCompletedHandler* handler) {
  if (const HRESULT check = gate_->Check(); FAILED(check)) return check;
  if (!javaScript) return E_POINTER;
  const auto shared =
      ComRef<ICoreWebView2AddScriptToExecuteOnDocumentCreatedCompletedHandler>::Share(handler);
  std::string text = Narrow(javaScript);
  if (!scriptAdding_.hasEnd) return S_OK;
  if (scriptAdding_.delayMs == 0) {
    AddScriptNow(std::move(text), shared);
    return S_OK;
  }
  (void)StartDetachedThread([self = ComRef<WebView>::Share(this), gate = gate_, shared, text,
                             delayMs = scriptAdding_.delayMs] {
    Sleep(delayMs);
    gate->Queue().Post([self, shared, text] { self->AddScriptNow(text, shared); });
  });
  return S_OK;
}

void WebView::AddScriptNow(
    std::string text,
    ComRef<ICoreWebView2AddScriptToExecuteOnDocumentCreatedCompletedHandler> handler) {
  if (gate_->IsClosed()) return;
  page_->AddScript(std::move(text), [gate = gate_, handler](std::optional<std::string> id) {
    if (!handler) return;
    gate->Queue().Post([gate, handler, id = std::move(id)] {
      if (gate->IsClosed()) return;
      const std::wstring idText = Widen(id.value_or(std::string()));
      handler->Invoke(id ? S_OK : E_FAIL, id ? idText.c_str() : nullptr);
    });
  });
}

HRESULT WebView::RemoveScriptToExecuteOnDocumentCreated(LPCWSTR id) {
  if (const HRESULT check = gate_->Check(); FAILED(check)) return check;
  if (!id) return E_POINTER;
  page_->RemoveScript(Narrow(id));
  return S_OK;
}

HRESULT WebView::add_NavigationStarting(ICoreWebView2NavigationStartingEventHandler* eventHandler,
                                        EventRegistrationToken* token) {
  return Add(navigationStarting_, eventHandler, token);
}
HRESULT WebView::remove_NavigationStarting(EventRegistrationToken token) {
  return Remove(navigationStarting_, token);
}
HRESULT WebView::add_ContentLoading(ICoreWebView2ContentLoadingEventHandler* eventHandler,
                                    EventRegistrationToken* token) {
  return Add(contentLoading_, eventHandler, token);
}
HRESULT WebView::remove_ContentLoading(EventRegistrationToken token) {
  return Remove(contentLoading_, token);
}
HRESULT WebView::add_SourceChanged(ICoreWebView2SourceChangedEventHandler* eventHandler,
                                   EventRegistrationToken* token) {
  return Add(sourceChanged_, eventHandler, token);
}
HRESULT WebView::remove_SourceChanged(EventRegistrationToken token) {
  return Remove(sourceChanged_, token);
}
HRESULT WebView::add_NavigationCompleted(ICoreWebView2NavigationCompletedEventHandler* eventHandler,
                                         EventRegistrationToken* token) {
  return Add(navigationCompleted_, eventHandler, token);
}
HRESULT WebView::remove_NavigationCompleted(EventRegistrationToken token) {
  return Remove(navigationCompleted_, token);
}
HRESULT WebView::add_WebMessageReceived(ICoreWebView2WebMessageReceivedEventHandler* handler,
                                        EventRegistrationToken* token) {
  return Add(webMessageReceived_, handler, token);
}
HRESULT WebView::remove_WebMessageReceived(EventRegistrationToken token) {
  return Remove(webMessageReceived_, token);
}
HRESULT WebView::add_NewWindowRequested(ICoreWebView2NewWindowRequestedEventHandler* eventHandler,
                                        EventRegistrationToken* token) {
  return Add(newWindowRequested_, eventHandler, token);
}
HRESULT WebView::remove_NewWindowRequested(EventRegistrationToken token) {
  return Remove(newWindowRequested_, token);
}
HRESULT WebView::add_ProcessFailed(ICoreWebView2ProcessFailedEventHandler* eventHandler,
                                   EventRegistrationToken* token) {
  return Add(processFailed_, eventHandler, token);
}
HRESULT WebView::remove_ProcessFailed(EventRegistrationToken token) {
  return Remove(processFailed_, token);
}

}  // namespace wendra
