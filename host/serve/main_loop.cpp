#include "host/serve/main_loop.h"

#include <utility>

#include "host/serve/closure_data.h"
#include "host/system/stop.h"

namespace {

constexpr guint LookInterval = 100;  // ms between looks at stopAsked

}  // namespace

MainLoop::MainLoop() : loop_(g_main_loop_new(nullptr, FALSE)) {}

MainLoop::~MainLoop() { g_main_loop_unref(loop_); }

void MainLoop::run() {
    const guint timer = g_timeout_add(
        LookInterval,
        [](gpointer self) -> gboolean {
            if (stopAsked())
                static_cast<MainLoop*>(self)->quit();
            return G_SOURCE_CONTINUE;
        },
        this);
    g_main_loop_run(loop_);
    g_source_remove(timer);
}

void MainLoop::quit() { g_main_loop_quit(loop_); }

namespace {

using Work = std::function<void()>;

gboolean doIt(gpointer work) {
    (*static_cast<Work*>(work))();
    return G_SOURCE_REMOVE;
}

}  // namespace

void post(std::function<void()> work) {
    g_idle_add_full(G_PRIORITY_DEFAULT, doIt, ownedData(std::move(work)), freeData<Work>);
}

void after(unsigned seconds, std::function<void()> work) {
    g_timeout_add_seconds_full(G_PRIORITY_DEFAULT, seconds, doIt, ownedData(std::move(work)),
                               freeData<Work>);
}
