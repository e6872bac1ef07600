#pragma once

#include <memory>
#include <string>

#include "platform/view.h"

// The kinds of text that the forms share.
namespace tobrel {

std::shared_ptr<NSTextField> formTitle(std::string text);
// Gives the label a note's look: small and in the secondary colour.
void makeNote(NSTextField& label);

}  // namespace tobrel
