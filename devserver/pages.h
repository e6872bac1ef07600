#pragma once

#include <string>

#include "devserver/service.h"

namespace tobrel::devserver {

// The characters that mean something in HTML, written so that they do not.
std::string escaped(const std::string& text);

// The file browser; it asks "/tobrel/account/files.json?path=...&user=..." for each folder that its fragment names, for
// whichever user is chosen on the page.
std::string filesPage();
std::string linkPage(const Service::LinkContent& content);
std::string messagePage(const std::string& title, const std::string& sentence);

}  // namespace tobrel::devserver
