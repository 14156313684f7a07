// JSON documents like those that the program meets, made from nothing, the same in every run.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace wendra {

// Requests of a page, some ten kinds of them, each below 300 bytes.
std::vector<std::string> SmallBridgeRequests();

// A page's request that holds a whole file of about `bytes` bytes as one string: program text, with
// line breaks, tabs, quotes and backslashes to escape; or base64, with nothing to escape.
std::string SourceFileRequest(std::size_t bytes);
std::string Base64FileRequest(std::size_t bytes);

// The answer of an MCP server that offers `tools` tools, each with its description and schema.
std::string ToolsListResult(std::size_t tools);

// About `bytes` bytes of coordinates, counters and measurements: short integers, short decimals,
// and doubles with all their 17 digits.
std::string NumbersDocument(std::size_t bytes);

// About `bytes` bytes of records with many short strings.
std::string ShortStringsDocument(std::size_t bytes);

// The same as ToolsListResult, on many lines and indented by two spaces.
std::string IndentedToolsListResult(std::size_t tools);

}  // namespace wendra
