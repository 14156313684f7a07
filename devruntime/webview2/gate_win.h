// Who may call an object of the control, and until when.
#pragma once

#include <memory>

#include <windows.h>

#include "devruntime/webview2/ui_queue_win.h"

namespace wendra {

// The platform documents that such calls fail, but not with which code.
inline constexpr HRESULT kWrongThread = RPC_E_WRONG_THREAD;
inline constexpr HRESULT kClosed = HRESULT_FROM_WIN32(ERROR_INVALID_STATE);

// Shared by a controller and its web view. Every method of theirs begins with Check.
class Gate {
 public:
  explicit Gate(std::shared_ptr<UiQueue> queue) : queue_(std::move(queue)) {}

  HRESULT Check() const {
    if (!queue_->IsThisThread()) return kWrongThread;
    return closed_ ? kClosed : S_OK;
  }
  // UI thread, both.
  void Close() { closed_ = true; }
  bool IsClosed() const { return closed_; }

  UiQueue& Queue() const { return *queue_; }

 private:
  std::shared_ptr<UiQueue> queue_;
  bool closed_ = false;
};

}  // namespace wendra
