#include "text/url.h"

#include <boost/url/parse.hpp>

namespace tobrel {

std::optional<URL> URL::parse(std::string_view text) {
    if (!boost::urls::parse_uri_reference(text)) return std::nullopt;
    return URL(std::string(text));
}

}  // namespace tobrel
