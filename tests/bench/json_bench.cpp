// Measures Json, nlohmann/json and RapidJSON on the same documents in the same run.
//
// json_bench [options of Google Benchmark]   measures, then prints a table of ratios
// json_bench --once                          runs each case once and compares the results
//
// The same operations are timed for all three libraries, each with its own value type. RapidJSON's
// is the DOM with its pool, parsed with kParseFullPrecisionFlag, as the others round correctly too:
//   parse      text to value, and destroying the value
//   copy       deep copy, and destroying the copy
//   serialize  value to compact text in a fresh buffer, and destroying the buffer
//   destroy    destroying a value that was parsed

#include <nlohmann/json.hpp>
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cstdio>
#include <cstdlib>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "json/json.h"
#include "tests/bench/documents.h"
#include "tests/bench/measure.h"

namespace wendra {
namespace {

// The three libraries.

struct Ours {
  static constexpr std::string_view kName = "wendra";
  using Value = Json;
  using Buffer = std::string;
  static bool Read(const std::string& text, Value& value) { return Parse(text, value); }
  static void Copy(const Value& from, Value& to) { to = Value(from); }
  static void Write(const Value& value, Buffer& buffer) { Serialize(value, buffer); }
  static std::string Text(const Buffer& buffer) { return buffer; }
};

struct Nlohmann {
  static constexpr std::string_view kName = "nlohmann";
  using Value = nlohmann::json;
  using Buffer = std::string;
  static bool Read(const std::string& text, Value& value) {
    value = nlohmann::json::parse(text, nullptr, false);
    return !value.is_discarded();
  }
  static void Copy(const Value& from, Value& to) { to = Value(from); }
  static void Write(const Value& value, Buffer& buffer) { buffer = value.dump(); }
  static std::string Text(const Buffer& buffer) { return buffer; }
};

struct RapidJson {
  static constexpr std::string_view kName = "rapidjson";
  using Value = rapidjson::Document;
  using Buffer = rapidjson::StringBuffer;
  static bool Read(const std::string& text, Value& value) {
    return !value.Parse<rapidjson::kParseFullPrecisionFlag>(text.c_str()).HasParseError();
  }
  static void Copy(const Value& from, Value& to) { to.CopyFrom(from, to.GetAllocator()); }
  static void Write(const Value& value, Buffer& buffer) {
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    value.Accept(writer);
  }
  static std::string Text(const Buffer& buffer) {
    return std::string(buffer.GetString(), buffer.GetSize());
  }
};

// The documents, and the targets for them.

// How many times as fast as the other library Json has to be; 0 means that there is no target.
struct Reach {
  double parseNlohmann;
  double parseRapidJson;
  double serializeRapidJson;
};

#ifdef _WIN32
// The targets with the slower heap of Windows and of Wine.
constexpr Reach kSmall{3, 0, 0};
constexpr Reach kOneString{0, 0, 0};
constexpr Reach kStructured{3, 0, 0};
constexpr Reach kNumbers{0, 0, 0};
#else
constexpr Reach kSmall{4, 1.5, 2};
constexpr Reach kOneString{4, 2, 2};
constexpr Reach kStructured{4, 0.8, 2};
constexpr Reach kNumbers{2.2, 0.5, 2};
#endif

struct Document {
  const char* name;
  std::vector<std::string> texts;  // one round handles all of them
  int repeats;                     // so many times, to take long enough for the clock
  Reach reach;
};

const std::vector<Document>& Documents() {
  constexpr std::size_t kFileBytes = std::size_t{16} << 20;
  static const std::vector<Document> documents = {
      {"small requests", SmallBridgeRequests(), 10, kSmall},
      {"16 MiB source text", {SourceFileRequest(kFileBytes)}, 1, kOneString},
      {"16 MiB base64", {Base64FileRequest(kFileBytes)}, 1, kOneString},
      {"tools/list, 200 tools", {ToolsListResult(200)}, 1, kStructured},
      {"the same, indented", {IndentedToolsListResult(200)}, 1, kStructured},
      {"many numbers", {NumbersDocument(500'000)}, 1, kNumbers},
      {"many short strings", {ShortStringsDocument(500'000)}, 1, kStructured},
  };
  return documents;
}

constexpr std::string_view kOperations[] = {"parse", "copy", "serialize", "destroy"};

std::string CaseName(const Document& document, std::string_view operation,
                     std::string_view library) {
  return std::string(document.name) + "/" + std::string(operation) + "/" + std::string(library);
}

// Measuring.

// Prevents that the compiler leaves out work whose result is not used.
void Use(const void* result) {
  static const void* volatile used;
  used = result;
  (void)used;
}

template <typename Library>
using Values = std::deque<typename Library::Value>;

template <typename Library>
void ReadAll(const Document& document, Values<Library>& values) {
  for (const std::string& text : document.texts) {
    if (!Library::Read(text, values.emplace_back())) std::abort();
  }
}

template <typename Library>
void AddCases(const Document& document, std::vector<Measured>& work) {
  const auto values = std::make_shared<Values<Library>>();
  ReadAll<Library>(document, *values);
  const auto dying = std::make_shared<Values<Library>>();
  const auto nothing = [] {};
  const int repeats = document.repeats;

  work.push_back({CaseName(document, "parse", Library::kName), nothing, [&document, repeats] {
                    for (int i = 0; i < repeats; ++i) {
                      for (const std::string& text : document.texts) {
                        typename Library::Value value;
                        Library::Read(text, value);
                        Use(&value);
                      }
                    }
                  }});
  work.push_back({CaseName(document, "copy", Library::kName), nothing, [values, repeats] {
                    for (int i = 0; i < repeats; ++i) {
                      for (const auto& value : *values) {
                        typename Library::Value copy;
                        Library::Copy(value, copy);
                        Use(&copy);
                      }
                    }
                  }});
  work.push_back({CaseName(document, "serialize", Library::kName), nothing, [values, repeats] {
                    for (int i = 0; i < repeats; ++i) {
                      for (const auto& value : *values) {
                        typename Library::Buffer buffer;
                        Library::Write(value, buffer);
                        Use(&buffer);
                      }
                    }
                  }});
  work.push_back({CaseName(document, "destroy", Library::kName),
                  [dying, repeats, &document] {
                    for (int i = 0; i < repeats; ++i) ReadAll<Library>(document, *dying);
                  },
                  [dying] { dying->clear(); }});
}

double NanosecondsOf(const std::vector<Measured>& work, const std::string& name) {
  for (const Measured& one : work) {
    if (one.name == name) return one.nanoseconds;
  }
  return 0;
}

std::string Ratio(double theirs, double ours, double reach) {
  char text[64] = "";
  if (theirs <= 0 || ours <= 0) return text;
  if (reach == 0) {
    std::snprintf(text, sizeof text, "%6.2f", theirs / ours);
  } else {
    std::snprintf(text, sizeof text, "%6.2f (%.1f)%s", theirs / ours, reach,
                  theirs / ours < reach ? " below" : "");
  }
  return text;
}

void PrintRatios(const std::vector<Measured>& work) {
  std::printf("\nHow many times as fast (in brackets what is to be reached)\n\n");
  std::printf("%-24s %-10s %14s   %-20s %-20s\n", "document", "operation", "microseconds",
              "against nlohmann", "against RapidJSON");
  for (const Document& document : Documents()) {
    for (const std::string_view operation : kOperations) {
      const auto timeOf = [&](std::string_view library) {
        return NanosecondsOf(work, CaseName(document, operation, library));
      };
      const Reach& reach = document.reach;
      const bool isParse = operation == "parse";
      const double rapidJsonReach = isParse                    ? reach.parseRapidJson
                                    : operation == "serialize" ? reach.serializeRapidJson
                                                               : 0;
      const double ours = timeOf(Ours::kName);
      std::printf("%-24s %-10s %14.2f   %-20s %-20s\n", document.name, operation.data(),
                  ours / 1000,
                  Ratio(timeOf(Nlohmann::kName), ours, isParse ? reach.parseNlohmann : 0).c_str(),
                  Ratio(timeOf(RapidJson::kName), ours, rapidJsonReach).c_str());
    }
  }
}

// Comparing.

bool Same(const Json& ours, const rapidjson::Value& theirs) {
  switch (ours.kind) {
    case kJsonNull:
      return theirs.IsNull();
    case kJsonBool:
      return theirs.IsBool() && theirs.GetBool() == ours.boolean;
    case kJsonNumber:
      return theirs.IsNumber() && theirs.GetDouble() == ours.number;
    case kJsonString:
      return theirs.IsString() &&
             ours.text == std::string_view(theirs.GetString(), theirs.GetStringLength());
    case kJsonArray:
      if (!theirs.IsArray() || theirs.Size() != ours.items.size()) return false;
      for (rapidjson::SizeType i = 0; i < theirs.Size(); ++i) {
        if (!Same(ours.items[i], theirs[i])) return false;
      }
      return true;
    default:
      if (!theirs.IsObject() || theirs.MemberCount() != ours.members.size()) return false;
      for (std::size_t i = 0; i < ours.members.size(); ++i) {
        const auto member = theirs.MemberBegin() + static_cast<std::ptrdiff_t>(i);
        if (ours.members[i].first !=
                std::string_view(member->name.GetString(), member->name.GetStringLength()) ||
            !Same(ours.members[i].second, member->value)) {
          return false;
        }
      }
      return true;
  }
}

// Reads, copies and writes the text, and compares the results of the libraries. Gives "", or what
// is wrong.
std::string Compare(const std::string& text) {
  Json ours;
  nlohmann::json nlohmannValue;
  rapidjson::Document rapidJsonValue;
  if (!Ours::Read(text, ours)) return "does not read";
  if (!Nlohmann::Read(text, nlohmannValue)) return "nlohmann does not read it";
  if (!RapidJson::Read(text, rapidJsonValue)) return "RapidJSON does not read it";
  if (!Same(ours, rapidJsonValue)) return "reads otherwise than RapidJSON";

  Json copy;
  Ours::Copy(ours, copy);
  std::string written, writtenCopy;
  Serialize(ours, written);
  Serialize(copy, writtenCopy);
  if (written != writtenCopy) return "the copy writes otherwise";
  if (nlohmann::json::parse(written, nullptr, false) != nlohmannValue) {
    return "nlohmann reads what was written otherwise than the document";
  }
  rapidJsonValue.SetNull();
  if (!RapidJson::Read(written, rapidJsonValue) || !Same(ours, rapidJsonValue)) {
    return "RapidJSON reads what was written otherwise than the document";
  }
  return "";
}

int CompareAll() {
  int failures = 0;
  for (const Document& document : Documents()) {
    std::string verdict;
    for (const std::string& text : document.texts) {
      if (const std::string wrong = Compare(text); !wrong.empty()) verdict = wrong;
    }
    std::printf("%-24s %s\n", document.name, verdict.empty() ? "ok" : verdict.c_str());
    failures += !verdict.empty();
  }
  return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

int Main(int argc, char** argv) {
  if (argc == 2 && std::string_view(argv[1]) == "--once") return CompareAll();
  std::vector<Measured> work;
  for (const Document& document : Documents()) {
    AddCases<Ours>(document, work);
    AddCases<Nlohmann>(document, work);
    AddCases<RapidJson>(document, work);
  }
  Measure(work, argc, argv);
  PrintRatios(work);
  return EXIT_SUCCESS;
}

}  // namespace
}  // namespace wendra

int main(int argc, char** argv) { return wendra::Main(argc, argv); }
