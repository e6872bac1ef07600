#pragma once

#include <string>

#include "platform/bundle.h"

namespace tobrel {

// How the client names itself to the server; made from the program's information dictionary once, on first use.
// Any thread.
const std::string& tobrelClientHeader();

std::string clientHeader(const InfoDictionary& dictionary);

}  // namespace tobrel
