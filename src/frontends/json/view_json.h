#pragma once

#include <boost/json/fwd.hpp>

#include "platform/view.h"

namespace tobrel {

// The "sheet" event: the preferred content size and the root view with everything in it.
boost::json::object sheetEvent(const CGSize& size, NSView& root);

}  // namespace tobrel
