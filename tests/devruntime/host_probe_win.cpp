// A small host that imports the DLL as the real program does. Tests run it to check a whole
// process. By hand it shows a page: runtime_host_probe show http://localhost:8080/
#include <cstdlib>
#include <cwchar>
#include <stdexcept>
#include <string>
#include <thread>

#include <windows.h>
#include <objbase.h>

#include "tests/devruntime/test_handler_win.h"
#include "webview/webview2_events_win.h"
#include "win/unique.h"
#include "win/wide.h"
#include "win/window_class.h"

namespace wendra {
namespace {

void WriteToDebugger() {
  OutputDebugStringW(L"[Wendra] first \u2014 \u00e4\u00f6\u00fc \u20ac\n");
  std::thread([] { OutputDebugStringW(L"[Wendra] \u65e5\u672c \U0001f600\n"); }).join();
  OutputDebugStringW(L"[Wendra] last\n");
}

// What the host does when the page posts a message.
enum class OnMessage { kNothing, kLeave, kThrow };

class Host {
 public:
  Host(std::wstring address, OnMessage onMessage)
      : address_(std::move(address)), onMessage_(onMessage) {}

  void Run() {
    const WNDCLASSEXW windowClass =
        MakeWindowClass(GetModuleHandleW(nullptr), L"RuntimeHostProbe", &Host::WindowProc);
    RegisterClassExW(&windowClass);
    window_ = CreateWindowExW(0, windowClass.lpszClassName, L"Host probe",
                              WS_OVERLAPPEDWINDOW | WS_VISIBLE, 20, 20, 1000, 700, nullptr, nullptr,
                              windowClass.hInstance, this);
    const auto handler = MakeHandler<EnvironmentHandler>(
        [this](HRESULT, ICoreWebView2Environment* environment) { MakeController(environment); });
    CreateCoreWebView2EnvironmentWithOptions(nullptr, L"C:\\probe", nullptr, handler.Get());
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
      TranslateMessage(&message);
      DispatchMessageW(&message);
    }
  }

 private:
  static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    if (message == WM_NCCREATE) {
      const auto* create = reinterpret_cast<const CREATESTRUCTW*>(lparam);
      SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(create->lpCreateParams));
    }
    auto* host = reinterpret_cast<Host*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (message == WM_SIZE && host) host->Layout();
    if (message == WM_DESTROY) PostQuitMessage(0);
    return DefWindowProcW(window, message, wparam, lparam);
  }

  void Layout() {
    RECT client{};
    GetClientRect(window_, &client);
    if (controller_) controller_->put_Bounds(client);
  }

  void MakeController(ICoreWebView2Environment* environment) {
    if (!environment) return;
    const auto handler = MakeHandler<ControllerHandler>(
        [this](HRESULT, ICoreWebView2Controller* controller) { SetUp(controller); });
    environment->CreateCoreWebView2Controller(window_, handler.Get());
  }

  void SetUp(ICoreWebView2Controller* controller) {
    if (!controller) return;
    controller->AddRef();
    controller_.Reset(controller);
    controller_->get_CoreWebView2(view_.Receive());
    Layout();
    EventRegistrationToken token{};
    view_->add_WebMessageReceived(
        MakeHandler<MessageHandler>([this](auto, auto*) { TakeMessage(); }).Get(), &token);
    view_->Navigate(address_.c_str());
  }

  void TakeMessage() {
    if (onMessage_ == OnMessage::kLeave) std::exit(EXIT_SUCCESS);  // without closing the control
    if (onMessage_ == OnMessage::kThrow) throw std::out_of_range("nobody catches this");
  }

  std::wstring address_;
  OnMessage onMessage_;
  HWND window_ = nullptr;
  ComOwner<ICoreWebView2Controller> controller_;
  ComOwner<ICoreWebView2> view_;
};

}  // namespace
}  // namespace wendra

int main(int count, char** arguments) {
  using namespace wendra;
  const std::string mode = count > 1 ? arguments[1] : "";
  const std::wstring address = Widen(count > 2 ? arguments[2] : "about:blank");
  if (mode == "log") {
    WriteToDebugger();
    return EXIT_SUCCESS;
  }
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  Host(address, mode == "leave"   ? OnMessage::kLeave
                : mode == "throw" ? OnMessage::kThrow
                                  : OnMessage::kNothing)
      .Run();
  CoUninitialize();
  return EXIT_SUCCESS;
}
