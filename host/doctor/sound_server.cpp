#include "host/doctor/sound_server.h"

#include <pulse/pulseaudio.h>

#include <chrono>
#include <memory>

#include "host/doctor/examinations.h"

namespace {

using namespace std::chrono_literals;

using Verdict = Finding::Verdict;

constexpr auto Timeout = 2s;

struct Closer {
    void operator()(pa_mainloop* loop) const { pa_mainloop_free(loop); }
    void operator()(pa_context* context) const {
        pa_context_disconnect(context);
        pa_context_unref(context);
    }
    void operator()(pa_operation* operation) const { pa_operation_unref(operation); }
};

std::string textOf(const char* text) { return text != nullptr ? text : ""; }

void onServerInfo(pa_context* /*context*/, const pa_server_info* info, void* userData) {
    auto& server = *static_cast<SoundServer*>(userData);
    if (info == nullptr)
        return;
    server.isReachable = true;
    server.name = textOf(info->server_name) + " " + textOf(info->server_version);
    server.source = textOf(info->default_source_name);
    server.sink = textOf(info->default_sink_name);
}

}  // namespace

SoundServer askSoundServer() {
    SoundServer server;
    const std::unique_ptr<pa_mainloop, Closer> loop(pa_mainloop_new());
    const std::unique_ptr<pa_context, Closer> context(
        pa_context_new(pa_mainloop_get_api(loop.get()), "tamborin-host"));
    const auto deadline = std::chrono::steady_clock::now() + Timeout;
    std::unique_ptr<pa_operation, Closer> question;
    if (pa_context_connect(context.get(), nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0)
        server.failure = pa_strerror(pa_context_errno(context.get()));
    while (server.failure.empty() && !server.isReachable) {
        if (std::chrono::steady_clock::now() > deadline) {
            server.hangs = true;
            server.failure = "it does not answer";
            break;
        }
        const pa_context_state_t state = pa_context_get_state(context.get());
        if (state == PA_CONTEXT_READY && !question)
            question.reset(pa_context_get_server_info(context.get(), onServerInfo, &server));
        else if (!PA_CONTEXT_IS_GOOD(state))
            server.failure = pa_strerror(pa_context_errno(context.get()));
        pa_mainloop_prepare(loop.get(), 100'000);  // µs
        pa_mainloop_poll(loop.get());
        pa_mainloop_dispatch(loop.get());
    }
    return server;
}

Findings examineSoundServer(const SoundServer& server) {
    if (server.hangs)
        return {{Verdict::Wrong, "the sound server does not answer",
                 "restart it: 'systemctl --user restart pulseaudio', or pipewire-pulse"}};
    if (!server.isReachable)
        return {{Verdict::Note, "not reachable: " + server.failure,
                 "start PulseAudio or PipeWire as the user that runs the host, before the host; or "
                 "define 'default' in /etc/asound.conf to do without"}};
    Findings findings{{Verdict::Good, server.name, ""}};
    if (server.source.empty())
        findings.push_back({Verdict::Wrong, "it has no default source, so nothing can be recorded",
                            "connect a microphone, or: pactl set-default-source SOURCE"});
    else
        findings.push_back({Verdict::Good, "records " + server.source, ""});
    if (server.sink.empty())
        findings.push_back({Verdict::Wrong, "it has no default sink, so nothing can be heard",
                            "connect a loudspeaker, or: pactl set-default-sink SINK"});
    else
        findings.push_back({Verdict::Good, "plays to " + server.sink, ""});
    return findings;
}
