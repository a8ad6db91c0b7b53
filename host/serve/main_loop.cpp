#include "host/serve/main_loop.h"

#include <memory>
#include <utility>

#include "host/system/stop.h"

namespace {

constexpr guint SignalInterval = 100;  // ms between looks for a signal

}  // namespace

MainLoop::MainLoop() : loop_(g_main_loop_new(nullptr, FALSE)) {}

MainLoop::~MainLoop() { g_main_loop_unref(loop_); }

void MainLoop::run() {
    const guint look = g_timeout_add(
        SignalInterval,
        [](gpointer self) -> gboolean {
            if (stopAsked())
                static_cast<MainLoop*>(self)->quit();
            return G_SOURCE_CONTINUE;
        },
        this);
    g_main_loop_run(loop_);
    g_source_remove(look);
}

void MainLoop::quit() { g_main_loop_quit(loop_); }

namespace {

using Work = std::function<void()>;

gpointer owned(Work work) { return std::make_unique<Work>(std::move(work)).release(); }

gboolean doIt(gpointer work) {
    (*static_cast<Work*>(work))();
    return G_SOURCE_REMOVE;
}

void forget(gpointer work) { const std::unique_ptr<Work> gone(static_cast<Work*>(work)); }

}  // namespace

void post(std::function<void()> work) {
    g_idle_add_full(G_PRIORITY_DEFAULT, doIt, owned(std::move(work)), forget);
}

void after(unsigned seconds, std::function<void()> work) {
    g_timeout_add_seconds_full(G_PRIORITY_DEFAULT, seconds, doIt, owned(std::move(work)), forget);
}
