// Tests that each method in the header calls through the slot that the platform documents for it,
// and that its arguments are where the platform's calling convention puts them. The slot numbers
// below are written by hand; none is derived from the header.
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include <gtest/gtest.h>

#include "webview/webview2_events_win.h"

namespace wendra {
namespace {

struct Recorded {
  int slot = -1;
  std::uintptr_t arguments[5] = {};
  double number = 0;
  RECT rect{};
};
Recorded recorded;

// The function in slot kSlot of a table. Arguments that the caller has not passed have random
// values, which no test checks.
template <int kSlot>
HRESULT STDMETHODCALLTYPE Integers(void*, std::uintptr_t a, std::uintptr_t b, std::uintptr_t c,
                                   std::uintptr_t d, std::uintptr_t e) {
  recorded = {};
  recorded.slot = kSlot;
  const std::uintptr_t arguments[] = {a, b, c, d, e};
  std::memcpy(recorded.arguments, arguments, sizeof arguments);
  return 0x100 + kSlot;
}

using Function = HRESULT(STDMETHODCALLTYPE*)(void*, std::uintptr_t, std::uintptr_t, std::uintptr_t,
                                             std::uintptr_t, std::uintptr_t);

template <int... kSlots>
constexpr std::array<Function, sizeof...(kSlots)> MakeTable(std::integer_sequence<int, kSlots...>) {
  return {&Integers<kSlots>...};
}

// An object that consists of a pointer to a table of 64 functions, which record their slot.
struct Fake {
  const Function* table;
};
constexpr auto kTable = MakeTable(std::make_integer_sequence<int, 64>());
Fake fake{kTable.data()};
// Volatile: the compiler must not know which object it points to.
void* volatile fakeAddress = &fake;

template <typename Interface>
Interface& As() {
  return *static_cast<Interface*>(fakeAddress);
}

template <typename Interface>
struct Row {
  int slot;
  const char* method;
  HRESULT (*call)(Interface&);
};

template <typename Interface, size_t kCount>
void ExpectSlots(const Row<Interface> (&rows)[kCount], int slots) {
  EXPECT_EQ(static_cast<int>(kCount), slots) << "every slot has its row";
  for (size_t i = 0; i < kCount; ++i) {
    const Row<Interface>& row = rows[i];
    EXPECT_EQ(row.slot, static_cast<int>(i)) << row.method;
    recorded = {};
    const HRESULT result = row.call(As<Interface>());
    EXPECT_EQ(recorded.slot, row.slot) << row.method;
    EXPECT_EQ(result, 0x100 + row.slot) << row.method;
  }
}

// The three methods of IUnknown. AddRef and Release return ULONG.
template <typename Interface>
HRESULT Query(Interface& object) {
  return object.QueryInterface(GUID{}, nullptr);
}
template <typename Interface>
HRESULT Add(Interface& object) {
  return static_cast<HRESULT>(object.AddRef());
}
template <typename Interface>
HRESULT Drop(Interface& object) {
  return static_cast<HRESULT>(object.Release());
}

constexpr EventRegistrationToken kToken{0x1122334455667788};

TEST(VtableLayout, EnvironmentHasEightSlots) {
  using I = ICoreWebView2Environment;
  const Row<I> rows[] = {
      {0, "QueryInterface", Query<I>},
      {1, "AddRef", Add<I>},
      {2, "Release", Drop<I>},
      {3, "CreateCoreWebView2Controller",
       [](I& e) { return e.CreateCoreWebView2Controller(nullptr, nullptr); }},
      {4, "CreateWebResourceResponse",
       [](I& e) { return e.CreateWebResourceResponse(nullptr, 0, nullptr, nullptr, nullptr); }},
      {5, "get_BrowserVersionString", [](I& e) { return e.get_BrowserVersionString(nullptr); }},
      {6, "add_NewBrowserVersionAvailable",
       [](I& e) { return e.add_NewBrowserVersionAvailable(nullptr, nullptr); }},
      {7, "remove_NewBrowserVersionAvailable",
       [](I& e) { return e.remove_NewBrowserVersionAvailable(kToken); }},
  };
  ExpectSlots(rows, 8);
}

TEST(VtableLayout, ControllerHasTwentySixSlots) {
  using I = ICoreWebView2Controller;
  const Row<I> rows[] = {
      {0, "QueryInterface", Query<I>},
      {1, "AddRef", Add<I>},
      {2, "Release", Drop<I>},
      {3, "get_IsVisible", [](I& c) { return c.get_IsVisible(nullptr); }},
      {4, "put_IsVisible", [](I& c) { return c.put_IsVisible(TRUE); }},
      {5, "get_Bounds", [](I& c) { return c.get_Bounds(nullptr); }},
      {6, "put_Bounds", [](I& c) { return c.put_Bounds(RECT{}); }},
      {7, "get_ZoomFactor", [](I& c) { return c.get_ZoomFactor(nullptr); }},
      {8, "put_ZoomFactor", [](I& c) { return c.put_ZoomFactor(1.0); }},
      {9, "add_ZoomFactorChanged", [](I& c) { return c.add_ZoomFactorChanged(nullptr, nullptr); }},
      {10, "remove_ZoomFactorChanged", [](I& c) { return c.remove_ZoomFactorChanged(kToken); }},
      {11, "SetBoundsAndZoomFactor", [](I& c) { return c.SetBoundsAndZoomFactor(RECT{}, 1.0); }},
      {12, "MoveFocus",
       [](I& c) { return c.MoveFocus(COREWEBVIEW2_MOVE_FOCUS_REASON_PROGRAMMATIC); }},
      {13, "add_MoveFocusRequested",
       [](I& c) { return c.add_MoveFocusRequested(nullptr, nullptr); }},
      {14, "remove_MoveFocusRequested", [](I& c) { return c.remove_MoveFocusRequested(kToken); }},
      {15, "add_GotFocus", [](I& c) { return c.add_GotFocus(nullptr, nullptr); }},
      {16, "remove_GotFocus", [](I& c) { return c.remove_GotFocus(kToken); }},
      {17, "add_LostFocus", [](I& c) { return c.add_LostFocus(nullptr, nullptr); }},
      {18, "remove_LostFocus", [](I& c) { return c.remove_LostFocus(kToken); }},
      {19, "add_AcceleratorKeyPressed",
       [](I& c) { return c.add_AcceleratorKeyPressed(nullptr, nullptr); }},
      {20, "remove_AcceleratorKeyPressed",
       [](I& c) { return c.remove_AcceleratorKeyPressed(kToken); }},
      {21, "get_ParentWindow", [](I& c) { return c.get_ParentWindow(nullptr); }},
      {22, "put_ParentWindow", [](I& c) { return c.put_ParentWindow(nullptr); }},
      {23, "NotifyParentWindowPositionChanged",
       [](I& c) { return c.NotifyParentWindowPositionChanged(); }},
      {24, "Close", [](I& c) { return c.Close(); }},
      {25, "get_CoreWebView2", [](I& c) { return c.get_CoreWebView2(nullptr); }},
  };
  ExpectSlots(rows, 26);
}

TEST(VtableLayout, WebViewHasSixtyOneSlots) {
  using I = ICoreWebView2;
  const Row<I> rows[] = {
      {0, "QueryInterface", Query<I>},
      {1, "AddRef", Add<I>},
      {2, "Release", Drop<I>},
      {3, "get_Settings", [](I& v) { return v.get_Settings(nullptr); }},
      {4, "get_Source", [](I& v) { return v.get_Source(nullptr); }},
      {5, "Navigate", [](I& v) { return v.Navigate(nullptr); }},
      {6, "NavigateToString", [](I& v) { return v.NavigateToString(nullptr); }},
      {7, "add_NavigationStarting",
       [](I& v) { return v.add_NavigationStarting(nullptr, nullptr); }},
      {8, "remove_NavigationStarting", [](I& v) { return v.remove_NavigationStarting(kToken); }},
      {9, "add_ContentLoading", [](I& v) { return v.add_ContentLoading(nullptr, nullptr); }},
      {10, "remove_ContentLoading", [](I& v) { return v.remove_ContentLoading(kToken); }},
      {11, "add_SourceChanged", [](I& v) { return v.add_SourceChanged(nullptr, nullptr); }},
      {12, "remove_SourceChanged", [](I& v) { return v.remove_SourceChanged(kToken); }},
      {13, "add_HistoryChanged", [](I& v) { return v.add_HistoryChanged(nullptr, nullptr); }},
      {14, "remove_HistoryChanged", [](I& v) { return v.remove_HistoryChanged(kToken); }},
      {15, "add_NavigationCompleted",
       [](I& v) { return v.add_NavigationCompleted(nullptr, nullptr); }},
      {16, "remove_NavigationCompleted", [](I& v) { return v.remove_NavigationCompleted(kToken); }},
      {17, "add_FrameNavigationStarting",
       [](I& v) { return v.add_FrameNavigationStarting(nullptr, nullptr); }},
      {18, "remove_FrameNavigationStarting",
       [](I& v) { return v.remove_FrameNavigationStarting(kToken); }},
      {19, "add_FrameNavigationCompleted",
       [](I& v) { return v.add_FrameNavigationCompleted(nullptr, nullptr); }},
      {20, "remove_FrameNavigationCompleted",
       [](I& v) { return v.remove_FrameNavigationCompleted(kToken); }},
      {21, "add_ScriptDialogOpening",
       [](I& v) { return v.add_ScriptDialogOpening(nullptr, nullptr); }},
      {22, "remove_ScriptDialogOpening", [](I& v) { return v.remove_ScriptDialogOpening(kToken); }},
      {23, "add_PermissionRequested",
       [](I& v) { return v.add_PermissionRequested(nullptr, nullptr); }},
      {24, "remove_PermissionRequested", [](I& v) { return v.remove_PermissionRequested(kToken); }},
      {25, "add_ProcessFailed", [](I& v) { return v.add_ProcessFailed(nullptr, nullptr); }},
      {26, "remove_ProcessFailed", [](I& v) { return v.remove_ProcessFailed(kToken); }},
      {27, "AddScriptToExecuteOnDocumentCreated",
       [](I& v) { return v.AddScriptToExecuteOnDocumentCreated(nullptr, nullptr); }},
      {28, "RemoveScriptToExecuteOnDocumentCreated",
       [](I& v) { return v.RemoveScriptToExecuteOnDocumentCreated(nullptr); }},
      {29, "ExecuteScript", [](I& v) { return v.ExecuteScript(nullptr, nullptr); }},
      {30, "CapturePreview",
       [](I& v) {
         return v.CapturePreview(COREWEBVIEW2_CAPTURE_PREVIEW_IMAGE_FORMAT{}, nullptr, nullptr);
       }},
      {31, "Reload", [](I& v) { return v.Reload(); }},
      {32, "PostWebMessageAsJson", [](I& v) { return v.PostWebMessageAsJson(nullptr); }},
      {33, "PostWebMessageAsString", [](I& v) { return v.PostWebMessageAsString(nullptr); }},
      {34, "add_WebMessageReceived",
       [](I& v) { return v.add_WebMessageReceived(nullptr, nullptr); }},
      {35, "remove_WebMessageReceived", [](I& v) { return v.remove_WebMessageReceived(kToken); }},
      {36, "CallDevToolsProtocolMethod",
       [](I& v) { return v.CallDevToolsProtocolMethod(nullptr, nullptr, nullptr); }},
      {37, "get_BrowserProcessId", [](I& v) { return v.get_BrowserProcessId(nullptr); }},
      {38, "get_CanGoBack", [](I& v) { return v.get_CanGoBack(nullptr); }},
      {39, "get_CanGoForward", [](I& v) { return v.get_CanGoForward(nullptr); }},
      {40, "GoBack", [](I& v) { return v.GoBack(); }},
      {41, "GoForward", [](I& v) { return v.GoForward(); }},
      {42, "GetDevToolsProtocolEventReceiver",
       [](I& v) { return v.GetDevToolsProtocolEventReceiver(nullptr, nullptr); }},
      {43, "Stop", [](I& v) { return v.Stop(); }},
      {44, "add_NewWindowRequested",
       [](I& v) { return v.add_NewWindowRequested(nullptr, nullptr); }},
      {45, "remove_NewWindowRequested", [](I& v) { return v.remove_NewWindowRequested(kToken); }},
      {46, "add_DocumentTitleChanged",
       [](I& v) { return v.add_DocumentTitleChanged(nullptr, nullptr); }},
      {47, "remove_DocumentTitleChanged",
       [](I& v) { return v.remove_DocumentTitleChanged(kToken); }},
      {48, "get_DocumentTitle", [](I& v) { return v.get_DocumentTitle(nullptr); }},
      {49, "AddHostObjectToScript", [](I& v) { return v.AddHostObjectToScript(nullptr, nullptr); }},
      {50, "RemoveHostObjectFromScript",
       [](I& v) { return v.RemoveHostObjectFromScript(nullptr); }},
      {51, "OpenDevToolsWindow", [](I& v) { return v.OpenDevToolsWindow(); }},
      {52, "add_ContainsFullScreenElementChanged",
       [](I& v) { return v.add_ContainsFullScreenElementChanged(nullptr, nullptr); }},
      {53, "remove_ContainsFullScreenElementChanged",
       [](I& v) { return v.remove_ContainsFullScreenElementChanged(kToken); }},
      {54, "get_ContainsFullScreenElement",
       [](I& v) { return v.get_ContainsFullScreenElement(nullptr); }},
      {55, "add_WebResourceRequested",
       [](I& v) { return v.add_WebResourceRequested(nullptr, nullptr); }},
      {56, "remove_WebResourceRequested",
       [](I& v) { return v.remove_WebResourceRequested(kToken); }},
      {57, "AddWebResourceRequestedFilter",
       [](I& v) {
         return v.AddWebResourceRequestedFilter(nullptr, COREWEBVIEW2_WEB_RESOURCE_CONTEXT{});
       }},
      {58, "RemoveWebResourceRequestedFilter",
       [](I& v) {
         return v.RemoveWebResourceRequestedFilter(nullptr, COREWEBVIEW2_WEB_RESOURCE_CONTEXT{});
       }},
      {59, "add_WindowCloseRequested",
       [](I& v) { return v.add_WindowCloseRequested(nullptr, nullptr); }},
      {60, "remove_WindowCloseRequested",
       [](I& v) { return v.remove_WindowCloseRequested(kToken); }},
  };
  ExpectSlots(rows, 61);
}

TEST(VtableLayout, NavigationStartingArgsHaveTenSlots) {
  using I = ICoreWebView2NavigationStartingEventArgs;
  const Row<I> rows[] = {
      {0, "QueryInterface", Query<I>},
      {1, "AddRef", Add<I>},
      {2, "Release", Drop<I>},
      {3, "get_Uri", [](I& a) { return a.get_Uri(nullptr); }},
      {4, "get_IsUserInitiated", [](I& a) { return a.get_IsUserInitiated(nullptr); }},
      {5, "get_IsRedirected", [](I& a) { return a.get_IsRedirected(nullptr); }},
      {6, "get_RequestHeaders", [](I& a) { return a.get_RequestHeaders(nullptr); }},
      {7, "get_Cancel", [](I& a) { return a.get_Cancel(nullptr); }},
      {8, "put_Cancel", [](I& a) { return a.put_Cancel(TRUE); }},
      {9, "get_NavigationId", [](I& a) { return a.get_NavigationId(nullptr); }},
  };
  ExpectSlots(rows, 10);
}

TEST(VtableLayout, NewWindowArgsHaveElevenSlotsAndPutBeforeGet) {
  using I = ICoreWebView2NewWindowRequestedEventArgs;
  const Row<I> rows[] = {
      {0, "QueryInterface", Query<I>},
      {1, "AddRef", Add<I>},
      {2, "Release", Drop<I>},
      {3, "get_Uri", [](I& a) { return a.get_Uri(nullptr); }},
      {4, "put_NewWindow", [](I& a) { return a.put_NewWindow(nullptr); }},
      {5, "get_NewWindow", [](I& a) { return a.get_NewWindow(nullptr); }},
      {6, "put_Handled", [](I& a) { return a.put_Handled(TRUE); }},
      {7, "get_Handled", [](I& a) { return a.get_Handled(nullptr); }},
      {8, "get_IsUserInitiated", [](I& a) { return a.get_IsUserInitiated(nullptr); }},
      {9, "GetDeferral", [](I& a) { return a.GetDeferral(nullptr); }},
      {10, "get_WindowFeatures", [](I& a) { return a.get_WindowFeatures(nullptr); }},
  };
  ExpectSlots(rows, 11);
}

TEST(VtableLayout, WebMessageArgsHaveSixSlots) {
  using I = ICoreWebView2WebMessageReceivedEventArgs;
  const Row<I> rows[] = {
      {0, "QueryInterface", Query<I>},
      {1, "AddRef", Add<I>},
      {2, "Release", Drop<I>},
      {3, "get_Source", [](I& a) { return a.get_Source(nullptr); }},
      {4, "get_WebMessageAsJson", [](I& a) { return a.get_WebMessageAsJson(nullptr); }},
      {5, "TryGetWebMessageAsString", [](I& a) { return a.TryGetWebMessageAsString(nullptr); }},
  };
  ExpectSlots(rows, 6);
}

// Invoke is slot 3 of each of the seven handler interfaces.
template <typename Handler, typename First, typename Second>
void ExpectInvokeAtThree(First first, Second second) {
  recorded = {};
  EXPECT_EQ(As<Handler>().Invoke(first, second), 0x103);
  EXPECT_EQ(recorded.slot, 3);
  EXPECT_EQ(recorded.arguments[1], reinterpret_cast<std::uintptr_t>(second));
}

template <typename T>
T* Pointer(std::uintptr_t value) {
  return reinterpret_cast<T*>(value);
}

TEST(VtableLayout, HandlersAreInvokedThroughSlotThree) {
  ExpectInvokeAtThree<ICoreWebView2CreateCoreWebView2EnvironmentCompletedHandler>(
      E_FAIL, Pointer<ICoreWebView2Environment>(0x1230));
  EXPECT_EQ(static_cast<HRESULT>(recorded.arguments[0]), E_FAIL);
  ExpectInvokeAtThree<ICoreWebView2CreateCoreWebView2ControllerCompletedHandler>(
      S_OK, Pointer<ICoreWebView2Controller>(0x1240));
  ExpectInvokeAtThree<ICoreWebView2AddScriptToExecuteOnDocumentCreatedCompletedHandler>(
      S_OK, Pointer<const wchar_t>(0x1250));
  ExpectInvokeAtThree<ICoreWebView2ExecuteScriptCompletedHandler>(S_OK,
                                                                  Pointer<const wchar_t>(0x1260));
  auto* const sender = Pointer<ICoreWebView2>(0x4560);
  ExpectInvokeAtThree<ICoreWebView2WebMessageReceivedEventHandler>(
      sender, Pointer<ICoreWebView2WebMessageReceivedEventArgs>(0x1270));
  EXPECT_EQ(recorded.arguments[0], 0x4560u);
  ExpectInvokeAtThree<ICoreWebView2NewWindowRequestedEventHandler>(
      sender, Pointer<ICoreWebView2NewWindowRequestedEventArgs>(0x1280));
  ExpectInvokeAtThree<ICoreWebView2NavigationStartingEventHandler>(
      sender, Pointer<ICoreWebView2NavigationStartingEventArgs>(0x1290));
}

TEST(VtableLayout, TokenTravelsAsEightBytesByValue) {
  static_assert(sizeof(EventRegistrationToken) == 8 && alignof(EventRegistrationToken) == 8);
  As<ICoreWebView2>().remove_WebMessageReceived(kToken);
  EXPECT_EQ(recorded.arguments[0], 0x1122334455667788u);
}

TEST(VtableLayout, BooleansAreFourBytesWide) {
  static_assert(sizeof(BOOL) == 4);
  As<ICoreWebView2Controller>().put_IsVisible(-7);
  EXPECT_EQ(static_cast<std::int32_t>(recorded.arguments[0]), -7);
}

TEST(VtableLayout, EnumerationsAreFourBytesWide) {
  static_assert(sizeof(COREWEBVIEW2_MOVE_FOCUS_REASON) == 4);
  static_assert(sizeof(COREWEBVIEW2_WEB_RESOURCE_CONTEXT) == 4);
  As<ICoreWebView2Controller>().MoveFocus(COREWEBVIEW2_MOVE_FOCUS_REASON_PREVIOUS);
  EXPECT_EQ(static_cast<std::int32_t>(recorded.arguments[0]), 2);
}

TEST(VtableLayout, FifthArgumentTravelsOnTheStack) {
  auto* const response = Pointer<ICoreWebView2WebResourceResponse*>(0x9870);
  As<ICoreWebView2Environment>().CreateWebResourceResponse(nullptr, 404, L"r", L"h", response);
  EXPECT_EQ(static_cast<int>(recorded.arguments[1]), 404);
  EXPECT_EQ(recorded.arguments[4], 0x9870u);
}

// A rectangle that is passed by value arrives as the address of a copy; a double arrives in the
// floating-point register of its position. These functions declare them as they arrive.
HRESULT STDMETHODCALLTYPE TakesDouble(void*, double number) {
  recorded.number = number;
  return S_OK;
}
HRESULT STDMETHODCALLTYPE TakesRect(void*, const RECT* rect) {
  recorded.rect = *rect;
  return S_OK;
}
HRESULT STDMETHODCALLTYPE TakesRectAndDouble(void*, const RECT* rect, double number) {
  recorded.rect = *rect;
  recorded.number = number;
  return S_OK;
}

class ControllerByValue : public testing::Test {
 protected:
  ControllerByValue() {
    recorded = {};
    table_[6] = reinterpret_cast<void*>(&TakesRect);
    table_[8] = reinterpret_cast<void*>(&TakesDouble);
    table_[11] = reinterpret_cast<void*>(&TakesRectAndDouble);
  }
  ICoreWebView2Controller& Controller() { return *static_cast<ICoreWebView2Controller*>(address_); }
  void ExpectRect(LONG left, LONG top, LONG right, LONG bottom) {
    EXPECT_EQ(recorded.rect.left, left);
    EXPECT_EQ(recorded.rect.top, top);
    EXPECT_EQ(recorded.rect.right, right);
    EXPECT_EQ(recorded.rect.bottom, bottom);
  }

 private:
  void* table_[26] = {};
  void** object_ = table_;
  void* volatile address_ = &object_;
};

TEST_F(ControllerByValue, RectangleArrives) {
  EXPECT_EQ(Controller().put_Bounds(RECT{-1, 22, 333, 4444}), S_OK);
  ExpectRect(-1, 22, 333, 4444);
}

TEST_F(ControllerByValue, DoubleArrives) {
  EXPECT_EQ(Controller().put_ZoomFactor(1.75), S_OK);
  EXPECT_EQ(recorded.number, 1.75);
}

TEST_F(ControllerByValue, RectangleAndDoubleArriveTogether) {
  EXPECT_EQ(Controller().SetBoundsAndZoomFactor(RECT{1, 2, 3, 4}, -0.5), S_OK);
  ExpectRect(1, 2, 3, 4);
  EXPECT_EQ(recorded.number, -0.5);
}

TEST(VtableLayout, IdentifiersAreThoseOfThePlatform) {
  const struct {
    const wchar_t* text;
    GUID declared;
  } rows[] = {
      {L"{00000000-0000-0000-c000-000000000046}", kIidOf<IUnknown>},
      {L"{b96d755e-0319-4e92-a296-23436f46a1fc}", kIidOf<ICoreWebView2Environment>},
      {L"{4d00c0d1-9434-4eb6-8078-8697a560334f}", kIidOf<ICoreWebView2Controller>},
      {L"{76eceacb-0462-4d94-ac83-423a6793775e}", kIidOf<ICoreWebView2>},
      {L"{5b495469-e119-438a-9b18-7604f25f2e49}", kIidOf<ICoreWebView2NavigationStartingEventArgs>},
      {L"{34acb11c-fc37-4418-9132-f9c21d1eafb9}", kIidOf<ICoreWebView2NewWindowRequestedEventArgs>},
      {L"{0f99a40c-e962-4207-9e92-e3d542eff849}", kIidOf<ICoreWebView2WebMessageReceivedEventArgs>},
      {L"{4e8a3389-c9d8-4bd2-b6b5-124fee6cc14d}",
       kIidOf<ICoreWebView2CreateCoreWebView2EnvironmentCompletedHandler>},
      {L"{6c4819f3-c9b7-4260-8127-c9f5bde7f68c}",
       kIidOf<ICoreWebView2CreateCoreWebView2ControllerCompletedHandler>},
      {L"{b99369f3-9b11-47b5-bc6f-8e7895fcea17}",
       kIidOf<ICoreWebView2AddScriptToExecuteOnDocumentCreatedCompletedHandler>},
      {L"{49511172-cc67-4bca-9923-137112f4c4cc}",
       kIidOf<ICoreWebView2ExecuteScriptCompletedHandler>},
      {L"{57213f19-00e6-49fa-8e07-898ea01ecbd2}",
       kIidOf<ICoreWebView2WebMessageReceivedEventHandler>},
      {L"{d4c185fe-c81c-4989-97af-2d3fa7ab5651}",
       kIidOf<ICoreWebView2NewWindowRequestedEventHandler>},
      {L"{9adbe429-f36d-432b-9ddc-f8881fbd76e3}",
       kIidOf<ICoreWebView2NavigationStartingEventHandler>},
  };
  for (const auto& row : rows) {
    GUID documented{};
    ASSERT_EQ(CLSIDFromString(row.text, &documented), S_OK);
    EXPECT_TRUE(documented == row.declared) << row.text;
  }
}

}  // namespace
}  // namespace wendra
