#include "update/app_version_win.h"

#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

namespace wendra {
namespace {

using Bytes = std::vector<char>;

void AppendWord(Bytes& to, size_t value) {
  to.push_back(static_cast<char>(value & 0xFF));
  to.push_back(static_cast<char>(value >> 8));
}

void AppendText(Bytes& to, std::wstring_view text) {
  for (const wchar_t unit : text) AppendWord(to, unit);
  AppendWord(to, 0);
}

void Align(Bytes& to) { to.resize((to.size() + 3) / 4 * 4); }

// One block of a version resource: length, length of the value, kind, key, value and children. The
// value and each child begin at a multiple of four bytes.
struct Block {
  std::wstring key;
  bool isText = true;
  Bytes value;
  std::vector<Block> children;

  Bytes Written() const {
    Bytes bytes;
    AppendWord(bytes, 0);
    AppendWord(bytes, isText ? value.size() / 2 : value.size());
    AppendWord(bytes, isText ? 1 : 0);
    AppendText(bytes, key);
    Align(bytes);
    bytes.insert(bytes.end(), value.begin(), value.end());
    for (const Block& child : children) {
      Align(bytes);
      const Bytes written = child.Written();
      bytes.insert(bytes.end(), written.begin(), written.end());
    }
    bytes[0] = static_cast<char>(bytes.size() & 0xFF);
    bytes[1] = static_cast<char>(bytes.size() >> 8);
    return bytes;
  }
};

Block TextBlock(std::wstring key, std::wstring_view text) {
  Block block{std::move(key), true, {}, {}};
  AppendText(block.value, text);
  return block;
}

Block TextTable(std::wstring languageAndCodePage, std::vector<Block> texts) {
  return {std::move(languageAndCodePage), true, {}, std::move(texts)};
}

Bytes FixedFacts() {
  VS_FIXEDFILEINFO facts{};
  facts.dwSignature = 0xFEEF04BD;
  facts.dwFileVersionMS = MAKELONG(2, 1);
  facts.dwFileVersionLS = MAKELONG(65535, 3);
  facts.dwProductVersionMS = MAKELONG(9, 9);
  Bytes bytes(sizeof(facts));
  std::memcpy(bytes.data(), &facts, sizeof(facts));
  return bytes;
}

struct Resource {
  std::vector<std::pair<unsigned, unsigned>> translations;  // language and code page
  std::vector<Block> tables;
  bool hasFixedFacts = true;

  Bytes Written() const {
    Block root{L"VS_VERSION_INFO", false, hasFixedFacts ? FixedFacts() : Bytes(), {}};
    root.children.push_back({L"StringFileInfo", true, {}, tables});
    Block translation{L"Translation", false, {}, {}};
    for (const auto& [language, codePage] : translations) {
      AppendWord(translation.value, language);
      AppendWord(translation.value, codePage);
    }
    root.children.push_back({L"VarFileInfo", true, {}, {translation}});
    return root.Written();
  }
};

TEST(FileVersion, IsTheTextOfTheFirstLanguageThatHasOne) {
  const auto version = [](const wchar_t* text) { return TextBlock(L"FileVersion", text); };
  const struct {
    const char* why;
    Resource resource;
    const char* want;
  } cases[] = {
      {"the only one", {{{0x0409, 0x04B0}}, {TextTable(L"040904b0", {version(L"1.4")})}}, "1.4"},
      {"case of the table's key does not matter",
       {{{0x0409, 0x04B0}}, {TextTable(L"040904B0", {version(L"1.4")})}},
       "1.4"},
      {"among other texts",
       {{{0x0409, 0x04B0}},
        {TextTable(L"040904b0", {TextBlock(L"CompanyName", L"W"), version(L"1.4"),
                                 TextBlock(L"ProductVersion", L"9")})}},
       "1.4"},
      {"in the order of the translations, not of the tables",
       {{{0x0407, 0x04E4}, {0x0409, 0x04B0}},
        {TextTable(L"040904b0", {version(L"2")}), TextTable(L"040704e4", {version(L"1")})}},
       "1"},
      {"the first language has no table",
       {{{0x0407, 0x04E4}, {0x0409, 0x04B0}}, {TextTable(L"040904b0", {version(L"2")})}},
       "2"},
      {"the first language has no version",
       {{{0x0407, 0x04E4}, {0x0409, 0x04B0}},
        {TextTable(L"040704e4", {TextBlock(L"ProductVersion", L"9")}),
         TextTable(L"040904b0", {version(L"2")})}},
       "2"},
      {"the first language has an empty version",
       {{{0x0407, 0x04E4}, {0x0409, 0x04B0}},
        {TextTable(L"040704e4", {version(L"")}), TextTable(L"040904b0", {version(L"2")})}},
       "2"},
      {"any text",
       {{{0x0409, 0x04B0}}, {TextTable(L"040904b0", {version(L"v1 \u00DF")})}},
       "v1 \xC3\x9F"},
      {"no translation: the fixed numbers",
       {{}, {TextTable(L"040904b0", {version(L"2")})}},
       "1.2.3.65535"},
      {"a translation for no table: the fixed numbers",
       {{{0x0407, 0x04E4}}, {TextTable(L"040904b0", {version(L"2")})}},
       "1.2.3.65535"},
      {"nothing but the fixed numbers", {{}, {}}, "1.2.3.65535"},
      {"not even those", {{}, {}, false}, ""},
  };
  for (const auto& c : cases) EXPECT_EQ(FileVersionIn(c.resource.Written()), c.want) << c.why;
}

// This test program has no version resource.
TEST(CurrentVersion, IsEmptyWithoutAResource) { EXPECT_EQ(CurrentVersion(), ""); }

}  // namespace
}  // namespace wendra
