// Makes a local Windows account named "wendra", runs a program in it, and deletes the account with
// its profile:
//
//   own_account PROGRAM [ARGUMENT...]
//
// It needs the rights of an administrator. The program has a console window of its own, and its
// windows are on this desktop. Ctrl+C ends it. No process that it starts runs longer than this one.
// The exit code is the program's; 1 after Ctrl+C, 2 if it was not started.
#include <array>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "win/unique.h"
#include "win/wide.h"

#include <windows.h>

#include <bcrypt.h>
#include <lm.h>
#include <sddl.h>
#include <userenv.h>

namespace wendra {
namespace {

// The end-to-end tests expect the profile C:\Users\wendra.
constexpr wchar_t kName[] = L"wendra";
constexpr int kNotStarted = 2;

void Complain(std::string_view what, unsigned long error) {
  std::cerr << "own_account: " << what << ": error " << error << std::endl;
}

// A password that nobody learns. The end satisfies the rules for characters.
std::wstring MakePassword() {
  std::array<UCHAR, 24> random{};
  if (BCryptGenRandom(nullptr, random.data(), static_cast<ULONG>(random.size()),
                      BCRYPT_USE_SYSTEM_PREFERRED_RNG) < 0) {
    return {};
  }
  std::wstring password;
  for (const UCHAR value : random) password += static_cast<wchar_t>(L'a' + value % 26);
  return password + L"A1-";
}

// The name of the group "Users", which depends on the language of Windows.
std::wstring UsersGroup() {
  std::array<BYTE, SECURITY_MAX_SID_SIZE> sid{};
  DWORD sidBytes = static_cast<DWORD>(sid.size());
  CreateWellKnownSid(WinBuiltinUsersSid, nullptr, sid.data(), &sidBytes);
  std::array<wchar_t, 256> name{};
  std::array<wchar_t, 256> domain{};
  DWORD nameUnits = static_cast<DWORD>(name.size());
  DWORD domainUnits = static_cast<DWORD>(domain.size());
  SID_NAME_USE use{};
  LookupAccountSidW(nullptr, sid.data(), name.data(), &nameUnits, domain.data(), &domainUnits,
                    &use);
  return name.data();
}

// The account's security identifier as text; "" if there is no such account.
std::wstring SidOf(const wchar_t* account) {
  std::array<BYTE, SECURITY_MAX_SID_SIZE> sid{};
  std::array<wchar_t, 256> domain{};
  DWORD sidBytes = static_cast<DWORD>(sid.size());
  DWORD domainUnits = static_cast<DWORD>(domain.size());
  SID_NAME_USE use{};
  if (!LookupAccountNameW(nullptr, account, sid.data(), &sidBytes, domain.data(), &domainUnits,
                          &use)) {
    return {};
  }
  LPWSTR text = nullptr;
  if (!ConvertSidToStringSidW(sid.data(), &text)) return {};
  std::wstring result(text);
  LocalFree(text);
  return result;
}

// An account that exists as long as this object.
class Account {
 public:
  // False, with a message, if it cannot be made, for example because there is one of that name.
  bool Make() {
    std::wstring name(kName);
    std::wstring comment(L"Made for a check of Wendra; may be deleted");
    USER_INFO_1 user{};
    user.usri1_name = name.data();
    user.usri1_password = password_.data();
    user.usri1_priv = USER_PRIV_USER;
    user.usri1_flags = UF_SCRIPT | UF_DONT_EXPIRE_PASSWD;
    user.usri1_comment = comment.data();
    if (const NET_API_STATUS error =
            NetUserAdd(nullptr, 1, reinterpret_cast<BYTE*>(&user), nullptr);
        error != NERR_Success) {
      Complain(error == NERR_UserExists ? "there is already an account named wendra"
                                        : "the account cannot be made",
               error);
      return false;
    }
    isMade_ = true;
    LOCALGROUP_MEMBERS_INFO_3 member{name.data()};
    const NET_API_STATUS error = NetLocalGroupAddMembers(nullptr, UsersGroup().c_str(), 3,
                                                         reinterpret_cast<BYTE*>(&member), 1);
    if (error != NERR_Success) Complain("the account cannot become a user", error);
    return error == NERR_Success;
  }

  ~Account() {
    if (!isMade_) return;
    // The system unloads the profile a moment after the account's last process.
    const std::wstring sid = SidOf(kName);
    for (int tries = 0; tries < 20 && !DeleteProfileW(sid.c_str(), nullptr, nullptr); ++tries) {
      if (GetLastError() == ERROR_FILE_NOT_FOUND) break;  // it was never used
      Sleep(500);
    }
    if (const NET_API_STATUS error = NetUserDel(nullptr, kName); error != NERR_Success) {
      Complain("the account wendra cannot be deleted", error);
    }
  }

  const std::wstring& Password() const { return password_; }

 private:
  std::wstring password_ = MakePassword();
  bool isMade_ = false;
};

KernelHandle MakeJob() {
  KernelHandle job(CreateJobObjectW(nullptr, nullptr));
  JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
  limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
  SetInformationJobObject(job.Get(), JobObjectExtendedLimitInformation, &limits, sizeof(limits));
  return job;
}

// Signalled by Ctrl+C.
HANDLE Interrupted() {
  static const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  return event;
}

BOOL WINAPI Interrupt(DWORD) { return SetEvent(Interrupted()); }

// Runs the program to its end; nothing if it was not started.
std::optional<DWORD> RunAs(const Account& account, std::wstring commandLine) {
  const KernelHandle job = MakeJob();
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION made{};
  // Without a desktop in `startup` the system lets the account use this one.
  if (!CreateProcessWithLogonW(kName, L".", account.Password().c_str(), LOGON_WITH_PROFILE, nullptr,
                               commandLine.data(), CREATE_SUSPENDED, nullptr, nullptr, &startup,
                               &made)) {
    Complain("the program was not started", GetLastError());
    return std::nullopt;
  }
  const KernelHandle process(made.hProcess);
  const KernelHandle thread(made.hThread);
  AssignProcessToJobObject(job.Get(), process.Get());
  ResumeThread(thread.Get());
  const HANDLE awaited[] = {process.Get(), Interrupted()};
  if (WaitForMultipleObjects(2, awaited, FALSE, INFINITE) != WAIT_OBJECT_0) {
    TerminateJobObject(job.Get(), 1);
    WaitForSingleObject(process.Get(), INFINITE);
  }
  DWORD code = 0;
  GetExitCodeProcess(process.Get(), &code);
  return code;
}

// The rest of our command line after our own name, as it was written.
std::wstring RestOfCommandLine() {
  const std::wstring_view whole = GetCommandLineW();
  const bool isQuoted = whole.starts_with(L'"');
  const size_t end = isQuoted ? whole.find(L'"', 1) + 1 : whole.find(L' ');
  const size_t rest = whole.find_first_not_of(L' ', end);
  return rest == std::wstring_view::npos ? std::wstring() : std::wstring(whole.substr(rest));
}

}  // namespace
}  // namespace wendra

int wmain() {
  SetConsoleCtrlHandler(&wendra::Interrupt, TRUE);
  wendra::Account account;
  if (!account.Make()) return wendra::kNotStarted;
  const auto code = wendra::RunAs(account, wendra::RestOfCommandLine());
  return static_cast<int>(code.value_or(wendra::kNotStarted));
}
