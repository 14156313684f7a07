// Decides whether a call into the control is allowed.
#pragma once

#include <memory>
#include <utility>

#include "devruntime/webview2/ui_queue_win.h"

#include <windows.h>

namespace wendra {

// The platform documents that such calls fail, but not the codes.
inline constexpr HRESULT kWrongThread = RPC_E_WRONG_THREAD;
inline constexpr HRESULT kClosed = HRESULT_FROM_WIN32(ERROR_INVALID_STATE);

// Shared by a controller and its web view. Each of their methods calls Check first.
class Gate {
 public:
  explicit Gate(std::shared_ptr<UiQueue> queue) : queue_(std::move(queue)) {}

  // S_OK, kWrongThread or kClosed. Any thread.
  HRESULT Check() const {
    if (!queue_->IsThisThread()) return kWrongThread;
    return isClosed_ ? kClosed : S_OK;
  }

  // UI thread.
  void Close() { isClosed_ = true; }
  bool IsClosed() const { return isClosed_; }

  UiQueue& Queue() const { return *queue_; }

 private:
  const std::shared_ptr<UiQueue> queue_;
  bool isClosed_ = false;
};

}  // namespace wendra
