#include "devruntime/winsparkle/call_record_win.h"

#include <string>
#include <utility>

namespace wendra {

CallRecord::CallRecord(const std::wstring& path) {
  if (path.empty()) return;
  file_.Reset(CreateFileW(path.c_str(), FILE_APPEND_DATA,
                          FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                          OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
}

void CallRecord::Called(std::string_view function, Json arguments) const {
  Write("call", function, "args", std::move(arguments));
}

void CallRecord::Fired(std::string_view callback, const Json& returned) const {
  Write("fired", callback, "returned", returned);
}

void CallRecord::Write(std::string_view kind, std::string_view name, std::string_view detail,
                       Json value) const {
  if (!file_) return;
  Json entry = Json::Object();
  entry.members.emplace_back(kind, name);
  entry.members.emplace_back(detail, std::move(value));
  entry.members.emplace_back("thread", static_cast<long long>(GetCurrentThreadId()));
  std::string line;
  Serialize(entry, line);
  line += '\n';
  DWORD written = 0;  // one append is one piece, whatever other threads do
  (void)WriteFile(file_.Get(), line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
}

}  // namespace wendra
