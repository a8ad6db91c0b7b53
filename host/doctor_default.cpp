// The doctor's look at ALSA's "default", as the module records from it where no sound server runs.
#include <alsa/asoundlib.h>

#include <array>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <string_view>

#include "host/findings.h"

namespace {

using Verdict = Finding::Verdict;

constexpr unsigned SampleRate = 8000;
constexpr unsigned CallbackMs = 256;  // the module takes so much at once
constexpr unsigned EnoughMs = 2 * CallbackMs;

struct Closer {
    void operator()(snd_pcm_t* pcm) const { snd_pcm_close(pcm); }
    void operator()(snd_pcm_hw_params_t* parameters) const { snd_pcm_hw_params_free(parameters); }
    void operator()(snd_output_t* output) const { snd_output_close(output); }
};

std::string firstComplaint;

// ALSA's first complaint tells the cause, those after it only what failed with it.
void keepFirstComplaint(const char* /*file*/, int /*line*/, const char* /*function*/, int /*error*/,
                        const char* format, ...) {
    std::array<char, 256> text{};
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    if (firstComplaint.empty())
        firstComplaint = text.data();
}

// Takes ALSA's complaints, which go to stderr otherwise. While no other thread uses ALSA.
class Complaints {
  public:
    Complaints() {
        firstComplaint.clear();
        snd_lib_error_set_handler(keepFirstComplaint);
    }
    ~Complaints() { snd_lib_error_set_handler(nullptr); }
    Complaints(const Complaints&) = delete;
    Complaints& operator=(const Complaints&) = delete;
};

// ALSA names the chain of plug-ins only in a text for people.
bool goesThroughDsnoop(snd_pcm_t* pcm) {
    snd_output_t* opened = nullptr;
    if (snd_output_buffer_open(&opened) < 0)
        return false;
    const std::unique_ptr<snd_output_t, Closer> output(opened);
    snd_pcm_dump(pcm, opened);
    char* text = nullptr;
    const size_t length = snd_output_buffer_string(opened, &text);
    return std::string_view(text, length).find("Direct Snoop PCM") != std::string_view::npos;
}

// The longest buffer that a stream like the module's can have, in ms; 0 when it can have none.
unsigned longestBufferMs(snd_pcm_t* pcm) {
    snd_pcm_hw_params_t* made = nullptr;
    if (snd_pcm_hw_params_malloc(&made) < 0)
        return 0;
    const std::unique_ptr<snd_pcm_hw_params_t, Closer> parameters(made);
    unsigned microseconds = 0;
    int direction = 0;
    const bool isPossible =
        snd_pcm_hw_params_any(pcm, made) >= 0 &&
        snd_pcm_hw_params_set_format(pcm, made, SND_PCM_FORMAT_S16) >= 0 &&
        snd_pcm_hw_params_set_channels(pcm, made, 1) >= 0 &&
        snd_pcm_hw_params_set_rate(pcm, made, SampleRate, 0) >= 0 &&
        snd_pcm_hw_params_get_buffer_time_max(made, &microseconds, &direction) >= 0;
    return isPossible ? microseconds / 1000 : 0;
}

}  // namespace

Findings examineDefault(const SoundServer& server) {
    if (server.hangs)
        return {{Verdict::Note, "not examined: it may lead to the sound server", ""}};
    const Complaints complaints;
    snd_pcm_t* opened = nullptr;
    const int error = snd_pcm_open(&opened, "default", SND_PCM_STREAM_CAPTURE, SND_PCM_NONBLOCK);
    if (error < 0)
        return {{Verdict::Note,
                 std::string("'default' cannot be opened to record: ") + snd_strerror(error) +
                     (firstComplaint.empty() ? "" : "; ALSA says: " + firstComplaint),
                 ""}};
    const std::unique_ptr<snd_pcm_t, Closer> pcm(opened);
    if (!goesThroughDsnoop(opened))
        return {{Verdict::Good, "'default' can be opened to record", ""}};
    const std::string what = "'default' records through dsnoop";
    const unsigned bufferMs = longestBufferMs(opened);
    if (bufferMs == 0 || bufferMs >= EnoughMs)
        return {{Verdict::Good, what, ""}};
    return {{Verdict::Note,
             what + ", whose buffer holds " + std::to_string(bufferMs) + " ms: the module takes " +
                 std::to_string(CallbackMs) + " ms at once, so frames may be lost",
             "let 'default' in /etc/asound.conf lead to 'plug' on 'hw', or to a dsnoop with a "
             "buffer of a second, as docs/configuration.md shows"}};
}
