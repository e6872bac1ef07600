#include "platform/file_provider.h"

#include "text/path.h"

namespace tobrel {

std::string NSURL::lastPathComponent() const {
    return std::string(tobrel::lastPathComponent(path));
}

}  // namespace tobrel
