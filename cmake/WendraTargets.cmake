# What every target of the project has in common, and the four kinds of target there are.

set(WENDRA_SANITIZERS "" CACHE STRING "Value for -fsanitize=, empty for none (native builds only)")
option(WENDRA_FUZZERS "Build the fuzzers (clang only)" OFF)

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")

set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

find_package(Threads REQUIRED)

add_library(wendra_options INTERFACE)
target_compile_features(wendra_options INTERFACE cxx_std_20)
target_include_directories(wendra_options INTERFACE
  "${CMAKE_SOURCE_DIR}" "${CMAKE_BINARY_DIR}/generated")
target_link_libraries(wendra_options INTERFACE Threads::Threads)
set(CMAKE_CXX_EXTENSIONS OFF)

if(MSVC)
  target_compile_options(wendra_options INTERFACE
    $<$<COMPILE_LANGUAGE:CXX>:/W4 /WX /permissive- /utf-8>)  # the resource compiler knows none
  set(CMAKE_MSVC_RUNTIME_LIBRARY "MultiThreaded$<$<CONFIG:Debug>:Debug>")
else()
  target_compile_options(wendra_options INTERFACE
    -Wall -Wextra -Wpedantic -Werror -Wshadow -Wconversion -Wsign-conversion
    -Wnon-virtual-dtor -Woverloaded-virtual)
endif()

if(WIN32)
  target_compile_definitions(wendra_options INTERFACE
    UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN
    WINVER=0x0A00 _WIN32_WINNT=0x0A00 NTDDI_VERSION=0x0A000007)  # Windows 10, version 1903
  if(MINGW)
    # COM methods are virtual without a virtual destructor: that is the platform's binary interface.
    target_compile_options(wendra_options INTERFACE -Wno-non-virtual-dtor)
    # One section for each function and table: the linker leaves out those that nobody uses.
    target_compile_options(wendra_options INTERFACE -ffunction-sections -fdata-sections)
    target_link_options(wendra_options INTERFACE
      -static -Wl,--gc-sections -Wl,--dynamicbase -Wl,--high-entropy-va -Wl,--nxcompat
      # 6.0 is what Windows wants to see to treat the windows as those of a present-day program.
      -Wl,--major-subsystem-version,6 -Wl,--minor-subsystem-version,0)
  endif()
endif()

if(WENDRA_SANITIZERS)
  target_compile_options(wendra_options INTERFACE
    -fsanitize=${WENDRA_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(wendra_options INTERFACE -fsanitize=${WENDRA_SANITIZERS})
endif()

# wendra_library(name SOURCES ... [LIBS ...])
function(wendra_library name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "SOURCES;LIBS")
  add_library(${name} STATIC ${ARG_SOURCES})
  target_link_libraries(${name} PUBLIC wendra_options ${ARG_LIBS})
endfunction()

# Tests take longer to build than to run: without optimization they build in a third of the time.
add_library(wendra_quick_build INTERFACE)
target_compile_options(wendra_quick_build INTERFACE $<$<NOT:$<CXX_COMPILER_ID:MSVC>>:-O0>)

# wendra_test(name [OPTIMIZED] SOURCES ... [LIBS ...]): a GoogleTest program in bin/tests. OPTIMIZED
# is for a program that does much work itself.
function(wendra_test name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "OPTIMIZED" "" "SOURCES;LIBS")
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE wendra_test_limit wendra_options ${ARG_LIBS})
  if(NOT ARG_OPTIMIZED)
    target_link_libraries(${name} PRIVATE wendra_quick_build)
    target_precompile_headers(${name} REUSE_FROM wendra_test_limit)
  endif()
  set_target_properties(${name} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin/tests")
endfunction()

# wendra_bench(name SOURCES ... [LIBS ...]): a Google Benchmark program in bin/bench.
function(wendra_bench name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "SOURCES;LIBS")
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE wendra_options ${ARG_LIBS} benchmark::benchmark)
  set_target_properties(${name} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin/bench")
endfunction()

# wendra_fuzzer(name SOURCES ... [LIBS ...]): a libFuzzer program in bin/fuzz.
function(wendra_fuzzer name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "SOURCES;LIBS")
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE wendra_options ${ARG_LIBS})
  target_link_options(${name} PRIVATE -fsanitize=fuzzer)
  set_target_properties(${name} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin/fuzz")
endfunction()
