#pragma once

#include <span>

#include "filters/base/class_row.h"

namespace vistrame {

std::span<const ClassRow> Classes();

// Null when the server has no such class.
const ClassRow* FindClass(REFCLSID id);

} // namespace vistrame
