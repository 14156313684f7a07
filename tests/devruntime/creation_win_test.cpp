#include <optional>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "tests/devruntime/test_control_win.h"
#include "win/wide.h"

namespace wendra {
namespace {

constexpr HRESULT kNoRuntime = static_cast<HRESULT>(0x80070002);

struct Created {
  int invocations = 0;
  HRESULT error = S_OK;
  bool hasEnvironment = false;
  bool beforeReturn = false;
  DWORD thread = 0;
};

// Asks for an environment; with `wait` also waits until the handler is invoked.
HRESULT Ask(Created& created, bool wait) {
  bool returned = false;
  const auto handler =
      MakeHandler<EnvironmentHandler>([&](HRESULT error, ICoreWebView2Environment* environment) {
        ++created.invocations;
        created.error = error;
        created.hasEnvironment = environment != nullptr;
        created.beforeReturn = !returned;
        created.thread = GetCurrentThreadId();
      });
  const HRESULT result = CreateEnvironment()(nullptr, L"C:\\folder", nullptr, handler.Get());
  returned = true;
  if (wait) {
    EXPECT_TRUE(PumpUntil([&] { return created.invocations > 0; }));
  }
  return result;
}

TEST(Creation, EnvironmentComesLaterAndOnTheSameThread) {
  Created created;
  EXPECT_EQ(Ask(created, true), S_OK);
  EXPECT_EQ(created.invocations, 1);
  EXPECT_EQ(created.error, S_OK);
  EXPECT_TRUE(created.hasEnvironment);
  EXPECT_FALSE(created.beforeReturn);
  EXPECT_EQ(created.thread, GetCurrentThreadId());
}

TEST(Creation, FailsAtOnceWithoutARuntimeAndNeverInvokes) {
  const struct {
    const wchar_t* name;
    const wchar_t* value;
  } rows[] = {
      {L"WENDRA_DEV_NO_RUNTIME", L"1"},
      {L"WENDRA_DEV_CREATE", L"missing"},
      {L"WENDRA_DEV_BROWSER", L""},
  };
  for (const auto& row : rows) {
    const ScopedVariable variable(row.name, row.value);
    Created created;
    EXPECT_EQ(Ask(created, false), kNoRuntime) << Narrow(row.name);
    LPWSTR version = const_cast<LPWSTR>(L"not touched");
    EXPECT_EQ(GetVersion()(nullptr, &version), kNoRuntime);
    EXPECT_EQ(version, nullptr);
    PumpPending();
    EXPECT_EQ(created.invocations, 0);
  }
}

TEST(Creation, CanFailThroughTheHandler) {
  const ScopedVariable mode(L"WENDRA_DEV_CREATE", L"fail");
  Created created;
  EXPECT_EQ(Ask(created, true), S_OK);
  EXPECT_EQ(created.error, E_FAIL);
  EXPECT_FALSE(created.hasEnvironment);
}

TEST(Creation, CanInvokeBeforeTheCallReturns) {
  const ScopedVariable mode(L"WENDRA_DEV_CREATE", L"sync");
  Created created;
  EXPECT_EQ(Ask(created, false), S_OK);
  EXPECT_EQ(created.invocations, 1);
  EXPECT_TRUE(created.beforeReturn);
  EXPECT_TRUE(created.hasEnvironment);
}

TEST(Creation, FailsWhenTheBrowserNeverComes) {
  const ScopedVariable file(L"WENDRA_DEV_BROWSER", L"C:\\none\\DevToolsActivePort");
  const ScopedVariable wait(L"WENDRA_DEV_BROWSER_WAIT_MS", L"50");
  Created created;
  EXPECT_EQ(Ask(created, true), S_OK);
  EXPECT_EQ(created.error, E_FAIL);
  EXPECT_FALSE(created.hasEnvironment);
}

TEST(Creation, NeedsAHandler) {
  EXPECT_EQ(CreateEnvironment()(nullptr, nullptr, nullptr, nullptr), E_POINTER);
  EXPECT_EQ(GetVersion()(nullptr, nullptr), E_POINTER);
}

TEST(Creation, NeedsASingleThreadedApartment) {
  const struct {
    std::optional<DWORD> apartment;
    HRESULT expected;
  } rows[] = {
      {std::nullopt, CO_E_NOTINITIALIZED},
      {COINIT_MULTITHREADED, RPC_E_CHANGED_MODE},
      {COINIT_APARTMENTTHREADED, E_FAIL},  // the handler is invoked with the error
  };
  const ScopedVariable mode(L"WENDRA_DEV_CREATE", L"fail");
  for (const auto& row : rows) {
    HRESULT seen = S_OK;
    std::thread([&] {
      if (row.apartment) CoInitializeEx(nullptr, *row.apartment);
      Created created;
      seen = Ask(created, row.expected == E_FAIL);
      if (SUCCEEDED(seen)) seen = created.error;
      if (row.apartment) CoUninitialize();
    }).join();
    EXPECT_EQ(seen, row.expected);
  }
}

TEST(Creation, VersionIsThatOfTheBrowser) {
  LPWSTR version = nullptr;
  ASSERT_EQ(GetVersion()(nullptr, &version), S_OK);
  const std::string text = NarrowAndFree(version);
  EXPECT_NE(text.find('.'), std::string::npos) << text;
  EXPECT_EQ(text.find_first_not_of("0123456789."), std::string::npos) << text;
  TestControl control;
  LPWSTR same = nullptr;
  ASSERT_EQ(control.Environment().get_BrowserVersionString(&same), S_OK);
  EXPECT_EQ(NarrowAndFree(same), text);
}

TEST(Creation, ControllerComesAfterTheEnvironmentHandlerHasReturned) {
  const HWND window = MakeTestWindow();
  std::vector<std::string> order;
  const auto gotController =
      MakeHandler<ControllerHandler>([&](HRESULT error, ICoreWebView2Controller* controller) {
        order.push_back(SUCCEEDED(error) && controller ? "controller" : "failure");
      });
  const auto gotEnvironment =
      MakeHandler<EnvironmentHandler>([&](HRESULT, ICoreWebView2Environment* environment) {
        environment->CreateCoreWebView2Controller(window, gotController.Get());
        order.push_back("environment handler returns");
      });
  CreateEnvironment()(nullptr, nullptr, nullptr, gotEnvironment.Get());
  ASSERT_TRUE(PumpUntil([&] { return order.size() == 2; }));
  EXPECT_EQ(order, (std::vector<std::string>{"environment handler returns", "controller"}));
  DestroyWindow(window);
}

TEST(Creation, ControllerCanFail) {
  const ScopedVariable mode(L"WENDRA_DEV_CREATE", L"controller-fail");
  const HWND window = MakeTestWindow();
  HRESULT seen = S_OK;
  const auto gotController = MakeHandler<ControllerHandler>(
      [&](HRESULT error, ICoreWebView2Controller*) { seen = error; });
  const auto gotEnvironment =
      MakeHandler<EnvironmentHandler>([&](HRESULT, ICoreWebView2Environment* environment) {
        environment->CreateCoreWebView2Controller(window, gotController.Get());
      });
  CreateEnvironment()(nullptr, nullptr, nullptr, gotEnvironment.Get());
  ASSERT_TRUE(PumpUntil([&] { return FAILED(seen); }));
  EXPECT_EQ(seen, E_FAIL);
  DestroyWindow(window);
}

TEST(Creation, ControllerIsAbortedWhenItsParentIsDestroyed) {
  const HWND window = MakeTestWindow();
  HRESULT seen = S_OK;
  const auto gotController = MakeHandler<ControllerHandler>(
      [&](HRESULT error, ICoreWebView2Controller*) { seen = error; });
  const auto gotEnvironment =
      MakeHandler<EnvironmentHandler>([&](HRESULT, ICoreWebView2Environment* environment) {
        EXPECT_EQ(environment->CreateCoreWebView2Controller(window, gotController.Get()), S_OK);
        DestroyWindow(window);
      });
  CreateEnvironment()(nullptr, nullptr, nullptr, gotEnvironment.Get());
  ASSERT_TRUE(PumpUntil([&] { return FAILED(seen); }));
  EXPECT_EQ(seen, E_ABORT);
}

TEST(Creation, ObjectsHaveOnlyTheirOwnInterfaces) {
  TestControl control;
  IUnknown* const objects[] = {&control.Environment(), &control.Controller(), &control.View()};
  const GUID own[] = {kIidOf<ICoreWebView2Environment>, kIidOf<ICoreWebView2Controller>,
                      kIidOf<ICoreWebView2>};
  for (size_t i = 0; i < 3; ++i) {
    for (size_t k = 0; k < 3; ++k) {
      void* found = nullptr;
      EXPECT_EQ(objects[i]->QueryInterface(own[k], &found), i == k ? S_OK : E_NOINTERFACE);
      EXPECT_EQ(found, i == k ? objects[i] : nullptr);
      if (found) objects[i]->Release();
    }
  }
}

}  // namespace
}  // namespace wendra
