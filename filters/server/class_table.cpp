#include "filters/server/class_table.h"

#include <algorithm>

#include "filters/feed/feed_filter.h"
#include "graph/maker_interfaces.h"

namespace vistrame {

namespace {

const ClassRow kClasses[] = {
    {.id = &CLSID_KorvixFeedFilter, .name = L"Korvix TS Feed Filter", .create = CreateFilter<FeedFilter>},
};

} // namespace

std::span<const ClassRow> Classes() {
    return kClasses;
}

const ClassRow* FindClass(REFCLSID id) {
    const auto* found = std::ranges::find_if(kClasses, [&](const ClassRow& row) { return *row.id == id; });
    return found != std::end(kClasses) ? found : nullptr;
}

} // namespace vistrame
