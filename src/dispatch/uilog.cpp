#include "dispatch/uilog.h"

namespace tobrel {

const OSLog& uilog() {
    static const OSLog log{"com.qelmo.tobrel.actionui", "actions"};
    return log;
}

}  // namespace tobrel
