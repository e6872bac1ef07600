#pragma once

#include <boost/json/fwd.hpp>
#include <string>
#include <string_view>

#include "platform/view.h"

namespace tobrel {

// The text with U+FFFD for bytes that are no UTF-8.
std::string validUtf8(std::string_view text);

// The "sheet" event: the preferred content size and the root view with everything in it.
boost::json::object sheetEvent(const CGSize& size, NSView& root);

}  // namespace tobrel
