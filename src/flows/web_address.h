#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "text/url.h"

namespace tobrel {

class TextServices;

// The folder that holds the item at a path; the empty path where there is none.
std::string_view parentPath(std::string_view path);

// The web interface's address of a page path, which stands in the fragment; nothing without a server, or where the
// text does not parse.
std::optional<URL> webAddress(const std::string& server, std::string_view pagePath, TextServices& text);

// Whether a link's address may be pasted: what drives a display would drive the program that it is pasted into.
bool mayBeCopied(std::string_view address);

}  // namespace tobrel
