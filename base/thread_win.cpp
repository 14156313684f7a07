#include <memory>
#include <utility>

#include "base/thread.h"

#include <windows.h>

namespace wendra {
namespace {

DWORD WINAPI Run(void* parameter) {
  const std::unique_ptr<std::function<void()>> body(static_cast<std::function<void()>*>(parameter));
  (*body)();
  return 0;
}

}  // namespace

bool StartDetachedThread(std::function<void()> body) {
  auto owned = std::make_unique<std::function<void()>>(std::move(body));
  const HANDLE thread = CreateThread(nullptr, 0, &Run, owned.get(), 0, nullptr);
  if (!thread) return false;
  (void)owned.release();  // the thread frees it
  CloseHandle(thread);
  return true;
}

}  // namespace wendra
