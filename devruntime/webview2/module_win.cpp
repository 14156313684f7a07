#include "devruntime/webview2/module_win.h"

namespace wendra {
namespace {

HMODULE FindThisModule(DWORD flags) {
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | flags,
                     reinterpret_cast<LPCWSTR>(&FindThisModule), &module);
  return module;
}

}  // namespace

HINSTANCE ThisModule() { return FindThisModule(GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT); }

void PinThisModule() { FindThisModule(GET_MODULE_HANDLE_EX_FLAG_PIN); }

}  // namespace wendra
