# Settings of all targets of the project, and the functions that make targets.

set(WENDRA_SANITIZERS "" CACHE STRING "Value for -fsanitize=, empty for none (native builds only)")
option(WENDRA_FUZZERS "Build the fuzzers (clang only)" OFF)

# The empty expression keeps Visual Studio from adding a folder for each configuration.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin$<0:>")

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
  # Control flow guard: an indirect call to an address that is no function ends the program. (GCC has
  # none for Windows.) The stack protector is on by default.
  target_compile_options(wendra_options INTERFACE $<$<COMPILE_LANGUAGE:CXX>:/guard:cf>)
  target_link_options(wendra_options INTERFACE
    /WX /guard:cf /DYNAMICBASE /HIGHENTROPYVA /NXCOMPAT /CETCOMPAT)
else()
  target_compile_options(wendra_options INTERFACE
    -Wall -Wextra -Wpedantic -Werror -Wshadow -Wconversion -Wsign-conversion
    -Wnon-virtual-dtor -Woverloaded-virtual -Wsuggest-override -Wempty-body)
endif()

if(WIN32)
  target_compile_definitions(wendra_options INTERFACE
    UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN
    WINVER=0x0A00 _WIN32_WINNT=0x0A00 NTDDI_VERSION=0x0A000007)  # Windows 10, version 1903
  if(MINGW)
    # The platform's binary interface: COM classes have virtual methods and no virtual destructor.
    target_compile_options(wendra_options INTERFACE -Wno-non-virtual-dtor)
    target_compile_options(wendra_options INTERFACE -fstack-protector-strong)
    target_link_options(wendra_options INTERFACE
      -static -fstack-protector-strong -Wl,--dynamicbase -Wl,--high-entropy-va -Wl,--nxcompat
      # Below subsystem version 6.0 Windows treats the windows as those of an old program.
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
  if(MINGW)
    # One section for each function and table, so that the linker can leave out unused ones.
    target_compile_options(${name} PRIVATE -ffunction-sections -fdata-sections)
  endif()
endfunction()

# wendra_import_library(name DLL DEF): a target that links `name` can call the functions of DLL.dll
# that the file DEF lists. The DLL is loaded at the first such call. If it were loaded when the
# program starts, Windows would take a file of that name beside the program, whoever has put it
# there. See win/process_policy.h. To link, the DLL itself is not needed.
function(wendra_import_library name dll def)
  set(def "${CMAKE_CURRENT_SOURCE_DIR}/${def}")
  add_library(${name} INTERFACE)
  if(MSVC)
    set(file "${CMAKE_CURRENT_BINARY_DIR}/${dll}.lib")
    set(command "${CMAKE_AR}" /nologo "/def:${def}" "/out:${file}" /machine:x64)
    target_link_options(${name} INTERFACE "/DELAYLOAD:${dll}.dll")
  else()
    set(file "${CMAKE_CURRENT_BINARY_DIR}/lib${dll}.a")
    set(command "${CMAKE_DLLTOOL}" -d "${def}" --output-delaylib "${file}")
  endif()
  add_custom_command(OUTPUT "${file}" COMMAND ${command} DEPENDS "${def}" VERBATIM)
  add_custom_target(${name}_file DEPENDS "${file}")
  target_link_libraries(${name} INTERFACE "${file}" delayimp)
  add_dependencies(${name} ${name}_file)
endfunction()

# The tests are built without optimization: that takes a third of the time, and they take longer to
# build than to run.
add_library(wendra_quick_build INTERFACE)
target_compile_options(wendra_quick_build INTERFACE $<$<NOT:$<CXX_COMPILER_ID:MSVC>>:-O0>)

# wendra_program(name FOLDER SOURCES ... [LIBS ...]): a program in bin/FOLDER.
function(wendra_program name folder)
  cmake_parse_arguments(PARSE_ARGV 2 ARG "" "" "SOURCES;LIBS")
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS})
  set_target_properties(${name} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin/${folder}$<0:>")
endfunction()

# wendra_wide_main(name [WINDOWED]): the program begins with wmain; a WINDOWED one, which gets no
# console, with wWinMain.
function(wendra_wide_main name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "WINDOWED" "" "")
  set_target_properties(${name} PROPERTIES WIN32_EXECUTABLE ${ARG_WINDOWED})
  if(MINGW)
    target_link_options(${name} PRIVATE -municode)
  endif()
endfunction()

# wendra_test(name [OPTIMIZED] [THREADS ...] SOURCES ... [LIBS ...]): a GoogleTest program in
# bin/tests. OPTIMIZED is for a program that does much work itself. THREADS lists those sources in
# which threads meet; a build with ThreadSanitizer consists of these only.
function(wendra_test name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "OPTIMIZED" "" "THREADS;SOURCES;LIBS")
  if(WENDRA_SANITIZERS MATCHES "thread")
    if(NOT ARG_THREADS)
      return()
    endif()
    set(ARG_SOURCES)
  endif()
  wendra_program(${name} tests
    SOURCES ${ARG_THREADS} ${ARG_SOURCES}
    LIBS wendra_test_limit wendra_options ${ARG_LIBS})
  if(NOT ARG_OPTIMIZED)
    target_link_libraries(${name} PRIVATE wendra_quick_build)
    target_precompile_headers(${name} REUSE_FROM wendra_test_limit)
  endif()
endfunction()

# wendra_bench(name SOURCES ... [LIBS ...]): a Google Benchmark program in bin/bench.
function(wendra_bench name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "SOURCES;LIBS")
  wendra_program(${name} bench
    SOURCES ${ARG_SOURCES}
    LIBS wendra_options ${ARG_LIBS} benchmark::benchmark)
endfunction()

# wendra_fuzzer(name SOURCES ... [LIBS ...]): a libFuzzer program in bin/fuzz.
function(wendra_fuzzer name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "SOURCES;LIBS")
  wendra_program(${name} fuzz SOURCES ${ARG_SOURCES} LIBS wendra_options ${ARG_LIBS})
  target_link_options(${name} PRIVATE -fsanitize=fuzzer)
endfunction()
