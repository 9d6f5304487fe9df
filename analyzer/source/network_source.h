#pragma once

#include <memory>
#include <string>

#include "analyzer/base/outcome.h"
#include "analyzer/source/live_source.h"

namespace vistrame {

// Receives what is sent to an address, UDP or RTP, one machine's or a group's; or reads standard input, as
// fast as its clock says. Each has a thread of its own from here on.
//
// Errors     an address that is not understood or cannot be listened to is told.
Outcome OpenLiveSource(const std::string& stream, std::shared_ptr<LiveSource>& source);

std::shared_ptr<LiveSource> MakeInputSource();

} // namespace vistrame
