#pragma once

#include <span>
#include <string>

#include <windows.h>

#include "filters/server/class_table.h"

namespace vistrame {

// Whom the classes are registered for. Everybody needs an administrator; what is registered for the current
// user comes before that of everybody, in his programs, but COM leaves it out in programs that run elevated.
enum class Scope { Everybody, CurrentUser };

// Writes the rows' class keys, pointing at the server file `path`, and their entries in the category that the
// filter mapper looks through.
//
// A stand-in row is left out when its class is registered by somebody else, in either scope. Who registered a
// class is known by a mark in its key, not by the path: the file may have been moved since.
//
// Threads    COM must be initialised on the calling thread.
// Errors     the first failure, after everything of ours in this scope has been taken back; E_ACCESSDENIED
//            where the scope may not be written.
HRESULT RegisterClasses(std::span<const ClassRow> rows, const std::wstring& path, Scope scope);

// Removes what RegisterClasses wrote in this scope, and only that: classes without our mark stay. Goes on
// after a failure and returns the first.
HRESULT UnregisterClasses(std::span<const ClassRow> rows, Scope scope);

} // namespace vistrame
