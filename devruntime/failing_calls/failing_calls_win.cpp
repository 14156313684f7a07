#include "devruntime/failing_calls/failing_calls_win.h"

#include <mutex>
#include <tuple>
#include <type_traits>

#include "base/lock.h"
#include "devruntime/base/event_file_win.h"
#include "devruntime/failing_calls/failure_plan.h"
#include "devruntime/failing_calls/import_table_win.h"
#include "webview/webview2_win.h"
#include "win/file.h"
#include "win/wide.h"

#include <dwmapi.h>
#include <objbase.h>
#include <shellapi.h>
#include <shlobj.h>
#include <winhttp.h>
#include <winver.h>

namespace wendra {
namespace {

constexpr size_t kMaxPlanBytes = 4096;

// The plan, and the calls that it has made to fail. Any thread.
class Failures {
 public:
  // Never destroyed: the program makes calls until the process ends.
  static Failures& Instance() {
    static auto* const failures = new Failures;
    return *failures;
  }

  void SetPlan(std::string_view plan) {
    const std::lock_guard<Lock> lock(lock_);
    plan_ = FailurePlan(plan);
    made_.clear();
  }
  void SetFile(const std::wstring& file) {
    const std::lock_guard<Lock> lock(lock_);
    file_ = file;
  }
  std::vector<std::string> Made() {
    const std::lock_guard<Lock> lock(lock_);
    return made_;
  }

  FailurePlan::Verdict Judge(const char* name, const std::string& detail) {
    const std::lock_guard<Lock> lock(lock_);
    if (!file_.empty()) ReadPlan();
    const FailurePlan::Verdict verdict = plan_.Judge(name, detail);
    if (verdict.fails) Record(detail.empty() ? name : std::string(name) + "/" + detail);
    return verdict;
  }

 private:
  // Keeps the counts of a plan that has not changed. A missing file is an empty plan.
  void ReadPlan() {
    std::string text(kMaxPlanBytes, '\0');
    const FileHandle file = OpenForReading(file_);
    text.resize(file ? ReadInto(file, text) : 0);
    if (text == text_) return;
    text_ = text;
    plan_ = FailurePlan(text_);
  }

  void Record(const std::string& call) {
    made_.push_back(call);
    if (!file_.empty()) EventFile(file_ + L".made").WriteLine(call);
  }

  Lock lock_;
  std::wstring file_;  // "" in a test program
  std::string text_;   // the content of the file that `plan_` was made from
  FailurePlan plan_;
  std::vector<std::string> made_;
};

// How a function reports a failure.
enum class Result {
  kZero,      // 0, FALSE or null, and the last error
  kMinusOne,  // -1, and the last error
  kError,     // the error code itself
};

template <size_t kCharacters>
struct Name {
  // Not explicit, so that a template argument can be a string literal.
  constexpr Name(const char (&name)[kCharacters]) {
    for (size_t i = 0; i < kCharacters; ++i) text[i] = name[i];
  }
  char text[kCharacters] = {};
};

constexpr size_t kNoDetail = 99;  // no argument is the detail; otherwise its index, from 0

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
    if (!real) (void)RedirectImport(kName.text, &Replacement, real);
  }

  static Returned WINAPI Replacement(Arguments... arguments) {
    const DWORD errorBefore = GetLastError();  // Judge may change it
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

// Writes half of the bytes and reports success. Installed after the call above: each of the two
// passes its calls on to the function that it found.
struct ShortWrite {
  static inline decltype(&WriteFile) real = nullptr;

  static void Install() {
    if (!real) (void)RedirectImport("WriteFile", &Replacement, real);
  }

  static BOOL WINAPI Replacement(HANDLE file, LPCVOID bytes, DWORD count, DWORD* written,
                                 OVERLAPPED* overlapped) {
    const DWORD errorBefore = GetLastError();
    const bool isShort = Failures::Instance().Judge("WriteFile.short", {}).fails;
    SetLastError(errorBefore);
    return real(file, bytes, isShort ? count / 2 : count, written, overlapped);
  }
};

// A macro, because the name is needed as a string and as the function's type.
#define WENDRA_CALL(name, result, error, detail) \
  Call<#name, decltype(name), Result::result, static_cast<DWORD>(error), detail>::Install()

void InstallProcessCalls() {
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
}

void InstallFileCalls() {
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
}

void InstallSystemCalls() {
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

  WENDRA_CALL(GetFileVersionInfoSizeW, kZero, ERROR_RESOURCE_DATA_NOT_FOUND, kNoDetail);
  WENDRA_CALL(GetFileVersionInfoW, kZero, ERROR_RESOURCE_DATA_NOT_FOUND, kNoDetail);
  WENDRA_CALL(VerQueryValueW, kZero, ERROR_RESOURCE_TYPE_NOT_FOUND, 1);
}

void InstallWindowCalls() {
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
  WENDRA_CALL(CreateCoreWebView2EnvironmentWithOptions, kError, E_FAIL, kNoDetail);
}

void InstallHttpCalls() {
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
}

#undef WENDRA_CALL

void InstallAll() {
  InstallProcessCalls();
  InstallFileCalls();
  InstallSystemCalls();
  InstallWindowCalls();
  InstallHttpCalls();
}

}  // namespace

void TakeFailuresFrom(const std::wstring& file) {
  Failures::Instance().SetFile(file);
  InstallAll();
}

FailingCalls::FailingCalls(std::string_view plan) {
  Failures::Instance().SetPlan(plan);
  InstallAll();
}

FailingCalls::~FailingCalls() { Failures::Instance().SetPlan({}); }

std::vector<std::string> FailingCalls::Made() const { return Failures::Instance().Made(); }

}  // namespace wendra
