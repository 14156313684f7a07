#include "webview/com_impl_win.h"

#include <memory>
#include <utility>

#include <gtest/gtest.h>

namespace wendra {
namespace {

using Handler = ICoreWebView2WebMessageReceivedEventHandler;
using Impl = WendraComImpl<Handler>;

// An exception that reaches Invoke ends the program; an end-to-end test checks that.
static_assert(noexcept(std::declval<Impl&>().Invoke(nullptr, nullptr)));

TEST(WendraComImpl, AnswersItsOwnInterfaceAndIUnknown) {
  const auto handler = Impl::Make();
  for (const GUID& iid : {kIidOf<Handler>, kIidOf<IUnknown>}) {
    void* object = nullptr;
    EXPECT_EQ(handler->QueryInterface(iid, &object), S_OK);
    EXPECT_EQ(object, handler.Get());
    EXPECT_EQ(handler->Release(), 1u);  // the query had added a reference
  }
}

TEST(WendraComImpl, RefusesOtherInterfaces) {
  const auto handler = Impl::Make();
  int something = 0;
  void* object = &something;
  EXPECT_EQ(handler->QueryInterface(kIidOf<ICoreWebView2>, &object), E_NOINTERFACE);
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(handler->QueryInterface(kIidOf<Handler>, nullptr), E_POINTER);
  EXPECT_EQ(handler->AddRef(), 2u);
  EXPECT_EQ(handler->Release(), 1u);
}

TEST(WendraComImpl, DeletesItselfWithTheLastReference) {
  const auto alive = std::make_shared<int>();
  auto handler = Impl::Make(
      [alive](ICoreWebView2*, ICoreWebView2WebMessageReceivedEventArgs*) { (void)alive; });
  EXPECT_EQ(alive.use_count(), 2);
  handler->AddRef();
  Handler* second = handler.Get();
  handler.Reset();
  EXPECT_EQ(alive.use_count(), 2);
  EXPECT_EQ(second->Release(), 0u);
  EXPECT_EQ(alive.use_count(), 1);
}

TEST(WendraComImpl, PassesTheArgumentsToTheCallableAndSucceeds) {
  auto* const sender = reinterpret_cast<ICoreWebView2*>(0x10);
  auto* const args = reinterpret_cast<ICoreWebView2WebMessageReceivedEventArgs*>(0x20);
  int calls = 0;
  const auto handler =
      Impl::Make([&](ICoreWebView2* s, ICoreWebView2WebMessageReceivedEventArgs* a) {
        ++calls;
        EXPECT_EQ(s, sender);
        EXPECT_EQ(a, args);
      });
  EXPECT_EQ(handler->Invoke(sender, args), S_OK);
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(Impl::Make()->Invoke(sender, args), S_OK);  // without a callable
}

}  // namespace
}  // namespace wendra
