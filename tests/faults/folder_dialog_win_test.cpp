// Tests the folder dialog of pickDirectory while each of its steps fails in turn.
#include <algorithm>
#include <iterator>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "bridge/pick_directory_win.h"
#include "devruntime/failing_calls/import_table_win.h"

#include <windows.h>

#include <shobjidl.h>

namespace wendra {
namespace {

// The steps that the dialog and its item were asked for, and the step that must fail.
struct Script {
  std::string failing;  // the name of a step
  std::string seen;     // all steps, each followed by a space
  int objects = 0;      // not released yet

  HRESULT Step(const char* name) {
    seen += std::string(name) + " ";
    return failing == name ? E_FAIL : S_OK;
  }
};
Script script;

// A reference-counted COM object that implements `Interface`.
template <typename Interface>
class Counted : public Interface {
 public:
  Counted() { ++script.objects; }
  virtual ~Counted() { --script.objects; }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }

 private:
  ULONG references_ = 1;
};

class Item final : public Counted<IShellItem> {
 public:
  HRESULT STDMETHODCALLTYPE BindToHandler(IBindCtx*, REFGUID, REFIID, void**) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE GetParent(IShellItem**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetDisplayName(SIGDN form, LPWSTR* name) override {
    EXPECT_EQ(form, SIGDN_FILESYSPATH);
    *name = nullptr;
    if (const HRESULT result = script.Step("GetDisplayName"); FAILED(result)) return result;
    constexpr wchar_t kPath[] = L"C:\\chosen";
    *name = static_cast<LPWSTR>(CoTaskMemAlloc(sizeof(kPath)));
    std::copy(std::begin(kPath), std::end(kPath), *name);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetAttributes(SFGAOF, SFGAOF*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Compare(IShellItem*, SICHINTF, int*) override { return E_NOTIMPL; }
};

class Dialog final : public Counted<IFileOpenDialog> {
 public:
  HRESULT STDMETHODCALLTYPE Show(HWND) override { return script.Step("Show"); }
  HRESULT STDMETHODCALLTYPE SetOptions(FILEOPENDIALOGOPTIONS options) override {
    EXPECT_EQ(options & 0x860u, 0x860u);
    return script.Step("SetOptions");
  }
  HRESULT STDMETHODCALLTYPE GetOptions(FILEOPENDIALOGOPTIONS* options) override {
    *options = 0;
    return script.Step("GetOptions");
  }
  HRESULT STDMETHODCALLTYPE SetTitle(LPCWSTR) override { return script.Step("SetTitle"); }
  HRESULT STDMETHODCALLTYPE GetResult(IShellItem** item) override {
    *item = nullptr;
    if (const HRESULT result = script.Step("GetResult"); FAILED(result)) return result;
    *item = new Item;
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE SetFileTypes(UINT, const COMDLG_FILTERSPEC*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE SetFileTypeIndex(UINT) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetFileTypeIndex(UINT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Advise(IFileDialogEvents*, DWORD*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Unadvise(DWORD) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetDefaultFolder(IShellItem*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetFolder(IShellItem*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetFolder(IShellItem**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetCurrentSelection(IShellItem**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetFileName(LPCWSTR) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetFileName(LPWSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetOkButtonLabel(LPCWSTR) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetFileNameLabel(LPCWSTR) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE AddPlace(IShellItem*, FDAP) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetDefaultExtension(LPCWSTR) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Close(HRESULT) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetClientGuid(REFGUID) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE ClearClientData() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetFilter(IShellItemFilter*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetResults(IShellItemArray**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetSelectedItems(IShellItemArray**) override { return E_NOTIMPL; }
};

HRESULT WINAPI MakeDialog(REFCLSID, IUnknown*, DWORD, REFIID, void** object) {
  *object = nullptr;
  if (const HRESULT result = script.Step("CoCreateInstance"); FAILED(result)) return result;
  *object = static_cast<IFileOpenDialog*>(new Dialog);
  return S_OK;
}

// Replaces the system's dialog by the one of this file until the end of the scope.
class OwnDialogs {
 public:
  OwnDialogs() { (void)RedirectImport("CoCreateInstance", &MakeDialog, real_); }
  ~OwnDialogs() {
    decltype(real_) own = nullptr;
    (void)RedirectImport("CoCreateInstance", real_, own);
  }
  OwnDialogs(const OwnDialogs&) = delete;
  OwnDialogs& operator=(const OwnDialogs&) = delete;

 private:
  decltype(&CoCreateInstance) real_ = nullptr;
};

TEST(ChooseFolder, GivesNothingWhereAStepFailsThatThePathNeeds) {
  const OwnDialogs own;
  const struct {
    const char *failing, *answer, *seen;
  } cases[] = {
      {"", "C:\\chosen",
       "CoCreateInstance GetOptions SetOptions SetTitle Show GetResult GetDisplayName "},
      {"CoCreateInstance", nullptr, "CoCreateInstance "},
      {"GetOptions", "C:\\chosen",
       "CoCreateInstance GetOptions SetOptions SetTitle Show GetResult GetDisplayName "},
      {"SetTitle", "C:\\chosen",
       "CoCreateInstance GetOptions SetOptions SetTitle Show GetResult GetDisplayName "},
      {"Show", nullptr, "CoCreateInstance GetOptions SetOptions SetTitle Show "},
      {"GetResult", nullptr, "CoCreateInstance GetOptions SetOptions SetTitle Show GetResult "},
      {"GetDisplayName", nullptr,
       "CoCreateInstance GetOptions SetOptions SetTitle Show GetResult GetDisplayName "},
  };
  for (const auto& c : cases) {
    script = {.failing = c.failing, .seen = {}};
    const auto folder = ChooseFolder("title", nullptr);
    EXPECT_EQ(folder, c.answer ? std::optional<std::string>(c.answer) : std::nullopt) << c.failing;
    EXPECT_EQ(script.seen, c.seen) << c.failing;
    EXPECT_EQ(script.objects, 0) << c.failing;
  }
}

}  // namespace
}  // namespace wendra
