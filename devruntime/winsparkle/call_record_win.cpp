#include "devruntime/winsparkle/call_record_win.h"

#include <utility>

#include "json/objects.h"

#include <windows.h>

namespace wendra {
namespace {

long long ThisThread() { return static_cast<long long>(GetCurrentThreadId()); }

}  // namespace

void CallRecord::Called(std::string_view function, Json arguments) const {
  file_.Write(
      MakeObject({{"call", function}, {"args", std::move(arguments)}, {"thread", ThisThread()}}));
}

void CallRecord::Fired(std::string_view callback, Json returned) const {
  file_.Write(MakeObject(
      {{"fired", callback}, {"returned", std::move(returned)}, {"thread", ThisThread()}}));
}

}  // namespace wendra
