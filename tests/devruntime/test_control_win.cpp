#include "tests/devruntime/test_control_win.h"

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <utility>

#include <gtest/gtest.h>

#include "devruntime/base/variables_win.h"
#include "devruntime/webview2/web_socket_win.h"
#include "win/file.h"
#include "win/wide.h"
#include "win/window_class.h"

namespace wendra {
namespace {

constexpr wchar_t kClassName[] = L"RuntimeTestWindow";
constexpr DWORD kAskAgainMs = 20;  // for conditions that no message announces: files, web server
constexpr wchar_t kPageClassName[] = L"WendraDevRuntimePage";

// The tests' thread is a single-threaded apartment, as the UI thread of a host is.
class Apartment : public testing::Environment {
 public:
  void SetUp() override { CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED); }
  void TearDown() override { CoUninitialize(); }
};
const testing::Environment* const kApartment = testing::AddGlobalTestEnvironment(new Apartment);

HMODULE Loader() {
  static const HMODULE kModule = [] {
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    std::wstring folder(path);
    folder.resize(folder.rfind(L'\\'));
    return LoadLibraryW((folder + L"\\..\\WebView2Loader.dll").c_str());
  }();
  if (!kModule) throw std::runtime_error("WebView2Loader.dll is not beside the tests");
  return kModule;
}

INTERNET_PORT ServerPort() {
  const std::wstring port = DevVariable(L"RUNTIME_TEST_PORT");
  if (port.empty()) throw std::runtime_error("RUNTIME_TEST_PORT is not set: use run.mjs");
  return static_cast<INTERNET_PORT>(wcstoul(port.c_str(), nullptr, 10));
}

std::string Escaped(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    char code[4] = {};
    std::snprintf(code, sizeof code, "%%%02X",
                  static_cast<unsigned>(static_cast<unsigned char>(c)));
    escaped += code;
  }
  return escaped;
}

bool Truth(HRESULT (STDMETHODCALLTYPE ICoreWebView2NavigationStartingEventArgs::*get)(BOOL*),
           ICoreWebView2NavigationStartingEventArgs* args) {
  BOOL value = FALSE;
  (args->*get)(&value);
  return value != FALSE;
}

SeenNavigation Read(ICoreWebView2NavigationStartingEventArgs* args) {
  using Args = ICoreWebView2NavigationStartingEventArgs;
  SeenNavigation seen;
  LPWSTR uri = nullptr;
  args->get_Uri(&uri);
  seen.uri = NarrowAndFree(uri);
  seen.userInitiated = Truth(&Args::get_IsUserInitiated, args);
  seen.redirected = Truth(&Args::get_IsRedirected, args);
  args->get_NavigationId(&seen.id);
  return seen;
}

SeenCompletion Read(ICoreWebView2NavigationCompletedEventArgs* args) {
  SeenCompletion seen;
  BOOL success = FALSE;
  args->get_IsSuccess(&success);
  seen.success = success != FALSE;
  COREWEBVIEW2_WEB_ERROR_STATUS status{};
  args->get_WebErrorStatus(&status);
  seen.error = static_cast<int>(status);
  args->get_NavigationId(&seen.id);
  return seen;
}

}  // namespace

bool PumpUntil(const std::function<bool()>& done, DWORD timeoutMs) {
  const ULONGLONG deadline = GetTickCount64() + timeoutMs;
  while (!done()) {
    if (GetTickCount64() >= deadline) return false;
    MsgWaitForMultipleObjectsEx(0, nullptr, kAskAgainMs, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
      TranslateMessage(&message);
      DispatchMessageW(&message);
      if (done()) return true;
    }
  }
  return true;
}

void PumpPending() {
  MSG message;
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
}

CreateEnvironmentFunction CreateEnvironment() {
  return reinterpret_cast<CreateEnvironmentFunction>(reinterpret_cast<void*>(
      GetProcAddress(Loader(), "CreateCoreWebView2EnvironmentWithOptions")));
}

GetVersionFunction GetVersion() {
  return reinterpret_cast<GetVersionFunction>(reinterpret_cast<void*>(
      GetProcAddress(Loader(), "GetAvailableCoreWebView2BrowserVersionString")));
}

std::string Url(const std::string& pathAndQuery, const std::string& host) {
  return "http://" + host + ":" + std::to_string(ServerPort()) + pathAndQuery;
}

std::string PageUrl(const std::string& body, const std::string& host) {
  return Url("/page?body=" + Escaped(body), host);
}

int RequestsFor(const std::string& path) {
  const std::string answer =
      GetLocalText(ServerPort(), Widen("/count?of=" + Escaped(path)).c_str());
  if (answer.empty()) throw std::runtime_error("the test's web server does not answer");
  return std::atoi(answer.c_str());
}

HWND MakeTestWindow() {
  const WNDCLASSEXW windowClass =
      MakeWindowClass(GetModuleHandleW(nullptr), kClassName, &DefWindowProcW);
  RegisterClassExW(&windowClass);
  return CreateWindowExW(0, kClassName, L"runtime test", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0,
                         640, 480, nullptr, nullptr, windowClass.hInstance, nullptr);
}

std::int64_t Microseconds() {
  LARGE_INTEGER now{};
  LARGE_INTEGER perSecond{};
  QueryPerformanceCounter(&now);
  QueryPerformanceFrequency(&perSecond);
  return now.QuadPart * 1'000'000 / perSecond.QuadPart;
}

std::string ReadWholeFile(const std::wstring& path) {
  const FileHandle file = OpenForReading(path);
  return file ? ReadBytes(file, static_cast<size_t>(FileSize(file).value_or(0))) : std::string();
}

ScopedVariable::ScopedVariable(const wchar_t* name, const std::wstring& value)
    : name_(name), before_(DevVariable(name)) {
  SetEnvironmentVariableW(name, value.c_str());
}

ScopedVariable::~ScopedVariable() {
  SetEnvironmentVariableW(name_, before_.empty() ? nullptr : before_.c_str());
}

std::string NarrowAndFree(LPWSTR text) {
  const TaskText owner(text);
  return text ? Narrow(text) : std::string();
}

TestControl::TestControl() : window_(MakeTestWindow()) {
  Create();
  Register();
}

TestControl::~TestControl() {
  if (controller_) controller_->Close();
  view_.Reset();
  controller_.Reset();
  environment_.Reset();
  DestroyWindow(window_);
  PumpPending();
}

void TestControl::Create() {
  const auto gotController =
      MakeHandler<ControllerHandler>([this](HRESULT, ICoreWebView2Controller* controller) {
        if (!controller) return;
        controller->AddRef();
        controller_.Reset(controller);
      });
  const auto gotEnvironment =
      MakeHandler<EnvironmentHandler>([&](HRESULT, ICoreWebView2Environment* environment) {
        if (!environment) return;
        environment->AddRef();
        environment_.Reset(environment);
        environment->CreateCoreWebView2Controller(window_, gotController.Get());
      });
  const HRESULT result = CreateEnvironment()(nullptr, nullptr, nullptr, gotEnvironment.Get());
  if (FAILED(result)) throw std::runtime_error("no environment");
  if (!PumpUntil([this] { return static_cast<bool>(controller_); })) {
    throw std::runtime_error("no controller");
  }
  controller_->get_CoreWebView2(view_.Receive());
  RECT client{};
  GetClientRect(window_, &client);
  controller_->put_Bounds(client);
}

void TestControl::Register() {
  EventRegistrationToken token{};
  view_->add_WebMessageReceived(MakeHandler<MessageHandler>([this](auto, auto* args) {
                                  LPWSTR text = nullptr;
                                  args->get_WebMessageAsJson(&text);
                                  messages.push_back(NarrowAndFree(text));
                                  args->get_Source(&text);
                                  sources.push_back(NarrowAndFree(text));
                                  order.push_back("message");
                                }).Get(),
                                &token);
  view_->add_NavigationStarting(MakeHandler<NavigationHandler>([this](auto, auto* args) {
                                  navigations.push_back(Read(args));
                                  order.push_back("starting");
                                  if (cancel && cancel(navigations.back())) args->put_Cancel(TRUE);
                                }).Get(),
                                &token);
  view_->add_NavigationCompleted(MakeHandler<CompletedHandler>([this](auto, auto* args) {
                                   completions.push_back(Read(args));
                                   order.push_back("completed");
                                 }).Get(),
                                 &token);
  view_->add_NewWindowRequested(MakeHandler<WindowHandler>([this](auto, auto* args) {
                                  LPWSTR uri = nullptr;
                                  args->get_Uri(&uri);
                                  BOOL userInitiated = FALSE;
                                  args->get_IsUserInitiated(&userInitiated);
                                  windows.push_back({NarrowAndFree(uri), userInitiated != FALSE});
                                  order.push_back("window");
                                  args->put_Handled(TRUE);
                                }).Get(),
                                &token);
}

HWND TestControl::PageWindow() const {
  return FindWindowExW(window_, nullptr, kPageClassName, nullptr);
}

bool TestControl::Load(const std::string& url) {
  const UINT64 last = navigations.empty() ? 0 : navigations.back().id;
  view_->Navigate(Widen(url).c_str());
  const auto ended = [&] { return !completions.empty() && completions.back().id > last; };
  return PumpUntil(ended) && completions.back().success;
}

std::string TestControl::Evaluate(const std::string& script) {
  std::string result;
  bool done = false;
  const auto handler = MakeHandler<ScriptHandler>([&](HRESULT error, LPCWSTR json) {
    result = FAILED(error) ? "failed" : Narrow(json);
    done = true;
  });
  view_->ExecuteScript(Widen(script).c_str(), handler.Get());
  return PumpUntil([&] { return done; }) ? result : "time-out";
}

bool TestControl::WaitFor(const std::string& script, const std::string& json) {
  const ULONGLONG deadline = GetTickCount64() + kTestTimeoutMs;
  while (Evaluate(script) != json)
    if (GetTickCount64() > deadline) return false;
  return true;
}

void TestControl::Click(int x, int y, UINT downMessage, WPARAM keys) {
  const UINT upMessage = downMessage + 1;
  const WPARAM button = downMessage == WM_MBUTTONDOWN   ? MK_MBUTTON
                        : downMessage == WM_RBUTTONDOWN ? MK_RBUTTON
                                                        : MK_LBUTTON;
  const LPARAM at = MAKELPARAM(x, y);
  PostMessageW(PageWindow(), WM_MOUSEMOVE, keys, at);
  PostMessageW(PageWindow(), downMessage, keys | button, at);
  PostMessageW(PageWindow(), upMessage, keys, at);
}

void TestControl::ClickElement(const std::string& id, UINT downMessage, WPARAM keys) {
  const auto middle = [&](const char* edge, const char* size) {
    return std::atoi(Evaluate("Math.round((r => r." + std::string(edge) + " + r." + size +
                              " / 2)(document.getElementById('" + id +
                              "').getBoundingClientRect()))")
                         .c_str());
  };
  const int x = middle("left", "width");
  Click(x, middle("top", "height"), downMessage, keys);
}

}  // namespace wendra
