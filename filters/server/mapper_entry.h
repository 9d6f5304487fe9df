// A class's entry in the category of filters that the filter mapper, and with it automatic choice, looks
// through.
#pragma once

#include "filters/server/class_keys.h"

namespace vistrame {

// The mapper's own RegisterFilter would be simpler, but it writes through HKEY_CLASSES_ROOT and so for
// everybody, which an ordinary user may not. Only the form of the data is asked of it.
HRESULT WriteMapperEntry(const ClassKeys& keys, const ClassRow& row);

// An entry that is not there is no failure.
HRESULT RemoveMapperEntry(const ClassKeys& keys, const ClassRow& row);

} // namespace vistrame
