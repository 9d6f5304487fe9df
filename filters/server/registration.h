#pragma once

#include <span>
#include <string>

#include <windows.h>

#include "filters/server/class_table.h"

namespace vistrame {

// Writes the rows' class keys, pointing at the server file `path`, and their entries in the filter mapper.
//
// A stand-in row is left out when its class is registered by somebody else. Who registered a class is known
// by a mark in its key, not by the path: the file may have been moved since.
//
// Threads    COM must be initialised on the calling thread.
// Errors     the first failure, after everything of ours has been taken back.
HRESULT RegisterClasses(std::span<const ClassRow> rows, const std::wstring& path);

// Removes what RegisterClasses wrote, and only that: classes without our mark stay. Goes on after a failure
// and returns the first.
HRESULT UnregisterClasses(std::span<const ClassRow> rows);

} // namespace vistrame
