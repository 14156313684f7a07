// The handlers of one event, in order of their registration.
#pragma once

#include <algorithm>
#include <vector>

#include "devruntime/webview2/com_object_win.h"

namespace wendra {

// Tokens of one web view: never zero, never used twice.
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
    entries_.push_back({*token, ComRef<Handler>(handler)});
    return S_OK;
  }

  HRESULT Remove(EventRegistrationToken token) {
    const auto found = std::find_if(entries_.begin(), entries_.end(), [&](const Entry& entry) {
      return entry.token.value == token.value;
    });
    if (found == entries_.end()) return E_INVALIDARG;
    entries_.erase(found);
    return S_OK;
  }

  // Each handler that is registered now, unless an earlier one of them has removed it.
  template <typename Sender, typename Args>
  void Invoke(Sender* sender, Args* args) {
    const std::vector<Entry> now = entries_;  // handlers may add and remove
    for (const Entry& entry : now)
      if (Has(entry.token)) entry.handler->Invoke(sender, args);
  }

  void Clear() { entries_.clear(); }
  bool IsEmpty() const { return entries_.empty(); }

 private:
  struct Entry {
    EventRegistrationToken token;
    ComRef<Handler> handler;
  };

  bool Has(EventRegistrationToken token) const {
    return std::any_of(entries_.begin(), entries_.end(),
                       [&](const Entry& entry) { return entry.token.value == token.value; });
  }

  std::vector<Entry> entries_;
};

}  // namespace wendra
