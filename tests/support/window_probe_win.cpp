// Examines the window of the host from another process, for the end-to-end tests. Reads one command
// per line from standard input, and answers each with one line of JSON on standard output.
//
//   window [CLASS]          describes the visible top-level window of that class; without CLASS,
//                           the main window of the host ("the window" below)
//   panel                   describes the log panel of the window
//   controls CLASS          describes the children of the visible top-level window of that class,
//                           with the names that screen readers get
//   away                    gives the keyboard focus to a window of this program
//   windows                 describes all visible top-level windows of the host's process
//   send WHO MSG W L        SendMessage with numbers only; WHO is window or panel
//   post WHO MSG W L        PostMessage with the same arguments
//   modal                   whether the window's thread is in a loop that moves or sizes a window
//   move X Y WIDTH HEIGHT   SetWindowPos for the window; answers its new rectangle
//   dpi N X Y WIDTH HEIGHT  tells the window that it has come to a monitor of N DPI, with this
//                           rectangle as the suggestion; answers its new rectangle
//   process                 id, threads and handles of the host's process
//   clipboard JSON          puts a text, written as a JSON string, into the clipboard
//   trust HEX               adds a certificate to the user's root certificates; HEX is its DER form
//                           in hexadecimal digits. Wine forgets it when its server ends
//   close MS                posts WM_CLOSE, then waits at most MS for the end of the process;
//                           answers how long that took, and the exit code
//   kill MS                 like close, but with TerminateProcess
//   watch                   begins to measure how fast the window answers messages
//   watched                 ends the measurement; answers the longest time until an answer, the
//                           number of answers, and the length of the measurement
//
// Times are in milliseconds, measured in this program.
//
// Rectangles are [left, top, right, bottom] in screen pixels. An answer with the member "error" has
// no other member. No command describes fonts: a font handle is not valid in this process.
#include <algorithm>
#include <chrono>
#include <functional>
#include <iostream>
#include <iterator>
#include <map>
#include <optional>
#include <sstream>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include "json/json.h"
#include "tests/support/handle_count_win.h"
#include "win/unique.h"
#include "win/wide.h"

#include <windows.h>

#include <tlhelp32.h>
#include <oleacc.h>
#include <wincrypt.h>

namespace wendra {
namespace {

constexpr wchar_t kHostClass[] = L"WendraHostWnd";
constexpr int kPanelId = 2;
constexpr UINT kMessageTimeoutMs = 5'000;
constexpr DWORD kWatchPauseMs = 1;

Json Object(std::initializer_list<std::pair<std::string, Json>> members) {
  Json object = Json::Object();
  object.members.assign(members.begin(), members.end());
  return object;
}

Json Error(std::string_view text) { return Object({{"error", text}}); }

Json RectangleJson(const RECT& rectangle) {
  Json sides = Json::Array();
  for (const LONG side : {rectangle.left, rectangle.top, rectangle.right, rectangle.bottom})
    sides.items.emplace_back(side);
  return sides;
}

RECT ScreenRectangle(HWND window) {
  RECT rectangle{};
  GetWindowRect(window, &rectangle);
  return rectangle;
}

RECT ClientRectangle(HWND window) {
  RECT rectangle{};
  GetClientRect(window, &rectangle);
  MapWindowPoints(window, nullptr, reinterpret_cast<POINT*>(&rectangle), 2);
  return rectangle;
}

std::string ClassName(HWND window) {
  wchar_t name[256] = L"";
  const int units = GetClassNameW(window, name, static_cast<int>(std::size(name)));
  return Narrow(std::wstring_view(name, static_cast<size_t>(units)));
}

// The whole text of a window or a control, even a hidden control of another process.
std::string WindowText(HWND window) {
  DWORD_PTR units = 0;
  SendMessageTimeoutW(window, WM_GETTEXTLENGTH, 0, 0, SMTO_NORMAL, kMessageTimeoutMs, &units);
  std::wstring text(units + 1, L'\0');
  DWORD_PTR copied = 0;
  SendMessageTimeoutW(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()),
                      SMTO_NORMAL, kMessageTimeoutMs, &copied);
  text.resize(copied);
  return Narrow(text);
}

Json WindowJson(HWND window) {
  return Object({
      {"class", ClassName(window)},
      {"text", WindowText(window)},
      {"visible", IsWindowVisible(window) != FALSE},
      {"rect", RectangleJson(ScreenRectangle(window))},
      {"client", RectangleJson(ClientRectangle(window))},
      {"style", static_cast<long long>(static_cast<DWORD>(GetWindowLongPtrW(window, GWL_STYLE)))},
      {"exStyle",
       static_cast<long long>(static_cast<DWORD>(GetWindowLongPtrW(window, GWL_EXSTYLE)))},
      {"dpi", static_cast<long long>(GetDpiForWindow(window))},
      {"foreground", GetForegroundWindow() == window},
      {"thread", static_cast<long long>(GetWindowThreadProcessId(window, nullptr))},
  });
}

HWND FocusOf(HWND window) {
  GUITHREADINFO info{};
  info.cbSize = sizeof(info);
  GetGUIThreadInfo(GetWindowThreadProcessId(window, nullptr), &info);
  return info.hwndFocus;
}

// "" if the control has no name.
std::string AccessibleName(HWND control) {
  ComOwner<IAccessible> accessible;
  if (FAILED(AccessibleObjectFromWindow(control, static_cast<DWORD>(OBJID_CLIENT), IID_IAccessible,
                                        reinterpret_cast<void**>(accessible.Receive())))) {
    return {};
  }
  VARIANT self{};
  self.vt = VT_I4;
  self.lVal = CHILDID_SELF;
  BSTR name = nullptr;
  if (accessible->get_accName(self, &name) != S_OK || !name) return {};
  std::string text = Narrow(name);
  SysFreeString(name);
  return text;
}

BOOL CALLBACK AddControl(HWND control, LPARAM parameter) {
  Json json = WindowJson(control);
  json.members.emplace_back("id", static_cast<long long>(GetDlgCtrlID(control)));
  json.members.emplace_back("focused", FocusOf(control) == control);
  json.members.emplace_back("accessibleName", AccessibleName(control));
  reinterpret_cast<Json*>(parameter)->items.push_back(std::move(json));
  return TRUE;
}

DWORD ProcessOf(HWND window) {
  DWORD id = 0;
  GetWindowThreadProcessId(window, &id);
  return id;
}

struct WindowSearch {
  DWORD process;
  Json found = Json::Array();
};

BOOL CALLBACK AddVisibleWindow(HWND window, LPARAM parameter) {
  auto& search = *reinterpret_cast<WindowSearch*>(parameter);
  if (ProcessOf(window) == search.process && IsWindowVisible(window))
    search.found.items.push_back(WindowJson(window));
  return TRUE;
}

Json VisibleWindowsOf(DWORD process) {
  WindowSearch search{process};
  EnumWindows(&AddVisibleWindow, reinterpret_cast<LPARAM>(&search));
  return std::move(search.found);
}

// -1 if the process is no longer in the system's list.
long long CountThreads(DWORD process) {
  const FileHandle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
  PROCESSENTRY32W entry{};
  entry.dwSize = sizeof(entry);
  for (BOOL more = Process32FirstW(snapshot.Get(), &entry); more;
       more = Process32NextW(snapshot.Get(), &entry))
    if (entry.th32ProcessID == process) return entry.cntThreads;
  return -1;
}

Json ProcessJson(DWORD id) {
  return Object({
      {"id", static_cast<long long>(id)},
      {"threads", CountThreads(id)},
      {"handles", CountHandles(id)},
  });
}

HWND FindVisible(const wchar_t* className) {
  const HWND window = FindWindowW(className, nullptr);
  return window && IsWindowVisible(window) ? window : nullptr;
}

HWND HostWindow() { return FindVisible(kHostClass); }

HWND Addressee(const std::string& who) {
  const HWND window = HostWindow();
  return who == "panel" && window ? GetDlgItem(window, kPanelId) : window;
}

struct Message {
  HWND window;
  UINT id;
  WPARAM wparam;
  LPARAM lparam;
};

Message ReadMessage(std::istream& arguments) {
  std::string who;
  unsigned id = 0;
  long long wparam = 0;
  long long lparam = 0;
  arguments >> who >> id >> wparam >> lparam;
  return {Addressee(who), id, static_cast<WPARAM>(wparam), static_cast<LPARAM>(lparam)};
}

Json DescribeWindow(std::istream& arguments) {
  std::string name;
  arguments >> name;
  const HWND window = name.empty() ? HostWindow() : FindVisible(Widen(name).c_str());
  return window ? WindowJson(window) : Error("no window");
}

Json DescribeControls(std::istream& arguments) {
  std::string name;
  arguments >> name;
  const HWND window = FindVisible(Widen(name).c_str());
  if (!window) return Error("no window");
  Json controls = Json::Array();
  EnumChildWindows(window, &AddControl, reinterpret_cast<LPARAM>(&controls));
  return Object({{"controls", std::move(controls)}});
}

// The new window exists until this program ends.
Json GoAway(std::istream&) {
  const HWND elsewhere = CreateWindowExW(0, L"STATIC", L"elsewhere", WS_POPUP | WS_VISIBLE, 0, 0,
                                         16, 16, nullptr, nullptr, nullptr, nullptr);
  SetForegroundWindow(elsewhere);
  return Object({{"foreground", GetForegroundWindow() == elsewhere}});
}

Json DescribePanel(std::istream&) {
  const HWND panel = Addressee("panel");
  return panel ? WindowJson(panel) : Error("no panel");
}

Json DescribeWindows(std::istream&) {
  const HWND window = HostWindow();
  return window ? Object({{"windows", VisibleWindowsOf(ProcessOf(window))}}) : Error("no window");
}

Json Send(std::istream& arguments) {
  const Message message = ReadMessage(arguments);
  DWORD_PTR result = 0;
  if (!SendMessageTimeoutW(message.window, message.id, message.wparam, message.lparam, SMTO_NORMAL,
                           kMessageTimeoutMs, &result))
    return Error("not sent");
  return Object({{"result", static_cast<long long>(result)}});
}

Json Post(std::istream& arguments) {
  const Message message = ReadMessage(arguments);
  if (!message.window) return Error("no window");  // for null, Windows posts to this very thread
  if (!PostMessageW(message.window, message.id, message.wparam, message.lparam))
    return Error("not posted");
  return Object({{"posted", true}});
}

Json Move(std::istream& arguments) {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
  arguments >> x >> y >> width >> height;
  const HWND window = HostWindow();
  if (!SetWindowPos(window, nullptr, x, y, width, height, SWP_NOZORDER | SWP_NOACTIVATE))
    return Error("not moved");
  return Object({{"rect", RectangleJson(ScreenRectangle(window))}});
}

// Windows copies no rectangle into another process with this message.
Json ChangeDpi(std::istream& arguments) {
  unsigned dpi = 0;
  RECT wanted{};
  arguments >> dpi >> wanted.left >> wanted.top >> wanted.right >> wanted.bottom;
  wanted.right += wanted.left;
  wanted.bottom += wanted.top;
  const HWND window = HostWindow();
  DWORD id = 0;
  GetWindowThreadProcessId(window, &id);
  const KernelHandle process(OpenProcess(PROCESS_VM_OPERATION | PROCESS_VM_WRITE, FALSE, id));
  void* const there = VirtualAllocEx(process.Get(), nullptr, sizeof(wanted),
                                     MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
  if (!there || !WriteProcessMemory(process.Get(), there, &wanted, sizeof(wanted), nullptr))
    return Error("no memory in the host's process");
  SendMessageW(window, WM_DPICHANGED, MAKEWPARAM(dpi, dpi), reinterpret_cast<LPARAM>(there));
  VirtualFreeEx(process.Get(), there, 0, MEM_RELEASE);
  return Object({{"rect", RectangleJson(ScreenRectangle(window))}});
}

Json DescribeModalLoop(std::istream&) {
  const HWND window = HostWindow();
  if (!window) return Error("no window");
  GUITHREADINFO info{};
  info.cbSize = sizeof(info);
  GetGUIThreadInfo(GetWindowThreadProcessId(window, nullptr), &info);
  return Object({{"modal", (info.flags & GUI_INMOVESIZE) != 0}});
}

Json DescribeProcess(std::istream&) {
  const HWND window = HostWindow();
  return window ? ProcessJson(ProcessOf(window)) : Error("no window");
}

bool PutIntoClipboard(const std::wstring& text) {
  if (!OpenClipboard(nullptr)) return false;
  EmptyClipboard();
  const size_t bytes = (text.size() + 1) * sizeof(wchar_t);
  const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, bytes);
  std::copy_n(text.c_str(), text.size() + 1, static_cast<wchar_t*>(GlobalLock(memory)));
  GlobalUnlock(memory);
  const bool isThere = SetClipboardData(CF_UNICODETEXT, memory) != nullptr;  // the system owns it
  CloseClipboard();
  return isThere;
}

Json SetClipboard(std::istream& arguments) {
  std::string rest;
  std::getline(arguments >> std::ws, rest);
  Json text;
  if (!Parse(rest, text) || text.kind != kJsonString) return Error("no JSON string");
  if (!PutIntoClipboard(Widen(text.text))) return Error("not set");
  return Object({{"set", true}});
}

Json Trust(std::istream& arguments) {
  std::string digits;
  arguments >> digits;
  std::vector<BYTE> der(digits.size() / 2);
  auto bytes = static_cast<DWORD>(der.size());
  if (!CryptStringToBinaryA(digits.c_str(), 0, CRYPT_STRING_HEX, der.data(), &bytes, nullptr,
                            nullptr))
    return Error("no digits");
  const HCERTSTORE store =
      CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, 0, CERT_SYSTEM_STORE_CURRENT_USER, L"Root");
  const bool isAdded = CertAddEncodedCertificateToStore(store, X509_ASN_ENCODING, der.data(), bytes,
                                                        CERT_STORE_ADD_REPLACE_EXISTING, nullptr);
  CertCloseStore(store, 0);
  return isAdded ? Object({{"trusted", true}}) : Error("not added");
}

class Stopwatch {
 public:
  long long Ms() const {
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - started_).count();
  }

 private:
  using Clock = std::chrono::steady_clock;
  Clock::time_point started_ = Clock::now();
};

// Ends the host with `end`, waits, and answers how long that took.
Json TimeTheEnd(std::istream& arguments, const std::function<BOOL(HWND, HANDLE)>& end) {
  DWORD limitMs = 0;
  arguments >> limitMs;
  const HWND window = HostWindow();
  if (!window) return Error("no window");
  constexpr DWORD kAccess = SYNCHRONIZE | PROCESS_TERMINATE | PROCESS_QUERY_LIMITED_INFORMATION;
  const KernelHandle process(OpenProcess(kAccess, FALSE, ProcessOf(window)));
  if (!process) return Error("no process");
  const Stopwatch stopwatch;
  if (!end(window, process.Get())) return Error("it cannot be ended");
  if (WaitForSingleObject(process.Get(), limitMs) != WAIT_OBJECT_0) return Error("it goes on");
  const long long ms = stopwatch.Ms();
  DWORD code = 0;
  GetExitCodeProcess(process.Get(), &code);
  return Object({{"ms", ms}, {"code", static_cast<long long>(code)}});
}

Json Close(std::istream& arguments) {
  return TimeTheEnd(arguments,
                    [](HWND window, HANDLE) { return PostMessageW(window, WM_CLOSE, 0, 0); });
}

Json Kill(std::istream& arguments) {
  return TimeTheEnd(arguments, [](HWND, HANDLE process) { return TerminateProcess(process, 1); });
}

// Asks a window again and again whether its thread handles messages. The system asks in the same
// way before it calls a program "not responding".
class Watch {
 public:
  explicit Watch(HWND window)
      : thread_([this, window](std::stop_token stop) { Run(window, stop); }) {}

  Json End() {
    thread_.request_stop();
    thread_.join();
    return Object({{"longestMs", longestMs_}, {"answers", answers_}, {"ms", stopwatch_.Ms()}});
  }

 private:
  void Run(HWND window, const std::stop_token& stop) {
    while (!stop.stop_requested()) {
      const Stopwatch asked;
      DWORD_PTR result = 0;
      if (SendMessageTimeoutW(window, WM_NULL, 0, 0, SMTO_NORMAL, kMessageTimeoutMs, &result))
        ++answers_;
      longestMs_ = std::max(longestMs_, asked.Ms());
      Sleep(kWatchPauseMs);
    }
  }

  const Stopwatch stopwatch_;
  long long longestMs_ = 0;
  long long answers_ = 0;
  std::jthread thread_;  // the last member, because it uses the others
};

std::optional<Watch>& TheWatch() {
  static std::optional<Watch> watch;
  return watch;
}

Json BeginWatch(std::istream&) {
  const HWND window = HostWindow();
  if (!window) return Error("no window");
  TheWatch().emplace(window);
  return Object({{"watching", true}});
}

Json EndWatch(std::istream&) {
  if (!TheWatch()) return Error("not watching");
  Json answer = TheWatch()->End();
  TheWatch().reset();
  return answer;
}

Json Answer(const std::string& line) {
  static const std::map<std::string, std::function<Json(std::istream&)>> commands = {
      {"window", DescribeWindow},
      {"panel", DescribePanel},
      {"controls", DescribeControls},
      {"away", GoAway},
      {"windows", DescribeWindows},
      {"send", Send},
      {"post", Post},
      {"modal", DescribeModalLoop},
      {"move", Move},
      {"dpi", ChangeDpi},
      {"process", DescribeProcess},
      {"clipboard", SetClipboard},
      {"trust", Trust},
      {"close", Close},
      {"kill", Kill},
      {"watch", BeginWatch},
      {"watched", EndWatch},
  };
  std::istringstream arguments(line);
  std::string name;
  arguments >> name;
  const auto command = commands.find(name);
  return command == commands.end() ? Error("unknown command") : command->second(arguments);
}

void AnswerAll() {
  SetThreadDpiAwarenessContext(DPI_AWARENESS_CONTEXT_PER_MONITOR_AWARE_V2);
  for (std::string line; std::getline(std::cin, line);) {
    std::string answer;
    Serialize(Answer(line), answer);
    std::cout << answer << std::endl;
  }
}

}  // namespace
}  // namespace wendra

int main() {
  if (FAILED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))) return 1;
  wendra::AnswerAll();
  return 0;
}
