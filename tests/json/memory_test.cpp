// Tests which memory the reader and the writer access, and how much they allocate. While a
// GuardEveryBlock exists, every block of operator new ends at a guard page.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "json/json.h"
#include "tests/json/guarded_pages.h"

namespace {

// Not protected by a lock: this program has one thread.
bool guardBlocks = false;
std::size_t blocksGivenOut = 0;
std::size_t bytesGivenOut = 0;

// A guarded block that is still in use.
struct GuardedBlock {
  void* block;
  wendra::GuardedPages pages;
};
constexpr std::size_t kMaxGuardedBlocks = 4096;
GuardedBlock guardedBlocks[kMaxGuardedBlocks];
std::size_t guardedBlockCount = 0;

// The block ends exactly at the guard page, so its size decides its alignment. That is enough:
// objects that need alignment have a size that is a multiple of it, and only text has other sizes.
void* NewGuardedBlock(std::size_t bytes) {
  const wendra::GuardedPages pages = wendra::MapGuardedPages(std::max(bytes, std::size_t{1}));
  if (!pages.begin || guardedBlockCount == kMaxGuardedBlocks) std::abort();
  void* const block = pages.end - bytes;
  guardedBlocks[guardedBlockCount++] = {block, pages};
  return block;
}

bool DeleteGuardedBlock(void* block) {
  GuardedBlock* const end = guardedBlocks + guardedBlockCount;
  GuardedBlock* const found =
      std::find_if(guardedBlocks, end, [&](const GuardedBlock& b) { return b.block == block; });
  if (found == end) return false;
  wendra::UnmapGuardedPages(found->pages);
  *found = guardedBlocks[--guardedBlockCount];
  return true;
}

}  // namespace

void* operator new(std::size_t bytes) {
  ++blocksGivenOut;
  bytesGivenOut += bytes;
  if (guardBlocks) return NewGuardedBlock(bytes);
  if (void* const block = std::malloc(std::max(bytes, std::size_t{1}))) return block;
  throw std::bad_alloc();
}
void* operator new[](std::size_t bytes) { return operator new(bytes); }
void operator delete(void* block) noexcept {
  if (guardedBlockCount == 0 || !DeleteGuardedBlock(block)) std::free(block);
}
void operator delete(void* block, std::size_t) noexcept { operator delete(block); }
void operator delete[](void* block) noexcept { operator delete(block); }
void operator delete[](void* block, std::size_t) noexcept { operator delete(block); }

namespace wendra {
namespace {

class GuardEveryBlock {
 public:
  GuardEveryBlock() { guardBlocks = true; }
  ~GuardEveryBlock() { guardBlocks = false; }
  GuardEveryBlock(const GuardEveryBlock&) = delete;
  GuardEveryBlock& operator=(const GuardEveryBlock&) = delete;
};

// A copy of a text between two guard pages, directly beside one of them.
class GuardedText {
 public:
  enum class Against { kNextPage, kPreviousPage };

  GuardedText(std::string_view text, Against side) : pages_(MapGuardedPages(text.size())) {
    if (!pages_.begin) std::abort();
    char* const begin = side == Against::kNextPage ? pages_.end - text.size() : pages_.begin;
    std::memcpy(begin, text.data(), text.size());
    view_ = std::string_view(begin, text.size());
  }
  ~GuardedText() { UnmapGuardedPages(pages_); }
  GuardedText(const GuardedText&) = delete;
  GuardedText& operator=(const GuardedText&) = delete;

  std::string_view View() const { return view_; }

 private:
  GuardedPages pages_;
  std::string_view view_;
};

// Reads the text and writes it again; "" if it cannot be read.
std::string Rewritten(std::string_view text) {
  Json value;
  if (!Parse(text, value)) return "";
  std::string written;
  Serialize(value, written);
  return written;
}

std::vector<std::string> Documents() {
  std::vector<std::string> documents = {
      "",
      " ",
      "                                        ",
      "t",
      "tru",
      "fals",
      "nul",
      "-",
      "1.",
      "1e",
      "1e+",
      "0.1234567890123456789",
      "\"\\",
      "\"\\u12",
      "\"\\ud83d\\ude0",
      "\"\\ud83d\\u",
      R"({"name" : "x\u00e9\ud83d\ude00\n","list":[1,-2.5e+3,true,false,null,[],{}], "o":{"k":[""]}})",
      R"({"__reqId":"42","name":"readFile","args":{"path":"C:\\Users\\someone\\notes.txt"}})",
  };
  for (std::size_t length = 0; length < 70; ++length) {
    const std::string plain(length, 'x');
    documents.push_back("\"" + plain);
    documents.push_back("\"" + plain + "\"");
    documents.push_back("\"" + plain + "\\");
    documents.push_back("\"" + plain + "\\n");
    documents.push_back("\"\\n" + plain);
    documents.push_back("\"" + plain + "\\ud83d\\ude00");
    documents.push_back("[\"" + plain + "\xE2\x80\"");
    documents.push_back("[\"" + plain + "\"]");
    documents.push_back("{\"" + plain + "\":1}");
    documents.push_back("[" + std::string(length, ' ') + "1");
    documents.push_back("1" + std::string(length, '0'));
    documents.push_back("0." + std::string(length, '1'));
  }
  return documents;
}

TEST(JsonMemory, ReadsNothingOutsideItsText) {
  for (const std::string& document : Documents()) {
    for (std::size_t length = 0; length <= document.size(); ++length) {
      const std::string_view prefix = std::string_view(document).substr(0, length);
      const std::string want = Rewritten(prefix);
      for (const auto side :
           {GuardedText::Against::kNextPage, GuardedText::Against::kPreviousPage}) {
        const GuardedText guarded(prefix, side);
        ASSERT_EQ(Rewritten(guarded.View()), want) << prefix;
      }
    }
  }
}

// The sequences that begin with E2 make the writer look at more than one byte. They stand at every
// distance from the end of the content.
TEST(JsonMemory, WritesAndCopiesNothingOutsideItsBlocks) {
  for (const std::string_view special : {"", "\n", "\xE2", "\xE2\x80", "\xE2\x80\xA8"}) {
    for (std::size_t before = 0; before < 70; ++before) {
      for (std::size_t behind = 0; behind < 70; ++behind) {
        const std::string content =
            std::string(before, 'x') + std::string(special) + std::string(behind, 'y');

        const GuardEveryBlock guard;
        Json value = Json::Object();
        value.members.reserve(1);
        std::string exact;
        exact.reserve(content.size());
        exact = content;
        value.members.emplace_back(exact, Json::Array());
        value.members[0].second.items.emplace_back(exact);
        const Json copy(value);
        std::string written;
        Serialize(copy, written);
        Json read;
        ASSERT_TRUE(Parse(written, read));
        ASSERT_TRUE(read.members[0].first == content);
        ASSERT_TRUE(read.members[0].second.items[0].text == content);
      }
    }
  }
}

TEST(JsonMemory, ReadsASmallRequestWithFewAllocations) {
  constexpr std::string_view kRequest =
      R"({"__reqId":"42","name":"readFile","args":{"path":"notes.txt","max":4096}})";
  Json value;
  const std::size_t before = blocksGivenOut;
  ASSERT_TRUE(Parse(kRequest, value));
  const std::size_t toRead = blocksGivenOut - before;
  EXPECT_LE(toRead, 5u);  // two containers, which grow while their members are read

  const Json copy(value);
  EXPECT_EQ(blocksGivenOut - before - toRead, 2u);  // two containers, each of its exact size
}

TEST(JsonMemory, ReadsEqualContainersWithOneAllocationEach) {
  std::string text = "[";
  for (int i = 0; i < 1000; ++i) text += R"({"id":1,"name":"x","tags":["a","b","c"],"on":true},)";
  text += "null]";
  Json value;
  const std::size_t before = blocksGivenOut;
  ASSERT_TRUE(Parse(text, value));
  // One allocation for each object and each list. A few more while the sizes are still unknown, and
  // for the outermost list, which grows.
  EXPECT_LE(blocksGivenOut - before, 2u * 1000u + 30u);
}

// A large list under a key, then many small lists under the same key, each inside the one before.
// The size of the large list must not be reserved again for each small list.
TEST(JsonMemory, AllocatesNoMoreThanTheLengthOfTheTextAccountsFor) {
  std::string text = "[{\"a\":[0";
  for (int i = 0; i < 100'000; ++i) text += ",0";
  text += "]},{\"a\":";
  std::string closing;
  for (int i = 0; i < 20'000; ++i) {
    text += "[{\"a\":";
    closing += "}]";
  }
  text += "0" + closing + "}]";

  Json value;
  const std::size_t before = bytesGivenOut;
  ASSERT_TRUE(Parse(text, value));
  // Two bytes of text make one value. A list that grows allocates about twice its final size in
  // all.
  EXPECT_LE((bytesGivenOut - before) / text.size(), 3 * sizeof(Json));
}

TEST(JsonMemory, KeepsLongStringsInExactlyTheirMemory) {
  const std::string content(1000, 'x');
  for (const std::string& text : {"[\"" + content + "\"]", "[\"" + content + "\\n\"]"}) {
    Json value;
    ASSERT_TRUE(Parse(text, value));
    EXPECT_LE(value.items[0].text.capacity(), value.items[0].text.size() + 16) << text;
  }
}

}  // namespace
}  // namespace wendra
