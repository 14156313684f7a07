// Replaces functions that the program imports. The import tables of the libraries stay as they are.
#pragma once

#include <windows.h>

namespace wendra {

// Replaces the function `name` of any library: from here on the program calls `replacement`.
// `*real` gets the function that the program called until then; it is set before the first call can
// reach `replacement`. False: a slot of the import table cannot be written. One thread at a time.
// A name that the table does not have is taken for a function of a delayed library. It is replaced
// when the program first calls it, so it must not have been called before; a misspelled name has no
// effect.
bool RedirectImport(const char* name, void* replacement, void** real);

template <typename Function>
bool RedirectImport(const char* name, Function replacement, Function& real) {
  return RedirectImport(name, reinterpret_cast<void*>(replacement),
                        reinterpret_cast<void**>(&real));
}

}  // namespace wendra
