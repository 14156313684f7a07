// What holds for the whole process: where it finds its libraries, and that Windows asks the user
// nothing on its behalf.
#pragma once

#include <initializer_list>

namespace wendra {

// From here on:
// - Windows looks for a library that is named without a folder in its own system folder only.
//   Otherwise it would look beside the program first, where a download or another user may have put
//   a library of the same name. That holds for the libraries that libraries load, too. Those that
//   the program imports at its start are loaded already; Windows takes each of them from its system
//   folder in any case, and tests/source/ checks that. All others are loaded late: see
//   wendra_import_library in cmake/WendraTargets.cmake.
// - A call that finds no medium in a drive fails, and Windows shows no message box. Programs that
//   this process starts inherit that.
// Call it before anything that may load a library, while there is one thread.
void ApplyProcessPolicy();

// Loads libraries that lie beside the program; the names have their ending. What these libraries
// import comes from the system folder. They stay loaded. Gives the first one that is missing or
// damaged, and loads none after it; null when all are there.
const wchar_t* LoadLibrariesBesideProgram(std::initializer_list<const wchar_t*> names);

}  // namespace wendra
