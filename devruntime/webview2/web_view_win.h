// The web view: passes the host's calls on to the page, and the page's events on to the host's
// handlers. UI thread.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "devruntime/webview2/control_record_win.h"
#include "devruntime/webview2/event_args_win.h"
#include "devruntime/webview2/gate_win.h"
#include "devruntime/webview2/handler_list_win.h"
#include "devruntime/webview2/page_session_win.h"
#include "devruntime/webview2/unoffered_win.h"

namespace wendra {

class WebView final : public UnofferedWebView {
 public:
  // Calls `onReady` once: true when the page is usable, false when it never will be.
  WebView(std::shared_ptr<Gate> gate, std::shared_ptr<ControlRecord> record,
          const ControlSettings& settings, std::function<void(bool)> onReady);

  // Call it before the first event.
  void Connect(std::shared_ptr<PageSession> page) { page_ = std::move(page); }
  void Handle(PageEvent event);
  void Close();

  HRESULT STDMETHODCALLTYPE get_Source(LPWSTR* uri) override;
  HRESULT STDMETHODCALLTYPE Navigate(LPCWSTR uri) override;
  HRESULT STDMETHODCALLTYPE Reload() override;
  HRESULT STDMETHODCALLTYPE Stop() override;
  HRESULT STDMETHODCALLTYPE
  ExecuteScript(LPCWSTR javaScript, ICoreWebView2ExecuteScriptCompletedHandler* handler) override;
  HRESULT STDMETHODCALLTYPE AddScriptToExecuteOnDocumentCreated(
      LPCWSTR javaScript,
      ICoreWebView2AddScriptToExecuteOnDocumentCreatedCompletedHandler* handler) override;
  HRESULT STDMETHODCALLTYPE RemoveScriptToExecuteOnDocumentCreated(LPCWSTR id) override;

  HRESULT STDMETHODCALLTYPE
  add_NavigationStarting(ICoreWebView2NavigationStartingEventHandler* eventHandler,
                         EventRegistrationToken* token) override;
  HRESULT STDMETHODCALLTYPE remove_NavigationStarting(EventRegistrationToken token) override;
  HRESULT STDMETHODCALLTYPE
  add_ContentLoading(ICoreWebView2ContentLoadingEventHandler* eventHandler,
                     EventRegistrationToken* token) override;
  HRESULT STDMETHODCALLTYPE remove_ContentLoading(EventRegistrationToken token) override;
  HRESULT STDMETHODCALLTYPE add_SourceChanged(ICoreWebView2SourceChangedEventHandler* eventHandler,
                                              EventRegistrationToken* token) override;
  HRESULT STDMETHODCALLTYPE remove_SourceChanged(EventRegistrationToken token) override;
  HRESULT STDMETHODCALLTYPE
  add_NavigationCompleted(ICoreWebView2NavigationCompletedEventHandler* eventHandler,
                          EventRegistrationToken* token) override;
  HRESULT STDMETHODCALLTYPE remove_NavigationCompleted(EventRegistrationToken token) override;
  HRESULT STDMETHODCALLTYPE add_WebMessageReceived(
      ICoreWebView2WebMessageReceivedEventHandler* handler, EventRegistrationToken* token) override;
  HRESULT STDMETHODCALLTYPE remove_WebMessageReceived(EventRegistrationToken token) override;
  HRESULT STDMETHODCALLTYPE
  add_NewWindowRequested(ICoreWebView2NewWindowRequestedEventHandler* eventHandler,
                         EventRegistrationToken* token) override;
  HRESULT STDMETHODCALLTYPE remove_NewWindowRequested(EventRegistrationToken token) override;
  HRESULT STDMETHODCALLTYPE add_ProcessFailed(ICoreWebView2ProcessFailedEventHandler* eventHandler,
                                              EventRegistrationToken* token) override;
  HRESULT STDMETHODCALLTYPE remove_ProcessFailed(EventRegistrationToken token) override;

 private:
  struct Script {
    std::string text;
    ComRef<ICoreWebView2ExecuteScriptCompletedHandler> handler;
  };

  ~WebView() override = default;

  void On(const PageReady&);
  void On(const PageGone& gone);
  void On(MessagePosted& message);
  void On(NavigationWanted& navigation);
  void On(WindowWanted& window);
  void On(DocumentCommitted& document);
  void On(SourceMoved& moved);
  void On(NavigationDone& done);

  void ReportReady(bool isUsable);
  void RaiseSourceChanged(bool isNewDocument);
  void EndUndecided(std::uint64_t navigationId);
  void RunWaitingScripts();
  void Run(Script script);
  void AddScriptNow(
      std::string text,
      ComRef<ICoreWebView2AddScriptToExecuteOnDocumentCreatedCompletedHandler> handler);

  template <typename Handler>
  HRESULT Add(HandlerList<Handler>& list, Handler* handler, EventRegistrationToken* token) {
    const HRESULT check = gate_->Check();
    return FAILED(check) ? check : list.Add(tokens_, handler, token);
  }
  template <typename Handler>
  HRESULT Remove(HandlerList<Handler>& list, EventRegistrationToken token) {
    const HRESULT check = gate_->Check();
    return FAILED(check) ? check : list.Remove(token);
  }

  const std::shared_ptr<Gate> gate_;
  const std::shared_ptr<ControlRecord> record_;
  const bool scriptsWaitForDocument_;
  const ScriptAdding scriptAdding_;
  const SourceMode messageSource_;
  const SourceMode viewSource_;
  std::function<void(bool)> onReady_;
  std::shared_ptr<PageSession> page_;
  std::string source_ = "about:blank";

  std::set<std::uint64_t> undecided_;   // navigations that have begun and have no document yet
  std::vector<Script> waitingScripts_;  // for the document of such a navigation

  TokenSource tokens_;
  HandlerList<ICoreWebView2NavigationStartingEventHandler> navigationStarting_;
  HandlerList<ICoreWebView2ContentLoadingEventHandler> contentLoading_;
  HandlerList<ICoreWebView2SourceChangedEventHandler> sourceChanged_;
  HandlerList<ICoreWebView2NavigationCompletedEventHandler> navigationCompleted_;
  HandlerList<ICoreWebView2WebMessageReceivedEventHandler> webMessageReceived_;
  HandlerList<ICoreWebView2NewWindowRequestedEventHandler> newWindowRequested_;
  HandlerList<ICoreWebView2ProcessFailedEventHandler> processFailed_;
};

}  // namespace wendra
