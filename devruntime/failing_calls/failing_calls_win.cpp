#include "devruntime/failing_calls/failing_calls_win.h"

#include <mutex>
#include <tuple>
#include <type_traits>

#include "devruntime/failing_calls/failure_plan.h"
#include "devruntime/failing_calls/import_table_win.h"
#include "webview/webview2_win.h"
#include "win/unique.h"
#include "win/wide.h"

// Windows' own order: winhttp.h and winver.h need windows.h before them.
#include <dwmapi.h>
#include <objbase.h>
#include <shellapi.h>
#include <shlobj.h>
#include <winhttp.h>
#include <winver.h>

namespace wendra {
namespace {

// What is to fail now, and what has. Never freed: calls come to the very end of the process.
class Failures {
 public:
  static Failures& Instance() {
    static auto* const failures = new Failures;
    return *failures;
  }

  void Take(std::string_view plan) {
    const std::lock_guard lock(mutex_);
    plan_ = FailurePlan(plan);
    made_.clear();
  }
  void TakeFrom(const std::wstring& file) {
    const std::lock_guard lock(mutex_);
    file_ = file;
  }
  std::vector<std::string> Made() {
    const std::lock_guard lock(mutex_);
    return made_;
  }

  FailurePlan::Verdict Judge(const char* name, const std::string& detail) {
    const std::lock_guard lock(mutex_);
    if (!file_.empty()) ReadFileAnew();
    const FailurePlan::Verdict verdict = plan_.Judge(name, detail);
    if (verdict.fails) Note(detail.empty() ? name : std::string(name) + "/" + detail);
    return verdict;
  }

 private:
  void ReadFileAnew() {
    const FileHandle file(CreateFileW(file_.c_str(), GENERIC_READ,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      nullptr, OPEN_EXISTING, 0, nullptr));
    char text[4096];
    DWORD bytes = 0;
    if (file) (void)ReadFile(file.Get(), text, sizeof(text), &bytes, nullptr);
    if (text_ == std::string_view(text, bytes)) return;
    text_.assign(text, bytes);
    plan_ = FailurePlan(text_);
  }

  void Note(const std::string& call) {
    made_.push_back(call);
    if (file_.empty()) return;
    const FileHandle file(CreateFileW((file_ + L".made").c_str(), FILE_APPEND_DATA,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS, 0,
                                      nullptr));
    const std::string line = call + "\n";
    DWORD written = 0;
    (void)WriteFile(file.Get(), line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
  }

  std::mutex mutex_;
  std::wstring file_;  // "" for a test program
  std::string text_;   // of the file, as the plan was made from it
  FailurePlan plan_;
  std::vector<std::string> made_;
};

// How a function says that it has failed.
enum class Result {
  kZero,      // 0, FALSE or null, and the last error
  kMinusOne,  // -1, and the last error
  kError,     // the error code itself
};

template <size_t kCharacters>
struct Name {
  // Not explicit: a template argument is to be written as a text.
  constexpr Name(const char (&name)[kCharacters]) {
    for (size_t i = 0; i < kCharacters; ++i) text[i] = name[i];
  }
  char text[kCharacters] = {};
};

constexpr size_t kNoDetail = 99;  // instead of an argument's place

template <typename Value>
std::string TextOf(Value value) {
  if constexpr (std::is_same_v<Value, const wchar_t*>) {
    if (IS_INTRESOURCE(value)) return std::to_string(reinterpret_cast<ULONG_PTR>(value));
    return Narrow(value);
  } else if constexpr (std::is_same_v<Value, const char*>) {
    return IS_INTRESOURCE(value) ? std::string() : std::string(value);
  } else {
    return std::to_string(value);
  }
}

template <Name kName, typename Signature, Result kResult, DWORD kError, size_t kDetail>
struct Call;

template <Name kName, typename Returned, typename... Arguments, Result kResult, DWORD kError,
          size_t kDetail>
struct Call<kName, Returned WINAPI(Arguments...), kResult, kError, kDetail> {
  static inline Returned(WINAPI* real)(Arguments...) = nullptr;

  static void Install() {
    if (real) return;
    ULONGLONG* const slot = FindImportOfProgram(kName.text);
    if (!slot) return;
    // Known before it can be called: a thread may be in the middle of a call.
    real = reinterpret_cast<decltype(real)>(*slot);
    (void)RedirectImport(slot, reinterpret_cast<void*>(&Replacement));
  }

  static Returned WINAPI Replacement(Arguments... arguments) {
    const DWORD errorBefore = GetLastError();  // a real function would find it too
    std::string detail;
    if constexpr (kDetail != kNoDetail) {
      detail = TextOf(std::get<kDetail>(std::tuple(arguments...)));
    }
    const FailurePlan::Verdict verdict = Failures::Instance().Judge(kName.text, detail);
    SetLastError(errorBefore);
    if (!verdict.fails) return real(arguments...);
    const DWORD error = verdict.error != 0 ? static_cast<DWORD>(verdict.error) : kError;
    if constexpr (kResult == Result::kError) return static_cast<Returned>(error);
    SetLastError(error);
    if constexpr (kResult == Result::kZero) return Returned{};
    return (Returned)(-1);  // NOLINT: a number or a handle
  }
};

// Writes half of what it is given and calls that success.
struct ShortWrite {
  static inline decltype(&WriteFile) next = nullptr;

  static void Install() {
    if (next) return;
    ULONGLONG* const slot = FindImportOfProgram("WriteFile");
    if (!slot) return;
    next = reinterpret_cast<decltype(next)>(*slot);
    (void)RedirectImport(slot, reinterpret_cast<void*>(&Replacement));
  }

  static BOOL WINAPI Replacement(HANDLE file, LPCVOID bytes, DWORD count, DWORD* written,
                                 OVERLAPPED* overlapped) {
    const DWORD errorBefore = GetLastError();
    const bool isShort = Failures::Instance().Judge("WriteFile.short", {}).fails;
    SetLastError(errorBefore);
    return next(file, bytes, isShort ? count / 2 : count, written, overlapped);
  }
};

void InstallAll() {
// The name as a text and the type of the function with one word.
#define WENDRA_CALL(name, result, error, detail) \
  Call<#name, decltype(name), Result::result, static_cast<DWORD>(error), detail>::Install()

  WENDRA_CALL(CreateThread, kZero, ERROR_NOT_ENOUGH_MEMORY, kNoDetail);
  WENDRA_CALL(CreatePipe, kZero, ERROR_NO_SYSTEM_RESOURCES, kNoDetail);
  WENDRA_CALL(SetHandleInformation, kZero, ERROR_INVALID_HANDLE, kNoDetail);
  WENDRA_CALL(CreateProcessW, kZero, ERROR_ACCESS_DENIED, kNoDetail);
  WENDRA_CALL(GetExitCodeProcess, kZero, ERROR_ACCESS_DENIED, kNoDetail);
  WENDRA_CALL(TerminateProcess, kZero, ERROR_ACCESS_DENIED, kNoDetail);
  WENDRA_CALL(CreateJobObjectW, kZero, ERROR_NOT_ENOUGH_MEMORY, kNoDetail);
  WENDRA_CALL(SetInformationJobObject, kZero, ERROR_ACCESS_DENIED, kNoDetail);
  WENDRA_CALL(InitializeProcThreadAttributeList, kZero, ERROR_NOT_ENOUGH_MEMORY, kNoDetail);
  WENDRA_CALL(UpdateProcThreadAttribute, kZero, ERROR_NOT_SUPPORTED, 2);
  WENDRA_CALL(AssignProcessToJobObject, kZero, ERROR_ACCESS_DENIED, kNoDetail);

  WENDRA_CALL(CreateFileW, kMinusOne, ERROR_ACCESS_DENIED, 0);
  WENDRA_CALL(GetFileSizeEx, kZero, ERROR_INVALID_FUNCTION, kNoDetail);
  WENDRA_CALL(ReadFile, kZero, ERROR_READ_FAULT, kNoDetail);
  WENDRA_CALL(WriteFile, kZero, ERROR_DISK_FULL, kNoDetail);
  ShortWrite::Install();
  WENDRA_CALL(FlushFileBuffers, kZero, ERROR_INVALID_FUNCTION, kNoDetail);
  WENDRA_CALL(MoveFileExW, kZero, ERROR_SHARING_VIOLATION, kNoDetail);
  WENDRA_CALL(GetFileAttributesW, kMinusOne, ERROR_ACCESS_DENIED, 0);
  WENDRA_CALL(GetFileAttributesExW, kZero, ERROR_SHARING_VIOLATION, 0);
  WENDRA_CALL(GetFullPathNameW, kZero, ERROR_INVALID_NAME, 0);
  WENDRA_CALL(CancelIoEx, kZero, ERROR_NOT_FOUND, kNoDetail);

  WENDRA_CALL(GetModuleFileNameW, kZero, ERROR_INVALID_HANDLE, kNoDetail);
  WENDRA_CALL(GetEnvironmentVariableW, kZero, ERROR_ENVVAR_NOT_FOUND, 0);
  WENDRA_CALL(ExpandEnvironmentStringsW, kZero, ERROR_NOT_ENOUGH_MEMORY, 0);
  WENDRA_CALL(GetEnvironmentStringsW, kZero, ERROR_NOT_ENOUGH_MEMORY, kNoDetail);
  WENDRA_CALL(GetProcAddress, kZero, ERROR_PROC_NOT_FOUND, 1);
  WENDRA_CALL(GetUserNameW, kZero, ERROR_NO_SUCH_USER, kNoDetail);

  WENDRA_CALL(RegCreateKeyExW, kError, ERROR_ACCESS_DENIED, kNoDetail);
  WENDRA_CALL(RegQueryInfoKeyW, kError, ERROR_ACCESS_DENIED, kNoDetail);
  WENDRA_CALL(RegEnumValueW, kError, ERROR_ACCESS_DENIED, kNoDetail);
  WENDRA_CALL(RegSetValueExW, kError, ERROR_ACCESS_DENIED, kNoDetail);
  WENDRA_CALL(RegDeleteValueW, kError, ERROR_ACCESS_DENIED, kNoDetail);
  WENDRA_CALL(RegGetValueW, kError, ERROR_ACCESS_DENIED, kNoDetail);

  WENDRA_CALL(SHGetKnownFolderPath, kError, E_FAIL, kNoDetail);
  WENDRA_CALL(SHCreateDirectoryExW, kError, ERROR_ACCESS_DENIED, kNoDetail);
  WENDRA_CALL(CommandLineToArgvW, kZero, ERROR_NOT_ENOUGH_MEMORY, kNoDetail);
  WENDRA_CALL(ShellExecuteW, kZero, ERROR_NOT_ENOUGH_MEMORY, kNoDetail);
  WENDRA_CALL(CoInitializeEx, kError, E_OUTOFMEMORY, kNoDetail);
  WENDRA_CALL(CoCreateInstance, kError, REGDB_E_CLASSNOTREG, kNoDetail);

  WENDRA_CALL(PostMessageW, kZero, ERROR_NOT_ENOUGH_QUOTA, 1);
  WENDRA_CALL(GetMessageW, kMinusOne, ERROR_INVALID_WINDOW_HANDLE, kNoDetail);
  WENDRA_CALL(SetTimer, kZero, ERROR_NO_SYSTEM_RESOURCES, 1);
  WENDRA_CALL(RegisterClassExW, kZero, ERROR_NOT_ENOUGH_MEMORY, kNoDetail);
  WENDRA_CALL(CreateWindowExW, kZero, ERROR_NOT_ENOUGH_MEMORY, 1);
  WENDRA_CALL(LoadImageW, kZero, ERROR_RESOURCE_NAME_NOT_FOUND, kNoDetail);
  WENDRA_CALL(LoadCursorW, kZero, ERROR_RESOURCE_NAME_NOT_FOUND, kNoDetail);
  WENDRA_CALL(CreateAcceleratorTableW, kZero, ERROR_NOT_ENOUGH_MEMORY, kNoDetail);
  WENDRA_CALL(GetDpiForWindow, kZero, ERROR_INVALID_WINDOW_HANDLE, kNoDetail);
  WENDRA_CALL(CreateFontW, kZero, ERROR_NOT_ENOUGH_MEMORY, kNoDetail);
  WENDRA_CALL(DwmSetWindowAttribute, kError, E_INVALIDARG, kNoDetail);

  WENDRA_CALL(GetFileVersionInfoSizeW, kZero, ERROR_RESOURCE_DATA_NOT_FOUND, kNoDetail);
  WENDRA_CALL(GetFileVersionInfoW, kZero, ERROR_RESOURCE_DATA_NOT_FOUND, kNoDetail);
  WENDRA_CALL(VerQueryValueW, kZero, ERROR_RESOURCE_TYPE_NOT_FOUND, 1);

  constexpr DWORD kHttpError = ERROR_WINHTTP_INTERNAL_ERROR;
  WENDRA_CALL(WinHttpCrackUrl, kZero, ERROR_WINHTTP_INVALID_URL, kNoDetail);
  WENDRA_CALL(WinHttpOpen, kZero, kHttpError, kNoDetail);
  WENDRA_CALL(WinHttpSetTimeouts, kZero, kHttpError, kNoDetail);
  WENDRA_CALL(WinHttpConnect, kZero, kHttpError, kNoDetail);
  WENDRA_CALL(WinHttpOpenRequest, kZero, kHttpError, 1);
  WENDRA_CALL(WinHttpSetOption, kZero, kHttpError, 1);
  WENDRA_CALL(WinHttpSetStatusCallback, kMinusOne, kHttpError, kNoDetail);
  WENDRA_CALL(WinHttpAddRequestHeaders, kZero, kHttpError, kNoDetail);
  WENDRA_CALL(WinHttpSendRequest, kZero, kHttpError, kNoDetail);
  WENDRA_CALL(WinHttpReceiveResponse, kZero, kHttpError, kNoDetail);
  WENDRA_CALL(WinHttpQueryHeaders, kZero, kHttpError, 1);
  WENDRA_CALL(WinHttpQueryDataAvailable, kZero, kHttpError, kNoDetail);
  WENDRA_CALL(WinHttpReadData, kZero, kHttpError, kNoDetail);

  WENDRA_CALL(CreateCoreWebView2EnvironmentWithOptions, kError, E_FAIL, kNoDetail);
#undef WENDRA_CALL
}

}  // namespace

void TakeFailuresFrom(const std::wstring& file) {
  Failures::Instance().TakeFrom(file);
  InstallAll();
}

FailingCalls::FailingCalls(std::string_view plan) {
  Failures::Instance().Take(plan);
  InstallAll();
}

FailingCalls::~FailingCalls() { Failures::Instance().Take({}); }

std::vector<std::string> FailingCalls::Made() const { return Failures::Instance().Made(); }

}  // namespace wendra
