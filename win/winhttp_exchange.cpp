#include "win/winhttp_exchange.h"

#include <array>
#include <iterator>
#include <utility>

#include "base/utf8.h"
#include "win/wide.h"
#include "win/winhttp_handle.h"

// After the project's headers, which include windows.h: winhttp.h and shlwapi.h need it first.
#include <shlwapi.h>
#include <winhttp.h>

namespace wendra {
namespace {

constexpr DWORD kHostUnits = 255;
constexpr DWORD kPathUnits = 4095;
constexpr DWORD kHeaderUnits = 1024;
constexpr DWORD kLocationUnits = 4096;
constexpr int kMostRedirects = 10;  // WinHTTP's own limit

struct Target {
  INTERNET_SCHEME scheme = 0;
  INTERNET_PORT port = 0;
  std::wstring host;
  std::wstring path;  // with the query
};

std::optional<Target> CrackUrl(const std::wstring& url) {
  std::array<wchar_t, kHostUnits> host;
  std::array<wchar_t, kPathUnits> path;
  URL_COMPONENTS parts{};
  parts.dwStructSize = sizeof(parts);
  parts.lpszHostName = host.data();
  parts.dwHostNameLength = kHostUnits;
  parts.lpszUrlPath = path.data();  // gets the query too, since lpszExtraInfo is null
  parts.dwUrlPathLength = kPathUnits;
  if (!WinHttpCrackUrl(url.c_str(), static_cast<DWORD>(url.size()), 0, &parts)) return {};
  return Target{parts.nScheme,
                parts.nPort,
                {host.data(), parts.dwHostNameLength},
                {path.data(), parts.dwUrlPathLength}};
}

bool IsSameOrigin(const Target& a, const Target& b) {
  return a.scheme == b.scheme && a.port == b.port &&
         CompareStringOrdinal(a.host.c_str(), -1, b.host.c_str(), -1, TRUE) == CSTR_EQUAL;
}

// Whether a redirect with this status means: send the same request to another URL.
bool RepeatsRequest(DWORD status, std::string_view method) {
  if (status == 307 || status == 308) return true;
  return method == "GET" && (status == 301 || status == 302 || status == 303);
}

std::wstring Combine(const std::wstring& url, const std::wstring& location) {
  std::array<wchar_t, kLocationUnits> combined;
  DWORD units = kLocationUnits;
  const HRESULT result = UrlCombineW(url.c_str(), location.c_str(), combined.data(), &units, 0);
  return SUCCEEDED(result) ? std::wstring(combined.data(), units) : std::wstring();
}

std::optional<std::wstring> QueryText(HINTERNET request, DWORD query, const wchar_t* name,
                                      DWORD units) {
  std::wstring text(units, L'\0');
  DWORD bytes = units * sizeof(wchar_t);
  if (!WinHttpQueryHeaders(request, query, name, text.data(), &bytes, WINHTTP_NO_HEADER_INDEX)) {
    return {};
  }
  text.resize(bytes / sizeof(wchar_t));
  return text;
}

DWORD QueryStatus(HINTERNET request) {
  DWORD status = 0;
  DWORD bytes = sizeof(status);
  // If WinHTTP gives no status (never seen), it stays 0, which is no success for any caller.
  (void)WinHttpQueryHeaders(request, WINHTTP_QUERY_STATUS_CODE | WINHTTP_QUERY_FLAG_NUMBER,
                            WINHTTP_HEADER_NAME_BY_INDEX, &status, &bytes, WINHTTP_NO_HEADER_INDEX);
  return status;
}

}  // namespace

// The WinHTTP operation that the worker waits for; there is never more than one. We use WinHTTP
// asynchronously. A synchronous call could only be ended by closing its handle from another thread,
// and by then the same handle value may already belong to another request.
struct WinHttpExchange::Operation {
  // Calls `start`, which begins an operation, and waits for the end of that operation.
  template <typename Start>
  bool Run(Start start) {
    return Begin(start) && Wait();
  }

  // Run in two steps: Begin, then Wait. False: no operation has begun.
  template <typename Start>
  bool Begin(Start start) {
    {
      const Locked locked(*this);
      if (isAborted || hasFailed) return false;
      isDone = false;
    }
    if (start()) return true;
    const Locked locked(*this);
    hasFailed = true;
    return false;
  }
  bool Wait() {
    const Locked locked(*this);
    while (!isDone && !isAborted && !isOverdue) SleepUntilEndOrDue();
    hasFailed = hasFailed || !isDone || !isSuccess;
    return !hasFailed && !isAborted;
  }

  void End(bool success, DWORD endedWith = 0) {
    const Locked locked(*this);
    isDone = true;
    isSuccess = success;
    bytes = endedWith;
    WakeConditionVariable(&ended);
  }

  void Abort() {
    const Locked locked(*this);
    isAborted = true;
    WakeConditionVariable(&ended);
  }

  void SetLimit(std::uint32_t limitMs) {
    if (limitMs) dueMs = GetTickCount64() + limitMs;
  }

  // The caller holds the lock.
  void SleepUntilEndOrDue() {
    DWORD leftMs = INFINITE;
    if (dueMs) {
      const ULONGLONG now = GetTickCount64();
      isOverdue = now >= *dueMs;
      if (isOverdue) return;
      leftMs = static_cast<DWORD>(*dueMs - now);
    }
    (void)SleepConditionVariableSRW(&ended, &lock, leftMs, 0);
  }

  static void CALLBACK OnStatus(HINTERNET handle, DWORD_PTR context, DWORD status, void* info,
                                DWORD infoBytes);

  // Buffers that WinHTTP may still read and write after the worker has ended.
  std::string body;
  std::string chunk;

  // A lock of Windows: it is taken several times for each chunk of a body, and mingw's std::mutex
  // calls the kernel each time.
  struct Locked {
    explicit Locked(Operation& operation) : lock(operation.lock) { AcquireSRWLockExclusive(&lock); }
    ~Locked() { ReleaseSRWLockExclusive(&lock); }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;
    SRWLOCK& lock;
  };
  SRWLOCK lock = SRWLOCK_INIT;
  CONDITION_VARIABLE ended = CONDITION_VARIABLE_INIT;
  std::optional<ULONGLONG> dueMs;  // when the request's limit is over, in time of GetTickCount64
  bool isAborted = false;
  bool isOverdue = false;
  bool hasFailed = false;  // then no further operation begins
  bool isDone = false;
  bool isSuccess = false;
  DWORD bytes = 0;  // of the operation that has ended: available, or read
};

void CALLBACK WinHttpExchange::Operation::OnStatus(HINTERNET, DWORD_PTR context, DWORD status,
                                                   void* info, DWORD infoBytes) {
  auto* holder = reinterpret_cast<std::shared_ptr<Operation>*>(context);
  if (!holder) return;
  switch (status) {
    case WINHTTP_CALLBACK_STATUS_SENDREQUEST_COMPLETE:
    case WINHTTP_CALLBACK_STATUS_HEADERS_AVAILABLE:
      return (*holder)->End(true);
    case WINHTTP_CALLBACK_STATUS_DATA_AVAILABLE:
      return (*holder)->End(true, *static_cast<DWORD*>(info));
    case WINHTTP_CALLBACK_STATUS_READ_COMPLETE:
      return (*holder)->End(true, infoBytes);
    case WINHTTP_CALLBACK_STATUS_REQUEST_ERROR:
      return (*holder)->End(false);
    case WINHTTP_CALLBACK_STATUS_HANDLE_CLOSING:  // the last call for this request
      delete holder;
  }
}

class WinHttpExchange::Connection {
 public:
  Connection(Target target, std::wstring url) : target_(std::move(target)), url_(std::move(url)) {}

  // Both return null, or the text of the error.
  const char* Open(const HttpRequest& request);
  const char* Exchange(const HttpRequest& request, const std::shared_ptr<Operation>& operation);

  // If the response redirects to a URL that `request` allows, takes that URL as the target. False
  // otherwise.
  bool Redirect(const HttpRequest& request);

  HINTERNET Request() const { return request_.Get(); }

 private:
  bool OpenRequest(const HttpRequest& request, const std::shared_ptr<Operation>& operation);
  void AddHeaders(const HttpRequest& request) const;

  Target target_;
  std::wstring url_;
  HttpHandle session_;
  HttpHandle connection_;
  HttpHandle request_;
  DWORD_PTR context_ = 0;  // for the status callback: a shared_ptr to the operation
};

const char* WinHttpExchange::Connection::Open(const HttpRequest& request) {
  session_.Reset(WinHttpOpen(Widen(request.userAgent).c_str(), WINHTTP_ACCESS_TYPE_DEFAULT_PROXY,
                             WINHTTP_NO_PROXY_NAME, WINHTTP_NO_PROXY_BYPASS, WINHTTP_FLAG_ASYNC));
  if (!session_) return "WinHttpOpen failed";
  const HttpTimeouts& limits = request.timeouts;
  // Both calls succeed for the values that the program uses. Without the second call, WinHTTP ends
  // the wait for the headers after 90 seconds.
  (void)WinHttpSetTimeouts(session_.Get(), limits.resolveMs, limits.connectMs, limits.sendMs,
                           limits.receiveMs);
  DWORD receiveMs = static_cast<DWORD>(limits.receiveMs);
  (void)WinHttpSetOption(session_.Get(), WINHTTP_OPTION_RECEIVE_RESPONSE_TIMEOUT, &receiveMs,
                         sizeof(receiveMs));
  connection_.Reset(WinHttpConnect(session_.Get(), target_.host.c_str(), target_.port, 0));
  return connection_ ? nullptr : "connect failed";
}

bool WinHttpExchange::Connection::OpenRequest(const HttpRequest& request,
                                              const std::shared_ptr<Operation>& operation) {
  const DWORD flags = target_.scheme == INTERNET_SCHEME_HTTPS ? WINHTTP_FLAG_SECURE : 0;
  request_.Reset(WinHttpOpenRequest(connection_.Get(), Widen(request.method).c_str(),
                                    target_.path.c_str(), nullptr, WINHTTP_NO_REFERER,
                                    WINHTTP_DEFAULT_ACCEPT_TYPES, flags));
  if (!request_) return false;
  auto holder = std::make_unique<std::shared_ptr<Operation>>(operation);
  context_ = reinterpret_cast<DWORD_PTR>(holder.get());
  if (!WinHttpSetOption(request_.Get(), WINHTTP_OPTION_CONTEXT_VALUE, &context_,
                        sizeof(context_))) {
    return false;
  }
  if (WinHttpSetStatusCallback(
          request_.Get(), &Operation::OnStatus,
          WINHTTP_CALLBACK_FLAG_ALL_COMPLETIONS | WINHTTP_CALLBACK_FLAG_HANDLES,
          0) == WINHTTP_INVALID_STATUS_CALLBACK) {
    return false;
  }
  (void)holder.release();  // the callback frees it at HANDLE_CLOSING
  DWORD disabled = WINHTTP_DISABLE_REDIRECTS;
  return request.redirects == HttpRedirects::kAnywhere ||
         WinHttpSetOption(request_.Get(), WINHTTP_OPTION_DISABLE_FEATURE, &disabled,
                          sizeof(disabled));
}

void WinHttpExchange::Connection::AddHeaders(const HttpRequest& request) const {
  for (const auto& [name, value] : request.headers) {
    if (HoldsControlCharacter(name) || HoldsControlCharacter(value)) continue;
    std::string text = name;
    text += ": ";
    text += value;
    const std::wstring line = Widen(text);
    // A header that WinHTTP refuses is left out.
    (void)WinHttpAddRequestHeaders(request_.Get(), line.data(), static_cast<DWORD>(line.size()),
                                   WINHTTP_ADDREQ_FLAG_ADD);
  }
}

const char* WinHttpExchange::Connection::Exchange(const HttpRequest& request,
                                                  const std::shared_ptr<Operation>& operation) {
  if (!OpenRequest(request, operation)) return "request failed";
  AddHeaders(request);
  const auto send = [&] {
    std::string& body = operation->body;
    const DWORD bytes = static_cast<DWORD>(body.size());
    return WinHttpSendRequest(request_.Get(), WINHTTP_NO_ADDITIONAL_HEADERS, 0,
                              bytes ? body.data() : WINHTTP_NO_REQUEST_DATA, bytes, bytes,
                              context_);
  };
  const auto receive = [&] { return WinHttpReceiveResponse(request_.Get(), nullptr); };
  const bool isDone = operation->Run(send) && operation->Run(receive);
  return isDone ? nullptr : "request failed (offline?)";
}

bool WinHttpExchange::Connection::Redirect(const HttpRequest& request) {
  if (request.redirects == HttpRedirects::kAnywhere) return false;  // WinHTTP has followed it
  if (!RepeatsRequest(QueryStatus(request_.Get()), request.method)) return false;
  const auto location = QueryText(request_.Get(), WINHTTP_QUERY_LOCATION,
                                  WINHTTP_HEADER_NAME_BY_INDEX, kLocationUnits);
  if (!location) return false;
  std::wstring url = Combine(url_, *location);
  auto target = CrackUrl(url);
  if (!target || !IsSameOrigin(*target, target_)) return false;
  target_ = std::move(*target);
  url_ = std::move(url);
  return true;
}

WinHttpExchange::WinHttpExchange() : operation_(std::make_shared<Operation>()) {}

WinHttpExchange::~WinHttpExchange() = default;

Outcome<std::uint32_t> WinHttpExchange::Send(HttpRequest request) {
  std::wstring url = Widen(request.url);
  auto target = CrackUrl(url);
  if (!target) return Failure{"invalid URL"};
  connection_ = std::make_unique<Connection>(std::move(*target), std::move(url));
  if (const char* error = connection_->Open(request)) return Failure{error};
  operation_->body = std::move(request.body);
  operation_->SetLimit(request.limitMs);
  int redirects = 0;
  do {
    if (const char* error = connection_->Exchange(request, operation_)) return Failure{error};
  } while (redirects++ < kMostRedirects && connection_->Redirect(request));
  return static_cast<std::uint32_t>(QueryStatus(connection_->Request()));
}

std::optional<std::string> WinHttpExchange::ResponseHeader(std::string_view name) const {
  const auto text =
      QueryText(connection_->Request(), WINHTTP_QUERY_CUSTOM, Widen(name).c_str(), kHeaderUnits);
  if (!text) return {};
  return Narrow(*text);
}

void WinHttpExchange::AskForChunk() {
  const auto query = [&] { return WinHttpQueryDataAvailable(connection_->Request(), nullptr); };
  isAsked_ = operation_->Begin(query);
}

std::size_t WinHttpExchange::WaitForChunk() {
  if (!isAsked_) AskForChunk();
  if (!std::exchange(isAsked_, false)) return 0;
  return operation_->Wait() ? operation_->bytes : 0;
}

std::string_view WinHttpExchange::ReadChunk(std::size_t bytes) {
  std::string& chunk = operation_->chunk;
  const auto read = [&] {
    if (chunk.size() < bytes) chunk.resize(bytes);  // safe: no operation uses the buffer now
    return WinHttpReadData(connection_->Request(), chunk.data(), static_cast<DWORD>(bytes),
                           nullptr);
  };
  if (!operation_->Run(read)) return {};
  return std::string_view(chunk).substr(0, operation_->bytes);
}

void WinHttpExchange::Abort() { operation_->Abort(); }

bool WinHttpExchange::IsOverdue() const {
  const Operation::Locked locked(*operation_);
  return operation_->isOverdue;
}

}  // namespace wendra
