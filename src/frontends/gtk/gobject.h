#pragma once

#include <gtk/gtk.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace tobrel::gtk {

struct Unref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <class Kind>
using Object = std::unique_ptr<Kind, Unref>;

struct Free {
    void operator()(gpointer memory) const { g_free(memory); }
};

// Runs the handler, without the emitting object, at each of the object's signals for as long as the object lives.
template <class Result, class... Arguments>
void connect(gpointer object, const char* signal, std::function<Result(Arguments...)> handler) {
    using Handler = std::function<Result(Arguments...)>;
    auto run = +[](gpointer, Arguments... arguments, gpointer data) -> Result {
        return (*static_cast<Handler*>(data))(arguments...);
    };
    auto end = +[](gpointer data, GClosure*) { std::unique_ptr<Handler>(static_cast<Handler*>(data)).reset(); };
    g_signal_connect_data(object, signal, G_CALLBACK(run), std::make_unique<Handler>(std::move(handler)).release(), end,
                          static_cast<GConnectFlags>(0));
}

// For a signal that tells nothing more than that it has happened, or that a property has another value.
inline void onSignal(gpointer object, const char* signal, std::function<void()> handler) {
    connect(object, signal, std::move(handler));
}
inline void onNotify(gpointer object, const char* property, std::function<void()> handler) {
    connect(object, (std::string("notify::") + property).c_str(),
            std::function<void(GParamSpec*)>([handler = std::move(handler)](GParamSpec*) { handler(); }));
}

}  // namespace tobrel::gtk
