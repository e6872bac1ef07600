#include "platform/linux/main_loop_poll.h"

#include "platform/main_loop_contract.h"

namespace tobrel {
INSTANTIATE_TYPED_TEST_SUITE_P(Poll, MainLoopContract, PollMainLoop);
}  // namespace tobrel
