#pragma once

#include <optional>
#include <string>

#include "frontends/json/instructions.h"
#include "platform/view.h"

// What a user does to the views of a sheet: each gives nothing where it has been done, else the reason why not, and
// then nothing has changed.
namespace tobrel::sheet_user {

std::optional<Refusal> click(NSView& root, const instruction::Click& click);
std::optional<Refusal> type(NSView& root, const instruction::Type& type);
std::optional<Refusal> select(NSView& root, const instruction::Select& select);
std::optional<Refusal> pressKey(NSView& root, const std::string& key);

// Whether the user sees what the instruction waits for.
bool sees(NSView& root, const instruction::Wait& wait);

}  // namespace tobrel::sheet_user
