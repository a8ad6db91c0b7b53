#include "host/serve/main_loop.h"

#include <memory>
#include <utility>

#include "host/system/stop.h"

namespace {

constexpr guint LookInterval = 100;  // ms, for signals

}  // namespace

MainLoop::MainLoop() : loop_(g_main_loop_new(nullptr, FALSE)) {}

MainLoop::~MainLoop() { g_main_loop_unref(loop_); }

void MainLoop::run() {
    const guint look = g_timeout_add(
        LookInterval,
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

void post(std::function<void()> work) {
    auto owned = std::make_unique<std::function<void()>>(std::move(work));
    g_idle_add_full(
        G_PRIORITY_DEFAULT,
        [](gpointer data) -> gboolean {
            (*static_cast<std::function<void()>*>(data))();
            return G_SOURCE_REMOVE;
        },
        owned.release(), [](gpointer data) { delete static_cast<std::function<void()>*>(data); });
}
