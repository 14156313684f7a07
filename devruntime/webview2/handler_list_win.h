// The handlers of one event, in the order of their registration.
#pragma once

#include <algorithm>
#include <vector>

#include "devruntime/webview2/com_object_win.h"

namespace wendra {

// The tokens of one web view: never 0, and never the same twice.
class TokenSource {
 public:
  EventRegistrationToken Next() {
    EventRegistrationToken token{};
    token.value = ++last_;
    return token;
  }

 private:
  INT64 last_ = 0;
};

// UI thread.
template <typename Handler>
class HandlerList {
 public:
  HRESULT Add(TokenSource& tokens, Handler* handler, EventRegistrationToken* token) {
    if (!handler || !token) return E_POINTER;
    *token = tokens.Next();
    entries_.push_back({*token, ComRef<Handler>::Share(handler)});
    return S_OK;
  }

  HRESULT Remove(EventRegistrationToken token) {
    const auto found = std::ranges::find_if(entries_, HasToken{token});
    if (found == entries_.end()) return E_INVALIDARG;
    entries_.erase(found);
    return S_OK;
  }

  // Invokes each handler that is registered now, unless an earlier handler has removed it.
  template <typename Sender, typename Args>
  void Invoke(Sender* sender, Args* args) {
    const std::vector<Entry> entries = entries_;  // handlers may add and remove
    for (const Entry& entry : entries) {
      if (std::ranges::any_of(entries_, HasToken{entry.token})) entry.handler->Invoke(sender, args);
    }
  }

  void Clear() { entries_.clear(); }

 private:
  struct Entry {
    EventRegistrationToken token;
    ComRef<Handler> handler;
  };
  struct HasToken {
    EventRegistrationToken token;
    bool operator()(const Entry& entry) const { return entry.token.value == token.value; }
  };

  std::vector<Entry> entries_;
};

}  // namespace wendra
