// Calls the DLL only as the platform documents it: slots by number, plain function pointers,
// identifiers as sixteen bytes. The header is not used, so a mistake that the header and the DLL
// share is found here.
#include <cstdint>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include <windows.h>
#include <objbase.h>

namespace {

using Object = void;

// The function in slot `slot` of an object.
template <typename Function>
Function Slot(Object* object, int slot) {
  void** const table = *static_cast<void***>(object);
  return reinterpret_cast<Function>(table[slot]);
}

using Query = HRESULT (*)(Object*, const std::uint8_t*, void**);
using Count = ULONG (*)(Object*);
using GetText = HRESULT (*)(Object*, wchar_t**);
using PutText = HRESULT (*)(Object*, const wchar_t*);
using AddHandler = HRESULT (*)(Object*, Object*, std::int64_t*);
using RemoveHandler = HRESULT (*)(Object*, std::int64_t);
using WithTextAndHandler = HRESULT (*)(Object*, const wchar_t*, Object*);
using PutRect = HRESULT (*)(Object*, const std::int32_t*);
using GetRect = HRESULT (*)(Object*, std::int32_t*);
using GetInt = HRESULT (*)(Object*, std::int32_t*);
using PutInt = HRESULT (*)(Object*, std::int32_t);
using GetDouble = HRESULT (*)(Object*, double*);
using GetObject_ = HRESULT (*)(Object*, Object**);
using Plain = HRESULT (*)(Object*);
using CreateController = HRESULT (*)(Object*, HWND, Object*);
using CreateEnvironment = HRESULT (*)(const wchar_t*, const wchar_t*, Object*, Object*);

constexpr std::uint8_t kUnknownIid[16] = {0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
                                          0xc0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46};
constexpr std::uint8_t kEnvironmentIid[16] = {0x5e, 0x75, 0x6d, 0xb9, 0x19, 0x03, 0x92, 0x4e,
                                              0xa2, 0x96, 0x23, 0x43, 0x6f, 0x46, 0xa1, 0xfc};
constexpr std::uint8_t kControllerIid[16] = {0xd1, 0xc0, 0x00, 0x4d, 0x34, 0x94, 0xb6, 0x4e,
                                             0x80, 0x78, 0x86, 0x97, 0xa5, 0x60, 0x33, 0x4f};
constexpr std::uint8_t kWebViewIid[16] = {0xcb, 0xea, 0xec, 0x76, 0x62, 0x04, 0x94, 0x4d,
                                          0xac, 0x83, 0x42, 0x3a, 0x67, 0x93, 0x77, 0x5e};
constexpr std::uint8_t kMessageArgsIid[16] = {0x0c, 0xa4, 0x99, 0x0f, 0x62, 0xe9, 0x07, 0x42,
                                              0x9e, 0x92, 0xe3, 0xd5, 0x42, 0xef, 0xf8, 0x49};
constexpr std::uint8_t kStartingArgsIid[16] = {0x69, 0x54, 0x49, 0x5b, 0x19, 0xe1, 0x8a, 0x43,
                                               0x9b, 0x18, 0x76, 0x04, 0xf2, 0x5f, 0x2e, 0x49};
constexpr std::uint8_t kWindowArgsIid[16] = {0x1c, 0xb1, 0xac, 0x34, 0x37, 0xfc, 0x18, 0x44,
                                             0x91, 0x32, 0xf9, 0xc2, 0x1d, 0x1e, 0xaf, 0xb9};

// A handler as a C program makes it: a table of four functions and a count of references. It keeps
// the arguments of its last invocation; KeepObject also takes a reference to the object.
struct Handler {
  void** table;
  LONG references = 1;
  int invocations = 0;
  std::intptr_t first = 0;
  Object* object = nullptr;
  std::wstring text;
  void (*onInvoke)(Handler*, Object* second) = nullptr;
};

HRESULT HandlerQuery(Object*, const std::uint8_t*, void** out) {
  *out = nullptr;
  return E_NOINTERFACE;
}
ULONG HandlerAddRef(Object* self) {
  return static_cast<ULONG>(InterlockedIncrement(&static_cast<Handler*>(self)->references));
}
ULONG HandlerRelease(Object* self) {  // the handler lives on the stack, so this only counts
  return static_cast<ULONG>(InterlockedDecrement(&static_cast<Handler*>(self)->references));
}
HRESULT HandlerInvoke(Object* self, std::intptr_t first, Object* second) {
  auto* handler = static_cast<Handler*>(self);
  ++handler->invocations;
  handler->first = first;
  if (handler->onInvoke) handler->onInvoke(handler, second);
  return S_OK;
}

void* handlerTable[] = {
    reinterpret_cast<void*>(&HandlerQuery), reinterpret_cast<void*>(&HandlerAddRef),
    reinterpret_cast<void*>(&HandlerRelease), reinterpret_cast<void*>(&HandlerInvoke)};

void KeepObject(Handler* handler, Object* second) {
  if (second) Slot<Count>(second, 1)(second);
  handler->object = second;
}
void KeepText(Handler* handler, Object* second) {
  handler->text = second ? static_cast<const wchar_t*>(second) : L"";
}

Handler MakeHandler(void (*onInvoke)(Handler*, Object*)) {
  Handler handler{};
  handler.table = handlerTable;
  handler.references = 1;
  handler.onInvoke = onInvoke;
  return handler;
}

bool PumpFor(const Handler& handler) {
  const ULONGLONG deadline = GetTickCount64() + 20'000;
  while (handler.invocations == 0) {
    const ULONGLONG now = GetTickCount64();
    if (now >= deadline) return false;
    MsgWaitForMultipleObjectsEx(0, nullptr, static_cast<DWORD>(deadline - now), QS_ALLINPUT,
                                MWMO_INPUTAVAILABLE);
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
  }
  return true;
}

HMODULE LoadTheDll() {
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  std::wstring folder(path);
  folder.resize(folder.rfind(L'\\'));
  return LoadLibraryW((folder + L"\\..\\WebView2Loader.dll").c_str());
}

std::wstring TakeText(wchar_t* text) {
  const std::wstring copy = text ? text : L"";
  CoTaskMemFree(text);
  return copy;
}

bool Answers(Object* object, const std::uint8_t* iid) {
  void* found = nullptr;
  const HRESULT result = Slot<Query>(object, 0)(object, iid, &found);
  if (found) Slot<Count>(object, 2)(object);
  return result == S_OK && found == object;
}

std::wstring PageUrl(const wchar_t* body) {
  wchar_t port[16] = {};
  GetEnvironmentVariableW(L"RUNTIME_TEST_PORT", port, 16);
  return std::wstring(L"http://127.0.0.1:") + port + L"/page?body=" + body;
}

class LoaderAbi : public testing::Test {
 protected:
  void SetUp() override {
    const HMODULE dll = LoadTheDll();
    ASSERT_NE(dll, nullptr);
    const auto create = reinterpret_cast<CreateEnvironment>(
        reinterpret_cast<void*>(GetProcAddress(dll, "CreateCoreWebView2EnvironmentWithOptions")));
    ASSERT_NE(create, nullptr);
    Handler handler = MakeHandler(KeepObject);
    ASSERT_EQ(create(nullptr, nullptr, nullptr, &handler), S_OK);
    EXPECT_EQ(handler.references, 2) << "the DLL holds the handler";
    ASSERT_TRUE(PumpFor(handler));
    EXPECT_EQ(handler.first, S_OK);
    environment_ = handler.object;
    ASSERT_NE(environment_, nullptr);
    window_ = CreateWindowExW(0, L"STATIC", L"abi", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 400,
                              300, nullptr, nullptr, nullptr, nullptr);
    Handler controllerHandler = MakeHandler(KeepObject);
    ASSERT_EQ(Slot<CreateController>(environment_, 3)(environment_, window_, &controllerHandler),
              S_OK);
    ASSERT_TRUE(PumpFor(controllerHandler));
    controller_ = controllerHandler.object;
    ASSERT_NE(controller_, nullptr);
    ASSERT_EQ(Slot<GetObject_>(controller_, 25)(controller_, &view_), S_OK);
    ASSERT_NE(view_, nullptr);
  }

  void TearDown() override {
    if (controller_) {
      EXPECT_EQ(Slot<Plain>(controller_, 24)(controller_), S_OK);
    }
    for (Object* object : {view_, controller_, environment_})
      if (object) Slot<Count>(object, 2)(object);
    DestroyWindow(window_);
  }

  void LoadPage(const wchar_t* body) {
    ASSERT_EQ(Slot<PutText>(view_, 5)(view_, PageUrl(body).c_str()), S_OK);
  }
  std::wstring Run(const wchar_t* script) {
    Handler handler = MakeHandler(KeepText);
    EXPECT_EQ(Slot<WithTextAndHandler>(view_, 29)(view_, script, &handler), S_OK);
    EXPECT_TRUE(PumpFor(handler));
    EXPECT_EQ(handler.first, S_OK);
    EXPECT_EQ(handler.references, 1) << "let go after the invocation";
    return handler.text;
  }

  HWND window_ = nullptr;
  Object* environment_ = nullptr;
  Object* controller_ = nullptr;
  Object* view_ = nullptr;
};

TEST_F(LoaderAbi, ObjectsHaveTheirDocumentedInterfaces) {
  EXPECT_TRUE(Answers(environment_, kUnknownIid));
  EXPECT_TRUE(Answers(environment_, kEnvironmentIid));
  EXPECT_FALSE(Answers(environment_, kWebViewIid));
  EXPECT_TRUE(Answers(controller_, kControllerIid));
  EXPECT_TRUE(Answers(view_, kWebViewIid));
  EXPECT_FALSE(Answers(view_, kControllerIid));
}

TEST_F(LoaderAbi, ControllerKeepsPlaceAndVisibility) {
  const std::int32_t bounds[4] = {3, 5, 203, 155};
  EXPECT_EQ(Slot<PutRect>(controller_, 6)(controller_, bounds), S_OK);
  std::int32_t read[4] = {};
  EXPECT_EQ(Slot<GetRect>(controller_, 5)(controller_, read), S_OK);
  EXPECT_EQ(std::memcmp(read, bounds, sizeof bounds), 0);
  EXPECT_EQ(Run(L"innerWidth * 1000 + innerHeight"), L"200150");
  EXPECT_EQ(Slot<PutInt>(controller_, 4)(controller_, 0), S_OK);
  std::int32_t visible = 1;
  EXPECT_EQ(Slot<GetInt>(controller_, 3)(controller_, &visible), S_OK);
  EXPECT_EQ(visible, 0);
  double zoom = 0;
  EXPECT_EQ(Slot<GetDouble>(controller_, 7)(controller_, &zoom), S_OK);
  EXPECT_EQ(zoom, 1.0);
  HWND parent = nullptr;
  EXPECT_EQ(Slot<GetObject_>(controller_, 21)(controller_, reinterpret_cast<Object**>(&parent)),
            S_OK);
  EXPECT_EQ(parent, window_);
}

TEST_F(LoaderAbi, WebViewRunsScriptsAndKnowsItsSource) {
  wchar_t* source = nullptr;
  EXPECT_EQ(Slot<GetText>(view_, 4)(view_, &source), S_OK);
  EXPECT_EQ(TakeText(source), L"about:blank");
  EXPECT_EQ(Run(L"'te' + 'xt'"), L"\"text\"");
}

TEST_F(LoaderAbi, MessagesComeThroughSlotThirtyFour) {
  Handler handler = MakeHandler(KeepObject);
  std::int64_t token = 0;
  ASSERT_EQ(Slot<AddHandler>(view_, 34)(view_, &handler, &token), S_OK);
  EXPECT_NE(token, 0);
  LoadPage(L"<script>chrome.webview.postMessage('x')</script>");
  ASSERT_TRUE(PumpFor(handler));
  EXPECT_EQ(reinterpret_cast<Object*>(handler.first), view_) << "the sender";
  Object* const args = handler.object;
  EXPECT_TRUE(Answers(args, kMessageArgsIid));
  wchar_t* text = nullptr;
  EXPECT_EQ(Slot<GetText>(args, 4)(args, &text), S_OK);
  EXPECT_EQ(TakeText(text), L"\"x\"");
  EXPECT_EQ(Slot<GetText>(args, 5)(args, &text), S_OK);
  EXPECT_EQ(TakeText(text), L"x");
  EXPECT_EQ(Slot<GetText>(args, 3)(args, &text), S_OK);
  EXPECT_EQ(TakeText(text).rfind(L"http://127.0.0.1:", 0), 0u);
  Slot<Count>(args, 2)(args);
  EXPECT_EQ(handler.references, 2);
  EXPECT_EQ(Slot<RemoveHandler>(view_, 35)(view_, token), S_OK);
  EXPECT_EQ(handler.references, 1);
}

TEST_F(LoaderAbi, NavigationStartsThroughSlotSeven) {
  Handler handler = MakeHandler(KeepObject);
  std::int64_t token = 0;
  ASSERT_EQ(Slot<AddHandler>(view_, 7)(view_, &handler, &token), S_OK);
  LoadPage(L"hello");
  ASSERT_TRUE(PumpFor(handler));
  Object* const args = handler.object;
  EXPECT_TRUE(Answers(args, kStartingArgsIid));
  wchar_t* uri = nullptr;
  EXPECT_EQ(Slot<GetText>(args, 3)(args, &uri), S_OK);
  EXPECT_EQ(TakeText(uri), PageUrl(L"hello"));
  std::int32_t value = -1;
  EXPECT_EQ(Slot<GetInt>(args, 4)(args, &value), S_OK);
  EXPECT_EQ(value, 1);
  EXPECT_EQ(Slot<GetInt>(args, 5)(args, &value), S_OK);
  EXPECT_EQ(value, 0);
  EXPECT_EQ(Slot<PutInt>(args, 8)(args, 1), S_OK);
  EXPECT_EQ(Slot<GetInt>(args, 7)(args, &value), S_OK);
  EXPECT_EQ(value, 1);
  Slot<Count>(args, 2)(args);
  EXPECT_EQ(Slot<RemoveHandler>(view_, 8)(view_, token), S_OK);
}

TEST_F(LoaderAbi, NewWindowsAreAskedForThroughSlotFortyFour) {
  Handler handler = MakeHandler(KeepObject);
  std::int64_t token = 0;
  ASSERT_EQ(Slot<AddHandler>(view_, 44)(view_, &handler, &token), S_OK);
  Run(L"window.open('http://w.test/')");
  ASSERT_TRUE(PumpFor(handler));
  Object* const args = handler.object;
  EXPECT_TRUE(Answers(args, kWindowArgsIid));
  wchar_t* uri = nullptr;
  EXPECT_EQ(Slot<GetText>(args, 3)(args, &uri), S_OK);
  EXPECT_EQ(TakeText(uri), L"http://w.test/");
  EXPECT_EQ(Slot<PutInt>(args, 6)(args, 1), S_OK);
  std::int32_t value = 0;
  EXPECT_EQ(Slot<GetInt>(args, 7)(args, &value), S_OK);
  EXPECT_EQ(value, 1);
  EXPECT_EQ(Slot<GetInt>(args, 8)(args, &value), S_OK);
  EXPECT_EQ(value, 0);
  Slot<Count>(args, 2)(args);
  EXPECT_EQ(Slot<RemoveHandler>(view_, 45)(view_, token), S_OK);
}

TEST_F(LoaderAbi, DocumentScriptsAreAddedThroughSlotTwentySeven) {
  Handler handler = MakeHandler(KeepText);
  ASSERT_EQ(Slot<WithTextAndHandler>(view_, 27)(view_, L"window.mark = 1", &handler), S_OK);
  ASSERT_TRUE(PumpFor(handler));
  EXPECT_EQ(handler.first, S_OK);
  EXPECT_FALSE(handler.text.empty());
  EXPECT_EQ(Slot<PutText>(view_, 28)(view_, handler.text.c_str()), S_OK);
  EXPECT_EQ(Slot<Plain>(view_, 31)(view_), S_OK) << "Reload";
}

TEST_F(LoaderAbi, MethodsThatAreNotOfferedFail) {
  Object* settings = &settings;
  EXPECT_EQ(Slot<GetObject_>(view_, 3)(view_, &settings), E_NOTIMPL);
  EXPECT_EQ(settings, nullptr);
  EXPECT_EQ(Slot<Plain>(view_, 40)(view_), E_NOTIMPL);
  EXPECT_EQ(Slot<PutText>(view_, 33)(view_, L"x"), E_NOTIMPL);
}

}  // namespace
