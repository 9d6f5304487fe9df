#pragma once

namespace vistrame {

// Whether this is Wine and not Windows: told by an export that only its ntdll has.
bool IsWine();

} // namespace vistrame
