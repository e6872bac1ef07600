#pragma once

namespace tobrel::host {

// For a process that from now on mostly waits: frees what is unused, and drops what can be read from its files again.
void giveMemoryBack();

}  // namespace tobrel::host
