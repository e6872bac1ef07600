// first_frame COMMAND...: milliseconds from starting the command to the first frame that it draws in a window, on the
// X display of this process and without a window manager; then ends the command with SIGTERM.
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/damage.h>
#include <xcb/xcb.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace {

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};
template <class Kind>
using Reply = std::unique_ptr<Kind, Free>;

// Larger than what a toolkit keeps for itself.
constexpr int leastSide = 60;

void waitForFrame(xcb_connection_t* display, unsigned damageEvent) {
    while (Reply<xcb_generic_event_t> event{xcb_wait_for_event(display)}) {
        unsigned kind = event->response_type & 0x7FU;
        if (kind == XCB_CREATE_NOTIFY) {
            auto* created = reinterpret_cast<xcb_create_notify_event_t*>(event.get());
            xcb_damage_create(display, xcb_generate_id(display), created->window, XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
            xcb_flush(display);
        } else if (kind == damageEvent + XCB_DAMAGE_NOTIFY) {
            auto* damaged = reinterpret_cast<xcb_damage_notify_event_t*>(event.get());
            if (damaged->geometry.width >= leastSide && damaged->geometry.height >= leastSide) return;
            xcb_damage_subtract(display, damaged->damage, XCB_NONE, XCB_NONE);
            xcb_flush(display);
        }
    }
}

}  // namespace

int main(int count, char* words[]) {
    if (count < 2) return 2;
    xcb_connection_t* display = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(display)) return 1;
    xcb_prefetch_extension_data(display, &xcb_damage_id);
    Reply<xcb_damage_query_version_reply_t> version{
        xcb_damage_query_version_reply(display, xcb_damage_query_version(display, 1, 1), nullptr)};
    unsigned damageEvent = xcb_get_extension_data(display, &xcb_damage_id)->first_event;
    std::uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(display)).data->root;
    xcb_change_window_attributes(display, root, XCB_CW_EVENT_MASK, &mask);
    Reply<xcb_get_input_focus_reply_t> done{xcb_get_input_focus_reply(display, xcb_get_input_focus(display), nullptr)};

    auto start = std::chrono::steady_clock::now();
    pid_t process = 0;
    if (posix_spawnp(&process, words[1], nullptr, nullptr, words + 1, environ) != 0) return 1;
    waitForFrame(display, damageEvent);
    std::chrono::duration<double, std::milli> taken = std::chrono::steady_clock::now() - start;
    std::printf("%.1f\n", taken.count());
    kill(process, SIGTERM);
    waitpid(process, nullptr, 0);
    xcb_disconnect(display);
}
