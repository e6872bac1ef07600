#include "platform/linux_online/session/main_loop_glib.h"

#include "platform/main_loop_contract.h"

namespace tobrel {
INSTANTIATE_TYPED_TEST_SUITE_P(Glib, MainLoopContract, GlibMainLoop);
}  // namespace tobrel
